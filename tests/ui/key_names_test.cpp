#include "ui/key_names.h"

#include "platform/event_record.h"

#include <gtest/gtest.h>

namespace {

using Dialogs::Shortcut;
using Events::KeyClass;
using Platform::KeyCode;

Shortcut Special(KeyCode code, std::uint32_t modifiers = 0, bool any = false) {
    return {.Class = KeyClass::Special,
            .Char = static_cast<std::uint32_t>(code),
            .Modifiers = static_cast<std::uint8_t>(modifiers),
            .AnyModifier = any};
}

Shortcut Character(std::uint32_t character, std::uint32_t modifiers = 0, bool any = false) {
    return {.Class = KeyClass::Printable,
            .Char = character,
            .Modifiers = static_cast<std::uint8_t>(modifiers),
            .AnyModifier = any};
}

void ExpectSame(const Shortcut& got, const Shortcut& want, std::string_view what) {
    EXPECT_EQ(got.Class, want.Class) << what;
    EXPECT_EQ(got.Char, want.Char) << what;
    EXPECT_EQ(got.Modifiers, want.Modifiers) << what;
    EXPECT_EQ(got.AnyModifier, want.AnyModifier) << what;
}

TEST(KeyNames, AreWrittenAndReadBack) {
    const struct {
        Shortcut Key;
        bool Second;
        const char* Long;
        const char* Short;
    } cases[] = {
        {Special(KeyCode::CursorLeft), false, "CursorLeft", "left"},
        {Special(KeyCode::CursorUp, Platform::Shift | Platform::Control), true, "CursorUp shift control back",
         "sh-ctr-up"},
        {Special(static_cast<KeyCode>(37), Platform::Command), false, "Numeric5 command", "com-nu 5"},
        {Special(KeyCode::NumericTimes), false, "Numeric*", "nu *"},
        {Special(KeyCode::NumericClear, Platform::Caps | Platform::Option), false, "NumericClear caps option",
         "cap-op-clear"},
        {Special(KeyCode::Return), false, "RETURN", "return"},
        {Special(KeyCode::Escape), false, "ESC", "esc"},
        {Special(KeyCode::PageDown), false, "PageDown", "p-down"},
        {Special(KeyCode::DeleteLeft), false, "DeleteLeft", "backspace"},
        {Special(KeyCode::DeleteRight), false, "DeleteRight", "delete"},
        {Special(KeyCode::F1), false, "F1", "F1"},
        {Special(KeyCode::F15, 0, true), false, "F15 any", "F15"},
        {Special(KeyCode::Tab), false, "Code 8", "tab"},
        {Special(static_cast<KeyCode>(200)), false, "Code 200", "code 200"},
        {Character(' '), false, "SPACE", "space"},
        {Character('a', Platform::Control), false, "Char  \"a\" control", "ctr-a"},
        {Character('A', 0, true), true, "Char  \"A\" any back", "A"},
        {Character('"'), false, "Char  \"\"\"", "\""},
        {Character(';'), false, "Char  \";\"", ";"},
        {Character('^'), false, "Char  \"^\"", "^"},
        {Character(1), false, "Char  \"^ A\"", "^A"},
        {Character(127), false, "Char  \"^ ?\"", "^?"},
        {Character(0x20AC), false, "Char  \"\u20AC\"", "\u20AC"},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(KeyNames::Long(each.Key, each.Second), each.Long);
        EXPECT_EQ(KeyNames::Short(each.Key), each.Short);
        Shortcut read;
        bool second = false;
        ASSERT_TRUE(KeyNames::ReadLong(each.Long, read, second)) << each.Long;
        ExpectSame(read, each.Key, each.Long);
        EXPECT_EQ(second, each.Second) << each.Long;
    }
    EXPECT_EQ(KeyNames::Short({}), "");
}

TEST(KeyNames, EveryCodeReadsBack) {
    for (std::uint32_t code = 1; code <= 255; ++code) {
        const Shortcut key = Special(static_cast<KeyCode>(code));
        Shortcut read;
        bool second = false;
        ASSERT_TRUE(KeyNames::ReadLong(KeyNames::Long(key), read, second)) << code;
        ExpectSame(read, key, KeyNames::Long(key));
    }
}

TEST(KeyNames, ReaderTakesWhatAHandWrites) {
    const struct {
        const char* Text;
        Shortcut Key;
    } cases[] = {
        {"  cursorleft   SHIFT ; steps back", Special(KeyCode::CursorLeft, Platform::Shift)},
        {"NUMERICCLEAR", Special(KeyCode::NumericClear)},
        {"char x", Character('x')},
        {"CHAR \"", Character('"')},
        {"x any", Character('X', 0, true)},
        {"5 command", Character('5', Platform::Command)},
        {"code 8 any", Special(KeyCode::Tab, 0, true)},
    };
    for (const auto& each : cases) {
        Shortcut read;
        bool second = false;
        ASSERT_TRUE(KeyNames::ReadLong(each.Text, read, second)) << each.Text;
        ExpectSame(read, each.Key, each.Text);
    }
}

TEST(KeyNames, WhatIsNoKeyChangesNothing) {
    for (const char* const text :
         {"", "  ", "; x", "CursorAway", "F16", "CursorLeft twice", "CHAR", "CHAR \"ab\"", "CHAR \"a", "CODE",
          "CODE 0", "CODE 256", "CODE 99999999999", "CODE -1", "CODE 8x", "CHAR \"^ a\"", "any"}) {
        Shortcut read = Special(KeyCode::Home);
        bool second = false;
        EXPECT_FALSE(KeyNames::ReadLong(text, read, second)) << text;
        ExpectSame(read, Special(KeyCode::Home), text);
        EXPECT_FALSE(second) << text;
    }
}

}
