#include "ui/macro_line.h"

#include "support/macro_desk.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {

using MacroLine::Failure;
using MacroLine::MacroRecord;
using namespace Support; // the desk, and the numbers of its items

TEST(MacroLine, AddressesAreParsed) {
    const MacroDesk desk;
    ASSERT_TRUE(desk.Ready);
    const struct {
        const char* Line;
        Failure Want;
        int Item = 0;
    } cases[] = {
        {"  DESK   tau", Failure::None, Tau},
        {"desk 10 1", Failure::None, Tau},
        {"Desk 'check box' T", Failure::None, Ticked},
        {"\"Desk\" Tau;1", Failure::None, Tau},
        {"Desk 27", Failure::None, Secret},
        {"Desk 300", Failure::None, Digits}, // out of range: a name
        {"Desk \"300\"", Failure::None, Digits},
        {"Desk \"10\"", Failure::ItemUnknown}, // in quotes: never a number
        {"Desk 0", Failure::ItemUnknown},
        {"Desk 28", Failure::ItemUnknown},
        {"Desk 99999999999999999999", Failure::ItemUnknown},
        {"Desk ; Tau", Failure::ItemUnknown},
        {"Desk \"Tau", Failure::ItemUnknown},
        {"Des Tau", Failure::DialogUnknown},
        {"", Failure::DialogUnknown},
        {"Desk KEY CursorLeft", Failure::None, MacroLine::WholeDialog},
        {"@ \"file format\" 1", Failure::None, MacroLine::MenuTarget},
        {"@ Program Quit", Failure::MenuUnknown}, // the program's own menu
        {"@ Edit Redo", Failure::EntryUnknown},
        {"@ Edit", Failure::EntryUnknown},
        {"@", Failure::MenuUnknown},
    };
    for (const auto& each : cases) {
        std::string_view line = each.Line;
        MacroLine::Address address;
        EXPECT_EQ(MacroLine::ReadAddress(line, address), each.Want) << each.Line;
        EXPECT_EQ(each.Want == Failure::None ? address.TargetItem : 0, each.Item) << each.Line;
    }
}

TEST(MacroLine, ValuesAreReadByKind) {
    const MacroDesk desk;
    const struct {
        const char* Line;
        double Want; // NAN: not understood
        std::int32_t Second = 0;
    } cases[] = {
        {"Desk Tau 5 m", 5.0 * 0.001},
        {"Desk Tau 5ms ; five", 5.0 * 0.001},
        {"Desk Tau 5 s", 5},
        {"Desk Tau 5V", NAN},
        {"Desk Tau", NAN},
        {"Desk Amplitude 12.5 mV", 12.5 * 1e-3},
        {"Desk Amplitude =0.125", 0.125},
        {"Desk Amplitude =0.125 mV", NAN},
        {"Desk Count  12  ; dozen", 12},
        {"Desk Count -3", -3},
        {"Desk Count 1.5", NAN},
        {"Desk Mask ff", 255},
        {"Desk Mask FFFE", -2},
        {"Desk Mask G", NAN},
        {"Desk Bits 05F", 1 + 32 + 32768},
        {"Desk Bits", 0},
        {"Desk Bits 0x", NAN},
        {"Desk HexBits 80F1", 0x80F1},
        {"Desk HexBits 10000", NAN},
        {"Desk On   t", 1},
        {"Desk On 1", 1},
        {"Desk On 0", 0},
        {"Desk On yes", 0},
        {"Desk Go", 0},
        {"Desk Mode 2 ; Off", 2},
        {"Desk Mode two", NAN},
        {"Desk Pair 1(-12)  ; x", 1, -12},
        {"Desk Pair 1(12", NAN},
        {"Desk Pair 1(9999999999)", NAN},
        {"Desk Pair )1(", NAN},
    };
    for (const auto& each : cases) {
        MacroRecord record{.TargetDialog = "BEFORE"};
        const Failure failure = MacroLine::Read(each.Line, false, record);
        EXPECT_EQ(failure, std::isnan(each.Want) ? Failure::ValueUnknown : Failure::None) << each.Line;
        EXPECT_TRUE(std::isnan(each.Want) || record.NumberValue == each.Want) << each.Line;
        EXPECT_EQ(record.Second, each.Second) << each.Line;
        EXPECT_EQ(record.TargetDialog, failure == Failure::None ? "DESK" : "BEFORE");
    }
}

TEST(MacroLine, TextsStandInQuotesOrAlone) {
    const MacroDesk desk;
    const struct {
        std::string Value;
        const char* Want; // none: not understood
    } cases[] = {
        {"  plain ; no comment ", "plain ; no comment"},
        {"\"quoted \" ; comment", "quoted "},
        {"'says \"no\"' ; so", "says \"no\""},
        {"\"it's\"", "it's"},
        {"\"\"", ""},
        {"\"open", "\"open"},
        {"\"a\" b", "\"a\" b"},
        {"keyboard", "keyboard"},
        {"", nullptr},
        {std::string(1024, 'x'), nullptr},
    };
    for (const auto& each : cases) {
        MacroRecord record;
        const bool read = MacroLine::Read("Desk Name " + each.Value, false, record) == Failure::None;
        EXPECT_EQ(read, each.Want != nullptr) << each.Value;
        EXPECT_EQ(record.TextValue, each.Want == nullptr ? "" : each.Want) << each.Value;
    }
}

TEST(MacroLine, KeyLinesAreNoValues) {
    MacroDesk desk;
    desk.Item(Mode).Key2.FrontOnly = false;
    const struct {
        const char* Line;
        bool Read, Second, FrontOnly;
    } cases[] = {
        {"Desk Name KEY F3 shift", true, false, true},
        {"Desk Mode key2 CursorUp", true, true, false}, // as the item has it: no word tells
        {"Desk Mode Key CursorUp back", true, true, false},
        {"@ Edit Undo Key Char \"Z\"", true, false, true},
        {"Desk Name KEY nothing", false, false, false},
        {"Desk Name KEY", false, false, false},
        {"@ Edit 1 KEY", false, false, false},
    };
    for (const auto& each : cases) {
        MacroRecord record;
        EXPECT_EQ(MacroLine::Read(each.Line, false, record), each.Read ? Failure::None : Failure::KeyUnknown);
        EXPECT_EQ(record.IsKeyLine, each.Read) << each.Line;
        EXPECT_EQ(record.IsKey2, each.Second) << each.Line;
        EXPECT_TRUE(!each.Read || record.Key.FrontOnly == each.FrontOnly) << each.Line;
    }
}

TEST(MacroLine, LinesHaveTheirColumns) {
    MacroDesk desk;
    Now.Tau = 5e-3;
    Now.On = true;
    Now.Mode = 3;
    Now.Pair = 2;
    Now.PairSecond = -4;
    Now.Name = "it's";
    Now.Remarks = "one\n\"two\"";
    Now.Bits = 33;
    Now.Mask = -2;
    desk.Item(Mode).Key2 = {.Class = Events::KeyClass::Special, .Char = 4, .FrontOnly = true};
    const std::pair<int, const char*> cases[] = {
        {Go, "Go"},
        {Tau, "Tau                       5.0000000ms"},
        {Amplitude, "Amplitude                      20.00 mV"},
        {On, "On                         TRUE"},
        {Ticked, "\"Check Box\"                FALSE"},
        {Count, "Count                              5"},
        {Mask, "Mask                            FFFE"},
        {Bits, "Bits                     05"},
        {Mode, "Mode                               3  ; Off; for good"},
        {Pair, "Pair                               2(-4)  ; Off"},
        {Name, "Name                     \"it's\""},
        {Remarks, "Remarks                  'one \"two\"'"},
        {Digits, "\"300\""},
        {Behind, "25"}, // no quotes hold its name
    };
    for (const auto& [number, want] : cases)
        EXPECT_EQ(MacroLine::ValueLine(desk.Dialog, number), std::string("  Desk             ") + want);
    EXPECT_EQ(MacroLine::KeyLine(desk.Dialog, Mode, true),
              "  Desk             Mode                     Key2 CursorUp back");
    EXPECT_EQ(MacroLine::MenuLine(2, 3), "  @  Edit          'Find \"it\"'");
    EXPECT_EQ(MacroLine::MenuKeyLine(3, 1),
              "  @  \"File Format\" \"CR\"                     Key Char  \"1\"");
}

TEST(MacroLine, WholeNumbersBeyondTheirWidthStayAtItsEnd) {
    MacroDesk desk;
    desk.Item(Count).TextLength = 30;
    for (const double beyond : {1e300, 0x1p63})
        EXPECT_EQ(Dialogs::NumberAsText(desk.Item(Count), beyond), "9223372036854775807");
    EXPECT_EQ(Dialogs::Kept(Dialogs::ValueKind::Int32, 2147483647.6), 2147483647);
}

// What is written is read as the same stored value, whatever the format shows of it.
TEST(MacroLine, NumbersReadBackToTheLastBit) {
    MacroDesk desk;
    std::mt19937_64 random(7);
    const auto real = [&] {
        const double mantissa = static_cast<double>(random() >> 11) * 0x1p-53 - 0.5;
        return std::ldexp(mantissa, static_cast<int>(random() % 80) - 40);
    };
    const auto check = [&](int number, double stored) {
        MacroRecord record;
        const std::string line = MacroLine::ValueLine(desk.Dialog, number);
        ASSERT_EQ(MacroLine::Read(line, false, record), Failure::None) << line;
        EXPECT_EQ(Dialogs::Kept(desk.Item(number).ValueKind, record.NumberValue), stored) << line;
    };
    const char* const units[] = {"", "s", " mV", "m", "E3", "A"};
    for (int i = 0; i < 4000; ++i) {
        Dialogs::DialogItem& tau = desk.Item(Tau);
        tau.NumberFormat = static_cast<NumberText::Format>(i % 5);
        tau.UnitText = units[i % 6];
        tau.ValueScale = i % 3 == 0 ? 1.0 : i % 3 == 1 ? 1e-3 : 1e-12;
        Now.Tau = i % 7 == 0 ? std::round(real()) : real();
        check(Tau, Now.Tau);
        Now.Gain = static_cast<float>(real());
        check(Gain, static_cast<double>(Now.Gain));
        Now.Mask = static_cast<std::int16_t>(random());
        check(Mask, Now.Mask);
        Now.Count = static_cast<std::int32_t>(random());
        check(Count, Now.Count);
        Now.Bits = static_cast<std::uint16_t>(random());
        check(Bits, Now.Bits);
    }
}

}
