#include "ui/key_names.h"

#include "base/text.h"
#include "platform/event_record.h"

#include <charconv>

namespace KeyNames {

namespace {

using Dialogs::Shortcut;
using Events::KeyClass;
using Platform::KeyCode;

struct CodeRow {
    KeyCode Code;
    const char* Long;
    const char* Short;
};
// Digits of the number pad and function keys are made of their numbers. No long name: "Code" and the number.
constexpr CodeRow Codes[] = {
    {KeyCode::CursorRight, "CursorRight", "right"},
    {KeyCode::CursorLeft, "CursorLeft", "left"},
    {KeyCode::CursorDown, "CursorDown", "down"},
    {KeyCode::CursorUp, "CursorUp", "up"},
    {KeyCode::Enter, "Enter", "enter"},
    {KeyCode::Return, "RETURN", "return"},
    {KeyCode::Escape, "ESC", "esc"},
    {KeyCode::Tab, nullptr, "tab"},
    {KeyCode::Backtab, nullptr, "sh-tab"},
    {KeyCode::Home, "HOME", "home"},
    {KeyCode::End, "END", "end"},
    {KeyCode::PageUp, "PageUp", "p-up"},
    {KeyCode::PageDown, "PageDown", "p-down"},
    {KeyCode::Help, "Help", "help"},
    {KeyCode::Insert, "Insert", "ins"},
    {KeyCode::DeleteLeft, "DeleteLeft", "backspace"},
    {KeyCode::DeleteRight, "DeleteRight", "delete"},
    {KeyCode::NumericTimes, "Numeric*", "nu *"},
    {KeyCode::NumericDivide, "Numeric/", "nu /"},
    {KeyCode::NumericEqual, "Numeric=", "nu ="},
    {KeyCode::NumericClear, "NumericClear", "clear"},
    {KeyCode::NumericPoint, "Numeric.", "nu ."},
    {KeyCode::NumericPlus, "Numeric+", "nu +"},
    {KeyCode::NumericMinus, "Numeric-", "nu -"},
};
constexpr std::uint32_t LastCode = 255; // of a layout file's byte

struct ModifierRow {
    std::uint32_t Bit;
    const char* Long;
    const char* Short;
};
constexpr ModifierRow Modifiers[] = {{Platform::Command, "command", "com-"},
                                     {Platform::Shift, "shift", "sh-"},
                                     {Platform::Caps, "caps", "cap-"},
                                     {Platform::Option, "option", "op-"},
                                     {Platform::Control, "control", "ctr-"}};

struct Names {
    std::string Long, Short;
};

Names NamesOf(std::uint32_t code) {
    const std::string number = std::to_string(code);
    for (const CodeRow& row : Codes)
        if (static_cast<std::uint32_t>(row.Code) == code)
            return {row.Long != nullptr ? row.Long : "Code " + number, row.Short};
    const auto numeric = static_cast<std::uint32_t>(KeyCode::Numeric0);
    if (code >= numeric && code <= numeric + 9) {
        const std::string digit = std::to_string(code - numeric);
        return {"Numeric" + digit, "nu " + digit};
    }
    const auto first = static_cast<std::uint32_t>(KeyCode::F1);
    if (code >= first && code <= static_cast<std::uint32_t>(KeyCode::F15)) {
        const std::string name = "F" + std::to_string(code - first + 1);
        return {name, name};
    }
    return {"Code " + number, "code " + number};
}

bool IsControl(std::uint32_t character) {
    return character < ' ' || character == 127;
}

std::string CharacterName(std::uint32_t character) {
    if (character == ' ') return "SPACE";
    // The letter of a control character is 64 places on; that of 127, "?", 64 places back.
    if (IsControl(character)) return std::string("Char  \"^ ") + static_cast<char>(character ^ 64u) + "\"";
    return "Char  \"" + Texts::Utf8Of(character) + "\"";
}

std::string_view WithoutBlanks(std::string_view text) {
    const std::size_t at = text.find_first_not_of(' ');
    return at == std::string_view::npos ? std::string_view() : text.substr(at);
}

std::string_view TakeWord(std::string_view& text) {
    text = WithoutBlanks(text);
    const std::string_view word = text.substr(0, text.find_first_of(" ;"));
    text.remove_prefix(word.size());
    return word;
}

bool AtEnd(std::string_view text) {
    return text.empty() || text.front() == ' ' || text.front() == ';';
}

// A character, in double quotes or as it stands. A quote may stand for itself in both ways.
bool TakeQuotedCharacter(std::string_view& text, std::uint32_t& character) {
    text = WithoutBlanks(text);
    if (text.empty()) return false;
    if (text.size() > 4 && text.starts_with("\"^ ") && text[4] == '"') {
        character = static_cast<unsigned char>(text[3]) ^ 64u;
        text.remove_prefix(5);
        return IsControl(character) && AtEnd(text);
    }
    const bool quoted = text.size() > 2 && text.front() == '"';
    if (quoted) text.remove_prefix(1);
    character = Texts::TakeCharacter(text);
    if (quoted) {
        if (!text.starts_with('"')) return false;
        text.remove_prefix(1);
    }
    return AtEnd(text);
}

bool TakeCode(std::string_view& text, Shortcut& key) {
    const std::string_view word = TakeWord(text);
    std::uint32_t code = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), code);
    if (error != std::errc() || end != word.data() + word.size() || code == 0 || code > LastCode)
        return false;
    key.Class = KeyClass::Special;
    key.Char = code;
    return true;
}

bool TakeName(std::string_view name, Shortcut& key) {
    if (Texts::SameFolded(name, "SPACE")) {
        key.Class = KeyClass::Printable;
        key.Char = ' ';
        return true;
    }
    for (std::uint32_t code = 1; code <= static_cast<std::uint32_t>(KeyCode::F15); ++code) {
        if (!Texts::SameFolded(NamesOf(code).Long, name)) continue;
        key.Class = KeyClass::Special;
        key.Char = code;
        return true;
    }
    key.Class = KeyClass::Printable;
    if (name.empty()) return false;
    key.Char = Texts::TakeCharacter(name);
    return name.empty() && !IsControl(key.Char);
}

bool TakeKey(std::string_view& text, Shortcut& key) {
    const std::string_view word = TakeWord(text);
    if (Texts::SameFolded(word, "CODE")) return TakeCode(text, key);
    if (!Texts::SameFolded(word, "CHAR")) return TakeName(word, key);
    key.Class = KeyClass::Printable;
    return TakeQuotedCharacter(text, key.Char);
}

bool TakeModifier(std::string_view word, Shortcut& key, bool& second) {
    if (Texts::SameFolded(word, "ANY")) return key.AnyModifier = true;
    if (Texts::SameFolded(word, "BACK")) return second = true;
    for (const ModifierRow& row : Modifiers) {
        if (!Texts::SameFolded(word, row.Long)) continue;
        key.Modifiers = static_cast<std::uint8_t>(key.Modifiers | row.Bit);
        return true;
    }
    return false;
}

}

std::string Long(const Shortcut& key, bool second) {
    std::string text = key.Class == KeyClass::Printable ? CharacterName(key.Char) : NamesOf(key.Char).Long;
    if (key.AnyModifier) text += " any";
    for (const ModifierRow& row : Modifiers)
        if ((key.Modifiers & row.Bit) != 0) text += std::string(" ") + row.Long;
    if (second) text += " back";
    return text;
}

bool ReadLong(std::string_view text, Shortcut& key, bool& second) {
    Shortcut read{.FrontOnly = key.FrontOnly};
    bool back = second;
    if (!TakeKey(text, read)) return false;
    for (text = WithoutBlanks(text); !text.empty() && text.front() != ';'; text = WithoutBlanks(text))
        if (!TakeModifier(TakeWord(text), read, back)) return false;
    if (read.AnyModifier && read.Class == KeyClass::Printable && read.Char < 128)
        read.Char = static_cast<unsigned char>(Texts::Upper(static_cast<char>(read.Char)));
    key = read;
    second = back;
    return true;
}

std::string Short(const Shortcut& key) {
    if (!key.IsSet()) return {};
    std::string text;
    // Shift stands ahead of the others.
    if ((key.Modifiers & Platform::Shift) != 0) text = "sh-";
    for (const ModifierRow& row : Modifiers)
        if (row.Bit != Platform::Shift && (key.Modifiers & row.Bit) != 0) text += row.Short;
    if (key.Class != KeyClass::Printable) return text + NamesOf(key.Char).Short;
    if (key.Char == ' ') return text + "space";
    if (IsControl(key.Char)) return text + "^" + static_cast<char>(key.Char ^ 64u);
    return text + Texts::Utf8Of(key.Char);
}

}
