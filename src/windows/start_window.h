// The start window: what the program is doing while it comes up.
#pragma once
#include <string_view>

namespace StartWindow {

// Without a window where it cannot be made: the start does not depend on it.
void Open(std::string_view programName, std::string_view version);
void SetLine(std::string_view line);
void Close();

}
