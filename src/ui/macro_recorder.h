// Recording of macros: what the user does becomes lines of a macro file.
//
// A line is appended as soon as it is done, so that a crash loses nothing of it. Recorded are activations by
// mouse or key of items that are MacroEnabled, keys that a dialog takes as a whole, and choices from menus;
// not what a macro, or the program itself, does. An item that is activated while another one's procedure
// goes on, as in a dialog that has to be answered, comes behind that one. A text of many lines has one line,
// for what it came to. What is typed into a password is not recorded.
#pragma once
#include "ui/dialog.h"

#include <string>

namespace Macros {

// Of the command "Record Macros": asks for the file and begins, or ends.
void RecordMacros();
[[nodiscard]] const char* RecordLabel(); // "Record Macros", "Stop Recording"

// A file that is there becomes FILE.bak. False after the reason was said: while a protocol or a macro runs,
// and where the file cannot be written.
bool StartRecording(const std::string& file);
void StopRecording();
[[nodiscard]] bool IsRecording();
[[nodiscard]] const std::string& RecordedFile();

// The user has given an item a key.
void RecordKey(const Dialogs::DialogRecord& dialog, int number, bool second);

// Whether a protocol is being executed; none: never. The protocol's room sets it.
extern bool (*ProtocolRuns)();

}
