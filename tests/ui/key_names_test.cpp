#include "ui/key_names.h"

#include "platform/event_record.h"

#include <gtest/gtest.h>

namespace {

using Dialogs::Shortcut;
using Platform::KeyCode;

template <class Code>
Shortcut Special(Code code, std::uint32_t modifiers = 0, bool any = false) {
    return {.Class = Events::KeyClass::Special,
            .Char = static_cast<std::uint32_t>(code),
            .Modifiers = static_cast<std::uint8_t>(modifiers),
            .AnyModifier = any};
}

Shortcut Character(std::uint32_t character, std::uint32_t modifiers = 0, bool any = false) {
    Shortcut key = Special(character, modifiers, any);
    key.Class = Events::KeyClass::Printable;
    return key;
}

void ExpectRead(const std::string& text, const Shortcut& want, bool wantSecond = false) {
    Shortcut got;
    bool second = false;
    ASSERT_TRUE(KeyNames::ReadLong(text, got, second)) << text;
    EXPECT_TRUE(got.Class == want.Class && got.Char == want.Char && got.Modifiers == want.Modifiers &&
                got.AnyModifier == want.AnyModifier && second == wantSecond)
        << text;
}

TEST(KeyNames, AreWrittenAndReadBack) {
    const struct {
        Shortcut Key;
        const char *Long, *Short;
        bool Second = false;
    } cases[] = {
        {Special(KeyCode::CursorLeft), "CursorLeft", "left"},
        {Special(KeyCode::CursorUp, Platform::Shift | Platform::Control), "CursorUp shift control back",
         "sh-ctr-up", true},
        {Special(37, Platform::Command), "Numeric5 command", "com-nu 5"},
        {Special(KeyCode::NumericClear, Platform::Caps | Platform::Option), "NumericClear caps option",
         "cap-op-clear"},
        {Special(KeyCode::Return), "RETURN", "return"},
        {Special(KeyCode::Escape), "ESC", "esc"},
        {Special(KeyCode::PageDown), "PageDown", "p-down"},
        {Special(KeyCode::DeleteLeft), "DeleteLeft", "backspace"},
        {Special(KeyCode::F1), "F1", "F1"},
        {Special(KeyCode::F15, 0, true), "F15 any", "F15"},
        {Special(KeyCode::Tab), "Code 8", "tab"},
        {Special(200), "Code 200", "code 200"},
        {Character(' '), "SPACE", "space"},
        {Character('a', Platform::Control), "Char  \"a\" control", "ctr-a"},
        {Character('A', 0, true), "Char  \"A\" any back", "A", true},
        {Character('"'), "Char  \"\"\"", "\""},
        {Character(';'), "Char  \";\"", ";"},
        {Character('^'), "Char  \"^\"", "^"},
        {Character(1), "Char  \"^ A\"", "^A"},
        {Character(127), "Char  \"^ ?\"", "^?"},
        {Character(0x20AC), "Char  \"\u20AC\"", "\u20AC"},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(KeyNames::Long(each.Key, each.Second), each.Long);
        EXPECT_EQ(KeyNames::Short(each.Key), each.Short);
        ExpectRead(each.Long, each.Key, each.Second);
    }
    for (std::uint32_t code = 1; code <= 255; ++code)
        ExpectRead(KeyNames::Long(Special(code)), Special(code));
}

TEST(KeyNames, ReaderTakesWhatAHandWrites) {
    ExpectRead("  cursorleft   SHIFT ; steps back", Special(KeyCode::CursorLeft, Platform::Shift));
    ExpectRead("char x", Character('x'));
    ExpectRead("CHAR \"", Character('"'));
    ExpectRead("x any", Character('X', 0, true));
    ExpectRead("code 8 any", Special(KeyCode::Tab, 0, true));
}

TEST(KeyNames, WhatIsNoKeyChangesNothing) {
    for (const char* const text :
         {"", "  ", "; x", "CursorAway", "F16", "CursorLeft twice", "CHAR", "CHAR \"ab\"", "CHAR \"a", "CODE",
          "CODE 0", "CODE 256", "CODE 99999999999", "CODE -1", "CODE 8x", "CHAR \"^ a\"", "any",
          "F3 back twice"}) {
        Shortcut read = Special(KeyCode::Home);
        bool second = false;
        EXPECT_FALSE(KeyNames::ReadLong(text, read, second)) << text;
        EXPECT_EQ(read.Char, static_cast<std::uint32_t>(KeyCode::Home)) << text;
        EXPECT_FALSE(second) << text;
    }
}

}
