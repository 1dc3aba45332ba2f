#include "base/text.h"
#include "ui/item_value.h"
#include "ui/key_names.h"
#include "ui/macro_line.h"
#include "ui/menus.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <optional>

namespace MacroLine {

namespace {

using Dialogs::DialogItem;
using Dialogs::DialogRecord;
using Dialogs::ValueKind;

constexpr int NumberColumns = 11;

std::string InQuotes(std::string_view text) {
    const char quote = text.find('"') == std::string_view::npos ? '"' : '\'';
    return quote + std::string(text) + quote;
}

// A text that a line holds as one word; none where no quotes will do.
std::optional<std::string> AsWord(std::string_view text) {
    if (text.find('"') != std::string_view::npos && text.find('\'') != std::string_view::npos) return {};
    if (text != WithoutControls(text)) return {};
    const bool digits = text.find_first_not_of("0123456789") == std::string_view::npos;
    const bool plain = !digits && text.find_first_of(" ;\"'") == std::string_view::npos &&
                       !Texts::SameFolded(text, "KEY") && text != "@";
    return plain ? std::string(text) : InQuotes(text);
}

std::string Shortest(double value) {
    char text[64];
    const auto [end, error] = std::to_chars(text, text + sizeof text, value);
    return Texts::UpperCase({text, end});
}

std::string InFormat(const DialogItem& item, double shown) {
    using enum NumberText::Format;
    switch (item.NumberFormat) {
    case Fixed: return NumberText::Fixed(shown, item.Digits, NumberColumns);
    case Scientific: return NumberText::Scientific(shown, NumberColumns);
    case Engineering: return NumberText::Engineering(shown, NumberColumns);
    default: return NumberText::Fixed(shown, 0, NumberColumns);
    }
}

bool ReadsBack(const DialogItem& item, std::string_view text, double stored) {
    double value = 0;
    if (!NumberText::ReadEngineering(Dialogs::WithoutUnit(text, item.UnitText), value)) return false;
    if (item.ValueScale != 1.0) value *= item.ValueScale;
    return Dialogs::Kept(item.ValueKind, value) == stored;
}

std::string RealWord(const DialogItem& item) {
    const double stored = Dialogs::NumberOf(item);
    const double shown = item.ValueScale == 1.0 ? stored : stored / item.ValueScale;
    if (!std::isfinite(shown)) return InFormat(item, stored);
    // The division may have lost the last bit, which a neighbour gives back where one does.
    const std::array<std::string, 4> numbers = {InFormat(item, shown), Shortest(shown),
                                                Shortest(std::nextafter(shown, INFINITY)),
                                                Shortest(std::nextafter(shown, -INFINITY))};
    const std::string unit(NumberText::Trimmed(item.UnitText));
    for (const std::string& number : numbers)
        for (const std::string& text : {number + item.UnitText, number + " " + unit, number})
            if (ReadsBack(item, text, stored)) return text;
    return "=" + Shortest(stored);
}

std::string WholeWord(const DialogItem& item) {
    const auto value = static_cast<std::int64_t>(Dialogs::NumberOf(item));
    if (item.NumberFormat != NumberText::Format::Hexadecimal)
        return NumberText::Integer(value, NumberColumns);
    const std::uint64_t mask = item.ValueKind == ValueKind::Int32 ? 0xFFFFFFFF : 0xFFFF;
    return NumberText::Hexadecimal(static_cast<std::uint64_t>(value) & mask, NumberColumns);
}

std::string ListWord(const DialogItem& item) {
    std::string text = NumberText::Integer(static_cast<std::int64_t>(Dialogs::NumberOf(item)), NumberColumns);
    if (item.ListSecond != nullptr) text += "(" + std::to_string(*item.ListSecond) + ")";
    return text + "  ; " + WithoutControls(Dialogs::ListText(item, Dialogs::ListIndex(item)));
}

std::string Target(const DialogRecord& dialog) {
    return "  " + AsWord(dialog.DialogIDName).value_or(dialog.DialogIDName) + " ";
}

// A button does what it does, whatever its value.
bool NeedsNoValue(const DialogItem& item) {
    using enum Dialogs::ItemKind;
    const bool acts = item.Kind == Button || item.Kind == Offscreen || item.Kind == GWindow ||
                      item.Kind == User || item.Kind == Text;
    return acts && item.ValueKind == ValueKind::Boolean && item.ValuePointer == nullptr;
}

std::string MenuAddress(int menu, int entry) {
    const std::string title = Menus::Title(menu), text = Menus::EntryText(menu, entry);
    const std::string front = "  @  " + AsWord(title).value_or(title);
    const bool byText = AsWord(text).has_value() && Menus::FindEntry(menu, text) == entry;
    return Padded(front, ItemColumn) + (byText ? InQuotes(text) : NumberText::Integer(entry, 3));
}

}

std::string Padded(std::string text, std::size_t columns) {
    text.resize(std::max(columns, text.size() + 1), ' ');
    return text;
}

std::string ItemWord(const DialogRecord& dialog, int number) {
    const std::string& name = Dialogs::Item(dialog, number).ItemName;
    const std::optional<std::string> word = AsWord(name);
    const bool found = !name.empty() && word && Dialogs::FindItemFolded(dialog, name) == number;
    return found ? *word : std::to_string(number);
}

std::string ValueWord(const DialogItem& item) {
    if (Dialogs::IsList(item)) return ListWord(item);
    switch (item.ValueKind) {
    case ValueKind::String: return InQuotes(WithoutControls(Dialogs::TextOf(item)));
    case ValueKind::Boolean: return Dialogs::BoolOf(item) ? "  TRUE" : "  FALSE";
    case ValueKind::Set16:
        return item.NumberFormat == NumberText::Format::Hexadecimal
                   ? WholeWord(item)
                   : Dialogs::SetDigits(static_cast<std::uint16_t>(Dialogs::NumberOf(item)));
    case ValueKind::Real64:
    case ValueKind::Real32: return RealWord(item);
    default: return WholeWord(item);
    }
}

std::string LineOf(const DialogRecord& dialog, int number, std::string_view value) {
    const std::string front = Padded(Target(dialog), ItemColumn) + ItemWord(dialog, number);
    return value.empty() ? front : Padded(front, ValueColumn) + std::string(value);
}

std::string ValueLine(const DialogRecord& dialog, int number) {
    const DialogItem& item = Dialogs::Item(dialog, number);
    return LineOf(dialog, number, NeedsNoValue(item) ? std::string() : ValueWord(item));
}

std::string KeyLine(const DialogRecord& dialog, int number, bool second) {
    const DialogItem& item = Dialogs::Item(dialog, number);
    return LineOf(dialog, number,
                  second ? "Key2 " + KeyNames::Long(item.Key2, true) : "Key " + KeyNames::Long(item.Key));
}

std::string DialogKeyLine(const DialogRecord& dialog, const Dialogs::Shortcut& key) {
    return Padded(Target(dialog), ItemColumn) + "Key " + KeyNames::Long(key);
}

std::string MenuLine(int menu, int entry) {
    return MenuAddress(menu, entry);
}

std::string MenuKeyLine(int menu, int entry) {
    const char letter = Menus::Shortcut(menu, entry);
    return Padded(MenuAddress(menu, entry), ValueColumn) + "Key " +
           KeyNames::Long({.Class = Events::KeyClass::Printable, .Char = static_cast<unsigned char>(letter)});
}

}
