// Listings in the notebook of what macros can name, and of all keys.
#pragma once
#include "ui/dialog.h"

#include <string>

namespace MacroList {

// A line "  ID  Item    kind of value" for each executable item of the dialog, or of all with an ID-name, and
// ahead of them the entries of the menus. recordedOnly: items that the recorder takes.
void ListItems(const Dialogs::DialogRecord* dialog, bool recordedOnly);
// The command: of the front dialog, or of all dialogs where none is in front.
void ListFront(bool recordedOnly);
// The lines of the key file.
void ListKeys();

// "real", "integer", "hex", "set16", "boolean", "list index", "list index + 2. integer", "char", "string".
[[nodiscard]] std::string TypeWord(const Dialogs::DialogItem& item);

}
