// The dialog "Dialog Configuration" (ID-name ModConfig): how one item of a dialog, or the dialog itself,
// looks and which key it has.
//
// It works on a copy. "Update" shows what was changed in the dialog, and only that: what the tool changes
// meanwhile, and what the user leaves alone, stays as it is. "Goto Item" updates and takes another item.
// "Done" keeps everything, "Cancel" and the close box put back all items that were visited. When the dialog
// at work is closed, this one closes too, and what was updated so far is kept.
#pragma once
#include "ui/dialog.h"

#include <string>

namespace ItemConfig {

// Makes the dialog and installs Dialogs::ConfigureItem. False after an alert.
[[nodiscard]] bool Initialise();

// Opens it on an item; 0 is the dialog itself. A modal dialog and this one cannot be configured.
void Show(Dialogs::DialogRecord& dialog, int number);

// "Configure: "Fit, Tau1" (framednumber,macro)", "Dialog: Fit, Trace Fit"; "unnamed" where there is no name.
[[nodiscard]] std::string TitleFor(const Dialogs::DialogRecord& dialog, int number);

// The item that a text means: its number, from 0, or its name. -1 after a line in the notebook.
[[nodiscard]] int ItemOfText(const Dialogs::DialogRecord& dialog, std::string_view text);

// A picture of the dialog as it is drawn, by the file's extension: SVG, PNG, else a metafile (WMF, which is
// put behind a name without extension). False after an alert.
[[nodiscard]] bool SavePicture(Dialogs::DialogRecord& dialog, std::string path);

}
