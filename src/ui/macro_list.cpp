#include "ui/macro_list.h"

#include "base/messages.h"
#include "ui/item_value.h"
#include "ui/key_file.h"
#include "ui/macro_line.h"
#include "ui/menus.h"

namespace MacroList {

namespace {

using Dialogs::DialogRecord;
using Dialogs::ValueKind;

void ListMenus() {
    Messages::Log(";    MENU items:");
    for (int menu = 2; menu <= Menus::Count(); ++menu)
        for (int entry = 1; entry <= Menus::Entries(menu); ++entry)
            if (Menus::EntryText(menu, entry) != "-") Messages::Log(MacroLine::MenuLine(menu, entry));
}

void ListDialog(const DialogRecord& dialog, bool recordedOnly) {
    Messages::Log(";    DIALOG: \"" + dialog.DialogIDName + "\" = \"" + dialog.DialogName + "\"");
    for (int number = 1; number <= dialog.ItemCount; ++number) {
        if (!Dialogs::HasItem(dialog, number)) continue;
        const Dialogs::DialogItem& item = Dialogs::Item(dialog, number);
        if (!item.Executable || (recordedOnly && !item.MacroEnabled)) continue;
        const std::string name = "  " + dialog.DialogIDName + "  " + MacroLine::ItemWord(dialog, number);
        Messages::Log(MacroLine::Padded(name, MacroLine::ValueColumn) + TypeWord(item));
    }
}

}

void ListItems(const DialogRecord* dialog, bool recordedOnly) {
    ListMenus();
    Messages::Log(recordedOnly ? ";    DIALOG macro items:" : ";    DIALOG items:");
    for (const DialogRecord* each = Dialogs::FirstDialog(); each != nullptr; each = each->NextDialog)
        if (!each->DialogIDName.empty() && (dialog == nullptr || each == dialog))
            ListDialog(*each, recordedOnly);
}

void ListFront(bool recordedOnly) {
    ListItems(Dialogs::FrontDialog(), recordedOnly);
}

void ListKeys() {
    for (const std::string& line : KeyFile::Lines()) Messages::Log(line);
}

std::string TypeWord(const Dialogs::DialogItem& item) {
    if (Dialogs::IsList(item)) return item.ListSecond != nullptr ? "list index + 2. integer" : "list index";
    switch (item.ValueKind) {
    case ValueKind::Real64:
    case ValueKind::Real32: return "real";
    case ValueKind::Set16: return "set16";
    case ValueKind::Boolean: return "boolean";
    case ValueKind::Byte: return "char";
    case ValueKind::String: return "string";
    default: return item.NumberFormat == NumberText::Format::Hexadecimal ? "hex" : "integer";
    }
}

}
