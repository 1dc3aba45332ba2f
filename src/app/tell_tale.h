// Switch files: their mere presence beside the program turns something on.
#pragma once
#include <string>

namespace TellTale {

// True if a file of that name lies beside the program; the log then says so.
[[nodiscard]] bool Check(const std::string& name);
// The same, with the first line of the file.
[[nodiscard]] bool Read(const std::string& name, std::string& contents);
// Where they are looked for; a test puts another folder there. Empty: beside the program.
extern std::string Folder;

}
