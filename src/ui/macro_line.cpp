#include "ui/macro_line.h"

#include "base/text.h"
#include "ui/item_value.h"
#include "ui/key_names.h"
#include "ui/menus.h"

#include <algorithm>
#include <array>
#include <limits>

namespace MacroLine {

namespace {

using Dialogs::DialogItem;
using Dialogs::DialogRecord;
using Dialogs::ItemKind;
using Dialogs::ValueKind;
using NumberText::Trimmed;

constexpr int FirstMenu = 2, LastMenu = 50; // the program's own menu is no macro's

constexpr std::array<const char*, 16> FailureWords = {
    "",
    " ## line too long ## ",
    " ## target dialog not known ## ",
    " ## target dialog not open ## ",
    " ## target item not known ## ",
    " ## menu not known ## ",
    " ## menu entry not known ## ",
    " ## menu entry is disabled ## ",
    " ## key not known ## ",
    " ## item has no second key ## ",
    " ## value not understood ## ",
    " ## list entry not known or disabled ## ",
    " ## number out of bounds ## ",
    " ## item is locked ## ",
    " ## refused ## ",
    " ## dialog is busy ## ",
};
static_assert(FailureWords.size() == static_cast<std::size_t>(Failure::Tracking) + 1);

struct Word {
    std::string_view Text;
    bool Quoted = false;
    [[nodiscard]] bool IsNumber() const {
        return !Quoted && !Text.empty() && Text.find_first_not_of("0123456789") == std::string_view::npos;
    }
};

std::string_view WithoutBlanks(std::string_view text) {
    return text.substr(std::min(text.find_first_not_of(' '), text.size()));
}

bool IsQuote(char c) {
    return c == '"' || c == '\'';
}

// A quote without its partner is a character like any other.
Word TakeWord(std::string_view& line) {
    line = WithoutBlanks(line);
    if (!line.empty() && IsQuote(line.front())) {
        const std::size_t end = line.find(line.front(), 1);
        if (end != std::string_view::npos) {
            const Word word{line.substr(1, end - 1), true};
            line.remove_prefix(end + 1);
            return word;
        }
    }
    const Word word{line.substr(0, line.find_first_of(" ;"))};
    line.remove_prefix(word.Text.size());
    return word;
}

std::string_view WithoutComment(std::string_view text) {
    return Trimmed(text.substr(0, text.find(';')));
}

int NumberIn(const Word& word) {
    std::int64_t number = 0;
    return NumberText::ReadInteger(word.Text, number) && number <= std::numeric_limits<std::int16_t>::max()
               ? static_cast<int>(number)
               : -1;
}

Failure ReadMenuAddress(std::string_view& line, Address& address) {
    address.TargetItem = MenuTarget;
    address.Menu = Menus::FindMenu(TakeWord(line).Text);
    if (address.Menu < FirstMenu || address.Menu > LastMenu) return Failure::MenuUnknown;
    address.Entry = Menus::FindEntry(address.Menu, TakeWord(line).Text);
    return address.Entry != 0 ? Failure::None : Failure::EntryUnknown;
}

// Item 0 counts last, for the items' names are what a user sees.
int FindNamed(const DialogRecord& dialog, std::string_view name) {
    const int number = Dialogs::FindItemFolded(dialog, name);
    if (number != 0) return number;
    const bool zero =
        dialog.Items && !name.empty() && Texts::SameFolded(Dialogs::Item(dialog, 0).ItemName, name);
    return zero ? 0 : -1;
}

bool IsWord(std::string_view text, std::string_view word) {
    return Texts::SameFolded(text, word);
}

bool ReadQuoted(std::string_view text, std::string& value) {
    if (text.empty() || !IsQuote(text.front())) return false;
    for (std::size_t end = text.find(text.front(), 1); end != std::string_view::npos;
         end = text.find(text.front(), end + 1)) {
        const std::string_view behind = WithoutBlanks(text.substr(end + 1));
        if (!behind.empty() && behind.front() != ';') continue;
        value = text.substr(1, end - 1);
        return true;
    }
    return false;
}

bool ReadBool(std::string_view text) {
    return !text.empty() &&
           ((text.front() >= '1' && text.front() <= '9') || Texts::Upper(text.front()) == 'T');
}

// Whole numbers of the width of the kind; a hexadecimal one may be the pattern of a negative number.
bool ReadWhole(const DialogItem& item, std::string_view text, bool relative, double& value) {
    if (item.NumberFormat != NumberText::Format::Hexadecimal || relative) {
        std::int64_t whole = 0;
        if (!NumberText::ReadInteger(text, whole)) return false;
        value = static_cast<double>(whole);
        return true;
    }
    std::uint64_t bits = 0;
    if (!NumberText::ReadHexadecimal(text, bits)) return false;
    if (item.ValueKind == ValueKind::Int16 && bits <= 0xFFFF) {
        value = static_cast<std::int16_t>(static_cast<std::uint16_t>(bits));
    } else if (item.ValueKind == ValueKind::Int32 && bits <= 0xFFFFFFFF) {
        value = static_cast<std::int32_t>(static_cast<std::uint32_t>(bits));
    } else {
        value = static_cast<double>(bits);
    }
    return true;
}

bool ReadReal(std::string_view text, std::string_view unit, double scale, double& value) {
    if (text.starts_with('=')) return NumberText::ReadEngineering(text.substr(1), value);
    if (!NumberText::ReadEngineering(Dialogs::WithoutUnit(text, unit), value)) return false;
    if (scale != 1.0) value *= scale;
    return true;
}

bool ReadBitChange(std::string_view text, MacroRecord& record) {
    std::int64_t bit = 0;
    if (!NumberText::ReadInteger(text, bit) || bit < -15 || bit > 15) return false;
    record.ClearsBit = text.starts_with('-');
    record.NumberValue = static_cast<double>(bit < 0 ? -bit : bit);
    return true;
}

bool ReadSet(const DialogItem& item, std::string_view text, MacroRecord& record) {
    if (record.Relative) return ReadBitChange(text, record);
    std::uint16_t set = 0;
    std::uint64_t bits = 0;
    if (item.NumberFormat != NumberText::Format::Hexadecimal) {
        if (!Dialogs::ReadSetDigits(text, set)) return false;
    } else {
        if (!NumberText::ReadHexadecimal(text, bits) || bits > 0xFFFF) return false;
        set = static_cast<std::uint16_t>(bits);
    }
    record.NumberValue = set;
    return true;
}

// "3", "3 (12)"
bool ReadList(std::string_view text, MacroRecord& record) {
    const std::size_t open = text.find('(');
    std::int64_t index = 0, second = 0;
    if (open != std::string_view::npos) {
        if (text.back() != ')' ||
            !NumberText::ReadInteger(text.substr(open + 1, text.size() - open - 2), second) ||
            second != static_cast<std::int32_t>(second))
            return false;
        record.Second = static_cast<std::int32_t>(second);
        record.HasSecond = true;
    }
    if (!NumberText::ReadInteger(text.substr(0, open), index)) return false;
    record.NumberValue = static_cast<double>(std::clamp<std::int64_t>(index, -100'000, 100'000));
    return true;
}

bool ReadValue(const DialogItem& item, std::string_view rest, MacroRecord& record) {
    const std::string_view text = WithoutComment(rest);
    record.HasValue = !text.empty();
    if (Dialogs::IsList(item)) return ReadList(text, record);
    switch (item.ValueKind) {
    case ValueKind::String:
        rest = Trimmed(rest);
        if (!ReadQuoted(rest, record.TextValue)) record.TextValue = rest;
        return !rest.empty();
    case ValueKind::Boolean: record.NumberValue = ReadBool(text) ? 1 : 0; return true;
    case ValueKind::Set16: return ReadSet(item, text, record);
    case ValueKind::Real64:
    case ValueKind::Real32: return ReadReal(text, item.UnitText, item.ValueScale, record.NumberValue);
    default: return ReadWhole(item, text, record.Relative, record.NumberValue);
    }
}

// True when the rest of the line is a key's, read or not.
bool ReadKeyWords(std::string_view rest, MacroRecord& record, Failure& failure) {
    std::string_view words = rest;
    const Word first = TakeWord(words);
    if (first.Quoted || !(IsWord(first.Text, "KEY") || IsWord(first.Text, "KEY2"))) return false;
    record.IsKeyLine = true;
    record.IsKey2 = first.Text.size() == 4;
    if (!KeyNames::ReadLong(words, record.Key, record.IsKey2)) failure = Failure::KeyUnknown;
    return true;
}

}

std::string WithoutControls(std::string_view text) {
    std::string clean(text);
    std::replace_if(
        clean.begin(), clean.end(), [](char c) { return (c >= 0 && c < ' ') || c == 127; }, ' ');
    return clean;
}

const char* Words(Failure failure) {
    return FailureWords[static_cast<std::size_t>(failure)];
}

Failure ReadAddress(std::string_view& line, Address& address) {
    address = {};
    const Word target = TakeWord(line);
    if (!target.Quoted && target.Text == "@") return ReadMenuAddress(line, address);
    address.Dialog = Dialogs::FindDialog(target.Text);
    if (address.Dialog == nullptr) return Failure::DialogUnknown;
    const std::string_view behind = line;
    const Word item = TakeWord(line);
    int number = -1;
    if (item.IsNumber()) number = NumberIn(item);
    if (number < 1 || number > address.Dialog->ItemCount) number = FindNamed(*address.Dialog, item.Text);
    if (number < 0 && !item.Quoted && IsWord(item.Text, "KEY")) {
        line = behind;
        number = WholeDialog;
    } else if (number < 0) {
        return Failure::ItemUnknown;
    }
    address.TargetItem = static_cast<std::int16_t>(number);
    return Failure::None;
}

Failure Read(std::string_view text, bool relative, MacroRecord& record) {
    if (text.size() > LongestLine) return Failure::LineTooLong;
    const std::string clean = WithoutControls(text);
    std::string_view line = clean;
    Address address;
    Failure failure = ReadAddress(line, address);
    if (failure != Failure::None) return failure;
    MacroRecord read{.TargetItem = address.TargetItem, .Relative = relative};
    if (address.Dialog == nullptr) {
        read.TargetDialog = "@";
        read.TextValue = Menus::Title(address.Menu);
        read.MenuEntry = static_cast<std::int16_t>(address.Entry);
    } else {
        read.TargetDialog = Texts::UpperCase(address.Dialog->DialogIDName);
    }
    if (address.TargetItem > 0) {
        const DialogItem& item = Dialogs::Item(*address.Dialog, address.TargetItem);
        if (!ReadKeyWords(line, read, failure) && !ReadValue(item, line, read)) return Failure::ValueUnknown;
    } else {
        (void)ReadKeyWords(line, read, failure);
    }
    if (failure != Failure::None) return failure;
    if (read.IsKeyLine && address.TargetItem > 0) {
        const DialogItem& item = Dialogs::Item(*address.Dialog, address.TargetItem);
        read.Key.FrontOnly = read.IsKey2 ? item.Key2.FrontOnly : item.Key.FrontOnly;
    }
    record = std::move(read);
    return Failure::None;
}

bool IsComment(std::string_view text) {
    const std::string clean = WithoutControls(text);
    const std::string_view line = WithoutBlanks(clean);
    return line.empty() || line.front() == ';';
}

bool IsRelative(std::string_view text) {
    return Texts::SameFolded(WithoutComment(WithoutControls(text)), "RELATIVE");
}

}
