// How the user left the desktop: places of the windows, theme, looks of the notebook. A small text file
// beside the settings, "Qorvanite.frame", written when the program ends; one that cannot be read is as good
// as none.
#pragma once

namespace FrameFile {

// Off: nothing is restored, nothing stored.
extern bool InUse;

// Before the first window: the theme.
void RestoreTheme();
// When all windows stand.
void Restore();
// Nothing before Restore.
void Store();

}
