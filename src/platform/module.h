// The desktop backend, loaded when a window is wanted: the file qorvanite_desktop.so beside the program, or
// in lib/qorvanite beside the program's folder.
#pragma once
#include "platform/platform.h"

#include <string>

namespace Platform {

// Loads the desktop and takes it into use. False with a reason that says what to install; the headless
// backend stays in use.
[[nodiscard]] bool UseDesktop(std::string& reason);

}
