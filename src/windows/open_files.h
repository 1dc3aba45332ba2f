// "Open Files": which data file is opened, and in which mode.
#pragma once

namespace OpenFiles {

// Makes the dialog come up; false after a message.
bool Show();

}
