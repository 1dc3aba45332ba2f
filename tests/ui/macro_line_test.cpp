#include "ui/macro_line.h"

#include "base/messages.h"
#include "support/macro_desk.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {

using MacroLine::Failure;
using MacroLine::MacroRecord;
using Support::MacroDesk;
using Support::Now;
using namespace Support; // the items' numbers

TEST(MacroLine, AddressesAreParsed) {
    MacroDesk desk;
    ASSERT_TRUE(desk.Ready);
    const struct {
        const char* Line;
        Failure Want;
        int Item;
    } cases[] = {
        {"Desk Tau 1", Failure::None, Tau},
        {"  DESK   tau", Failure::None, Tau},
        {"desk 10 1", Failure::None, Tau},
        {"Desk \"Check Box\" T", Failure::None, Ticked},
        {"Desk 'check box' T", Failure::None, Ticked},
        {"\"Desk\" Tau;1", Failure::None, Tau},
        {"Desk 300", Failure::None, Digits}, // out of range: a name
        {"Desk \"300\"", Failure::None, Digits},
        {"Desk \"10\"", Failure::ItemUnknown, 0}, // in quotes: never a number
        {"Desk 0", Failure::ItemUnknown, 0},
        {"Desk 28", Failure::ItemUnknown, 0},
        {"Desk 99999999999999999999", Failure::ItemUnknown, 0},
        {"Desk", Failure::ItemUnknown, 0},
        {"Desk ; Tau", Failure::ItemUnknown, 0},
        {"Desk Ta", Failure::ItemUnknown, 0},
        {"Desk \"Tau", Failure::ItemUnknown, 0},
        {"Des Tau", Failure::DialogUnknown, 0},
        {"", Failure::DialogUnknown, 0},
        {"Desk KEY CursorLeft", Failure::None, MacroLine::WholeDialog},
        {"@ Edit Undo", Failure::None, MacroLine::MenuTarget},
        {"@ \"file format\" 1", Failure::None, MacroLine::MenuTarget},
        {"@ Program Quit", Failure::MenuUnknown, 0}, // the program's own menu
        {"@ Edit Redo", Failure::EntryUnknown, 0},
        {"@ Edit", Failure::EntryUnknown, 0},
        {"@", Failure::MenuUnknown, 0},
    };
    for (const auto& each : cases) {
        std::string_view line = each.Line;
        MacroLine::Address address;
        EXPECT_EQ(MacroLine::ReadAddress(line, address), each.Want) << each.Line;
        if (each.Want != Failure::None) continue;
        EXPECT_EQ(address.TargetItem, each.Item) << each.Line;
    }
}

TEST(MacroLine, ValuesAreReadByKind) {
    const MacroDesk desk;
    const struct {
        const char* Line;
        double Want; // NAN: not understood
    } cases[] = {
        {"Desk Tau 5m", 5.0 * 0.001},
        {"Desk Tau 5 m", 5.0 * 0.001},
        {"Desk Tau 5ms ; five", 5.0 * 0.001},
        {"Desk Tau 5 s", 5},
        {"Desk Tau -1.5E-3", -1.5E-3},
        {"Desk Tau 5V", NAN},
        {"Desk Tau", NAN},
        {"Desk Tau five", NAN},
        {"Desk Amplitude 12.5 mV", 12.5 * 1e-3},
        {"Desk Amplitude -7", -7 * 1e-3},
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
        {"Desk On TRUE", 1},
        {"Desk On   t", 1},
        {"Desk On 1", 1},
        {"Desk On 0", 0},
        {"Desk On FALSE", 0},
        {"Desk On yes", 0},
        {"Desk Go", 0},
        {"Desk Mode 2 ; Off", 2},
        {"Desk Mode two", NAN},
        {"Desk Mode 2 (7)", 2},
        {"Desk Pair 1(-12)  ; x", 1},
        {"Desk Pair 1(12", NAN},
        {"Desk Pair 1(9999999999)", NAN},
        {"Desk Pair )1(", NAN},
        {"Desk Code 173", 173},
    };
    for (const auto& each : cases) {
        MacroRecord record;
        const Failure failure = MacroLine::Read(each.Line, false, record);
        if (std::isnan(each.Want)) {
            EXPECT_EQ(failure, Failure::ValueUnknown) << each.Line;
        } else {
            EXPECT_EQ(failure, Failure::None) << each.Line;
            EXPECT_EQ(record.NumberValue, each.Want) << each.Line;
        }
    }
    MacroRecord record;
    ASSERT_EQ(MacroLine::Read("Desk Pair 3(-12)", false, record), Failure::None);
    EXPECT_TRUE(record.HasSecond);
    EXPECT_EQ(record.Second, -12);
}

TEST(MacroLine, TextsStandInQuotesOrAlone) {
    const MacroDesk desk;
    const struct {
        const char* Value;
        const char* Want; // none: not understood
    } cases[] = {
        {"plain text", "plain text"},
        {"  plain ; no comment ", "plain ; no comment"},
        {"\"quoted \" ; comment", "quoted "},
        {"'single'", "single"},
        {"'says \"no\"' ; so", "says \"no\""},
        {"\"it's\"", "it's"},
        {"\"\"", ""},
        {"\"open", "\"open"},
        {"\"a\" b", "\"a\" b"},
        {"", nullptr},
        {"keyboard", "keyboard"},
    };
    for (const auto& each : cases) {
        MacroRecord record;
        const Failure failure = MacroLine::Read(std::string("Desk Name ") + each.Value, false, record);
        EXPECT_EQ(failure, each.Want != nullptr ? Failure::None : Failure::ValueUnknown) << each.Value;
        if (each.Want == nullptr) continue;
        EXPECT_EQ(record.TextValue, each.Want) << each.Value;
    }
}

TEST(MacroLine, KeyLinesAreNoValues) {
    MacroDesk desk;
    MacroRecord record;
    ASSERT_EQ(MacroLine::Read("Desk Name KEY F3 shift", false, record), Failure::None);
    EXPECT_TRUE(record.IsKeyLine);
    EXPECT_FALSE(record.IsKey2);
    EXPECT_TRUE(record.Key.FrontOnly);
    desk.Item(Mode).Key2.FrontOnly = false;
    ASSERT_EQ(MacroLine::Read("Desk Mode key2 CursorUp", false, record), Failure::None);
    EXPECT_TRUE(record.IsKey2);
    EXPECT_FALSE(record.Key.FrontOnly); // as the item has it: no word tells
    ASSERT_EQ(MacroLine::Read("Desk Mode Key CursorUp back", false, record), Failure::None);
    EXPECT_TRUE(record.IsKey2);
    EXPECT_EQ(MacroLine::Read("Desk Name KEY nothing", false, record), Failure::KeyUnknown);
    EXPECT_EQ(MacroLine::Read("@ Edit 1 KEY", false, record), Failure::KeyUnknown);
    ASSERT_EQ(MacroLine::Read("@ Edit Undo Key Char \"Z\"", false, record), Failure::None);
    EXPECT_EQ(record.TextValue, "Edit");
    EXPECT_EQ(record.MenuEntry, 1);
    EXPECT_TRUE(record.IsKeyLine);
}

TEST(MacroLine, AFailureLeavesTheRecord) {
    const MacroDesk desk;
    MacroRecord record;
    record.TargetDialog = "BEFORE";
    for (const std::string& line : {std::string("Desk Tau x"), std::string("No Tau 1"),
                                    "Desk Name " + std::string(1024, 'x'), std::string("Desk Name KEY")}) {
        EXPECT_NE(MacroLine::Read(line, false, record), Failure::None);
        EXPECT_EQ(record.TargetDialog, "BEFORE");
    }
}

TEST(MacroLine, LinesHaveTheirColumns) {
    MacroDesk desk;
    Now.Tau = 5e-3;
    Now.On = true;
    Now.Mode = 3;
    Now.Pair = 2;
    Now.PairSecond = -4;
    Now.Name = "it's \"so\"";
    Now.Remarks = "one\ntwo";
    Now.Bits = 33;
    Now.Mask = -2;
    desk.Item(Mode).Key2 = {.Class = Events::KeyClass::Special, .Char = 4, .FrontOnly = true};
    const auto line = [&](int number) { return MacroLine::ValueLine(desk.Dialog, number); };
    EXPECT_EQ(line(Go), "  Desk             Go");
    EXPECT_EQ(line(Tau), "  Desk             Tau                       5.0000000ms");
    EXPECT_EQ(line(Amplitude), "  Desk             Amplitude                      20.00 mV");
    EXPECT_EQ(line(On), "  Desk             On                         TRUE");
    EXPECT_EQ(line(Ticked), "  Desk             \"Check Box\"                FALSE");
    EXPECT_EQ(line(Count), "  Desk             Count                              5");
    EXPECT_EQ(line(Mask), "  Desk             Mask                            FFFE");
    EXPECT_EQ(line(Bits), "  Desk             Bits                     05");
    EXPECT_EQ(line(Mode), "  Desk             Mode                               3  ; Off; for good");
    EXPECT_EQ(line(Pair), "  Desk             Pair                               2(-4)  ; Off");
    EXPECT_EQ(line(Name), "  Desk             Name                     'it's \"so\"'");
    EXPECT_EQ(line(Remarks), "  Desk             Remarks                  \"one two\"");
    EXPECT_EQ(line(Digits), "  Desk             \"300\"");
    EXPECT_EQ(line(Behind), "  Desk             25"); // no quotes hold its name
    EXPECT_EQ(MacroLine::KeyLine(desk.Dialog, Mode, true),
              "  Desk             Mode                     Key2 CursorUp back");
    EXPECT_EQ(MacroLine::MenuLine(2, 1), "  @  Edit          \"Undo\"");
    EXPECT_EQ(MacroLine::MenuLine(2, 3), "  @  Edit          'Find \"it\"'");
    EXPECT_EQ(MacroLine::MenuKeyLine(3, 1),
              "  @  \"File Format\" \"CR\"                     Key Char  \"1\"");
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
