// "Open Files": which data file is opened, and in which mode.
#pragma once

namespace OpenFiles {

// Makes the dialog known, to macros and to the key file.
[[nodiscard]] bool Initialise();
// Makes the dialog come up; false after a message.
bool Show();

}
