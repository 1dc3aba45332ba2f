// The key file: the shortcuts of all menus and dialogs, as key lines of macro_line.h.
//
// It is loaded once the dialogs and menus stand. Only its key lines count; those that name what is not there
// are passed over. What is saved are the shortcuts as they are; the file that was there is kept beside it as
// NAME.100y to NAME.199y (the letter being the last one of its extension).
#pragma once
#include <string>
#include <vector>

namespace KeyFile {

// Qorvanite.key in the folder of the settings; empty where there is none.
[[nodiscard]] std::string Path();

// False when there is no file, without a word, or it is not loaded, after the reason was said.
bool Load(const std::string& file);
// False after the reason was said; the file that was there is untouched then.
bool Save(const std::string& file);

// The lines of the file behind its head.
[[nodiscard]] std::vector<std::string> Lines();

}
