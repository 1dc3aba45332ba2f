#include "ui/desk.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace {

using Dialogs::CheckNumberEntry;
using Dialogs::ItemKind;
using NumberText::Format;
using Support::Desk;

class ItemValueTest : public Desk {};

TEST_F(ItemValueTest, NumbersAreTypedByTheirFormat) {
    const struct {
        const char* Typed;
        NumberText::Format Form;
        double Scale;
        bool Taken;
        double Stored;
    } rows[] = {
        {"12", Format::Integer, 1, true, 12},
        {" -7 ", Format::Integer, 1, true, -7},
        {"12.5", Format::Integer, 1, false, 0},
        {"1k", Format::Integer, 1, false, 0},
        {"", Format::Integer, 1, false, 0},
        {"ff", Format::Hexadecimal, 1, true, 255},
        {"1G", Format::Hexadecimal, 1, false, 0},
        {"FFFFFFFFFFFFFFFFF", Format::Hexadecimal, 1, false, 0},
        {"1.5", Format::Fixed, 1, true, 1.5},
        {"1,5", Format::Fixed, 1, true, 1.5},
        {"1.5 m", Format::Fixed, 1, true, 1.5e-3},
        {"2k", Format::Engineering, 1, true, 2000},
        {"3u", Format::Engineering, 1, true, 3e-6},
        {"3 \u00b5", Format::Engineering, 1, true, 3e-6},
        {"- 4e-3", Format::Scientific, 1, true, -4e-3},
        {"5  m", Format::Engineering, 1, false, 0},
        {"5 mm", Format::Engineering, 1, false, 0},
        {"20", Format::Fixed, 1e-3, true, 0.02},
        {"20", Format::Fixed, 0.01, true, 0.2},
        {"INF", Format::Fixed, 1, false, 0},
        {"NAN", Format::Engineering, 1, false, 0},
        {"1e999", Format::Fixed, 1, false, 0},
        {"-1e999", Format::Fixed, 1, false, 0},
        {"1e308", Format::Fixed, 1e10, false, 0},
        {"1e-999", Format::Fixed, 1, true, 0},
        {"..", Format::Fixed, 1, false, 0},
        {"\xff\xfe", Format::Fixed, 1, false, 0},
    };
    for (const auto& row : rows) {
        double stored = 4711;
        EXPECT_EQ(CheckNumberEntry(row.Typed, -1e300, 1e300, row.Scale, row.Form, false, stored), row.Taken)
            << row.Typed;
        EXPECT_DOUBLE_EQ(stored, row.Taken ? row.Stored : 4711) << row.Typed;
    }
    double stored = 4711;
    EXPECT_FALSE(CheckNumberEntry(std::string(100'000, '9') + "q", 0, 1, 1, Format::Fixed, false, stored));
    EXPECT_EQ(stored, 4711);
    EXPECT_EQ(Said.Alerts, "") << "a text that is no number is refused without a word";
}

TEST_F(ItemValueTest, ANumberBeyondItsBoundsIsClampedOrRefused) {
    const struct {
        const char* Typed;
        NumberText::Format Form;
        double Low, High, Scale, Clamped;
        const char* Alert;
    } rows[] = {
        {"11", Format::Integer, 0, 10, 1, 10, "Number must be >= 0 and <= 10!\n"},
        {"-1", Format::Integer, 0, 10, 1, 0, "Number must be >= 0 and <= 10!\n"},
        {"100", Format::Hexadecimal, 0, 255, 1, 255, "Number must be >= 0 and <= 255!\n"},
        {"1.1", Format::Fixed, -1, 1, 1, 1, "Number must be >= -1.00 and <= 1.00!\n"},
        // Bounds as the user sees them, and always as numbers.
        {"101", Format::Fixed, 0, 1, 0.01, 1, "Number must be >= 0.00 and <= 100.00!\n"},
        {"5k", Format::Engineering, -1000, 1000, 1, 1000, "Number must be >= -1000.00 and <= 1000.00!\n"},
        {"1", Format::Engineering, 1e-9, 1e-3, 1, 1e-3, "Number must be >= 1.000n and <= 1.000m!\n"},
        {"1", Format::Integer, -1e300, 0, 1, 0, "Number must be >= -9223372036854775808 and <= 0!\n"},
        {"1", Format::Fixed, 2, 1e300, 1, 2, "Number must be >= 2.00 and <= 1.00000E+300!\n"},
    };
    for (const auto& row : rows) {
        double stored = 4711;
        EXPECT_TRUE(CheckNumberEntry(row.Typed, row.Low, row.High, row.Scale, row.Form, false, stored));
        EXPECT_EQ(stored, row.Clamped) << row.Typed;
        EXPECT_EQ(Said.Alerts, "");
        stored = 4711;
        EXPECT_FALSE(CheckNumberEntry(row.Typed, row.Low, row.High, row.Scale, row.Form, true, stored));
        EXPECT_EQ(stored, 4711);
        EXPECT_EQ(Said.Alerts, row.Alert);
        Said.Alerts.clear();
    }
}

TEST_F(ItemValueTest, WhatIsShownIsWhatWasTyped) {
    const struct {
        NumberText::Format Form;
        std::int16_t Columns, Digits;
        double Scale, Stored;
        const char* Text;
        const char* Unit;
    } rows[] = {
        {Format::Integer, 6, 0, 1, 41.6, "42", "V"},
        {Format::Hexadecimal, 6, 0, 1, 255, "FF", "V"},
        {Format::Fixed, 8, 2, 1, 12.345, "12.35", "V"},
        {Format::Fixed, 8, 1, 1e-3, 0.0125, "12.5", "V"},
        {Format::Fixed, 7, 2, 1, 123456.78, "1.2E+05", "V"},
        {Format::Scientific, 9, 2, 1, -0.0025, "-2.500E-03", "V"},
        {Format::Engineering, 8, 2, 1, 0.012346, "12.3460m", "mV"},
        {Format::Fixed, 8, 1, 1, std::numeric_limits<double>::infinity(), "INF", "V"},
        {Format::Fixed, 8, 1, 1, std::nan(""), "NAN", "V"},
    };
    for (const auto& row : rows) {
        double value = row.Stored;
        Dialogs::DialogRecord& dialog = Open({{.Number = 1,
                                               .Kind = ItemKind::FramedNumber,
                                               .Name = "N",
                                               .At = {10, 10, 100, 24},
                                               .Value = &value,
                                               .Form = {.Unit = "V",
                                                        .Format = row.Form,
                                                        .Columns = row.Columns,
                                                        .Digits = row.Digits,
                                                        .Scale = row.Scale}}});
        Dialogs::DialogItem& item = Dialogs::Item(dialog, 1);
        EXPECT_EQ(Dialogs::NumberAsText(item, value), row.Text);
        EXPECT_EQ(Dialogs::ShownNumber(item).Unit, row.Unit) << row.Text;
        // Entered as it stands, with or without the unit, it keeps the digits that are not shown.
        EXPECT_TRUE(Dialogs::EnterText(item, row.Text));
        EXPECT_TRUE(Dialogs::EnterText(item, std::string(row.Text) + " V"));
        EXPECT_EQ(std::memcmp(&value, &row.Stored, sizeof value), 0) << row.Text;
        Dialogs::DisposeDialog(dialog);
        Made = 0;
    }
}

TEST_F(ItemValueTest, AUnitMayStandBehindANumber) {
    double value = 0;
    Dialogs::DialogRecord& dialog = Open({{.Number = 1,
                                           .Kind = ItemKind::FramedNumber,
                                           .Name = "N",
                                           .Value = &value,
                                           .Form = {.Unit = "A", .Format = Format::Engineering}}});
    Dialogs::DialogItem& item = Dialogs::Item(dialog, 1);
    const struct {
        const char* Typed;
        double Value;
    } rows[] = {{"5 pA", 5e-12}, {"5pA", 5e-12}, {"6 A", 6}, {"7 n", 7e-9}, {" 8 \u00b5A ", 8e-6}};
    for (const auto& row : rows) {
        EXPECT_TRUE(Dialogs::EnterText(item, row.Typed)) << row.Typed;
        EXPECT_DOUBLE_EQ(value, row.Value) << row.Typed;
    }
    for (const char* const wrong : {"5 V", "A", "5 AA", "pA"})
        EXPECT_FALSE(Dialogs::EnterText(item, wrong)) << wrong;
    EXPECT_DOUBLE_EQ(value, 8e-6);
}

TEST_F(ItemValueTest, EveryKindOfVariableTakesWhatItCanHold) {
    double real64 = 0;
    float real32 = 0;
    std::int32_t int32 = 0;
    std::int16_t int16 = 0;
    std::uint16_t set16 = 0;
    bool boolean = false;
    std::uint8_t byte = 0;
    const Dialogs::ValueRef places[] = {&real64, &real32, &int32, &int16, &set16, &boolean, &byte};
    const struct {
        double Value, Stored[7];
    } rows[] = {
        {2.5, {2.5, 2.5, 3, 3, 3, 1, 3}},
        {-2.5, {-2.5, -2.5, -3, -3, 0, 1, 0}},
        {1e20, {1e20, 1e20f, 2147483647, 32767, 65535, 1, 255}},
        {-1e20, {-1e20, -1e20f, -2147483648.0, -32768, 0, 1, 0}},
        {0, {0, 0, 0, 0, 0, 0, 0}},
    };
    for (const auto& row : rows)
        for (std::size_t i = 0; i < std::size(places); ++i)
            for (const bool own : {false, true}) {
                Dialogs::DialogItem item;
                item.ValueKind = places[i].Kind;
                item.ValuePointer = own ? nullptr : places[i].Place;
                Dialogs::SetNumber(item, row.Value);

                EXPECT_EQ(Dialogs::NumberOf(item), row.Stored[i]) << row.Value << " in " << i;
            }
    Dialogs::DialogItem item;
    item.ValueKind = Dialogs::ValueKind::Int16;
    Dialogs::SetNumber(item, std::nan(""));
    EXPECT_EQ(Dialogs::NumberOf(item), 0);
}

TEST_F(ItemValueTest, TextsAreCutToTheirLengthBetweenCharacters) {
    std::string text;
    Dialogs::DialogRecord& dialog =
        Open({{.Number = 1, .Kind = ItemKind::FramedText, .Name = "Cut", .Value = &text, .TextLength = 4},
              {.Number = 2, .Kind = ItemKind::FramedText, .Name = "Long", .Value = &text},
              {.Number = 3,
               .Kind = ItemKind::FramedNumber,
               .Name = "N78",
               .Value = Dialogs::ValueRef(Dialogs::ValueKind::Real64),
               .Form = {.Columns = 78}},
              {.Number = 4,
               .Kind = ItemKind::FramedNumber,
               .Name = "N79",
               .Value = Dialogs::ValueRef(Dialogs::ValueKind::Real64),
               .Form = {.Columns = 79}}});
    EXPECT_TRUE(Dialogs::EnterText(Dialogs::Item(dialog, 1), "abc\u00b5"));
    EXPECT_EQ(text, "abc");
    EXPECT_TRUE(Dialogs::EnterText(Dialogs::Item(dialog, 2), std::string(200, 'x')));
    EXPECT_EQ(text.size(), 79u);
    EXPECT_EQ(Dialogs::Item(dialog, 3).TextLength, 79);
    EXPECT_EQ(Dialogs::Item(dialog, 4).TextLength, 79) << "79 stays 79";
}

TEST_F(ItemValueTest, SetsAreDigitsOfTheirBits) {
    EXPECT_EQ(Dialogs::SetDigits(0x8421), "05AF");
    std::uint16_t set = 7;
    EXPECT_TRUE(Dialogs::ReadSetDigits(" 05aF ", set));
    EXPECT_EQ(set, 0x8421);
    EXPECT_FALSE(Dialogs::ReadSetDigits("0G", set));
    EXPECT_EQ(set, 0x8421);
    EXPECT_TRUE(Dialogs::ReadSetDigits("", set));
    EXPECT_EQ(set, 0);
}

TEST_F(ItemValueTest, ListsStepOverDisabledEntriesAndStopAtTheEnds) {
    static constexpr const char* Entries[] = {"(none", "one", "(two", "three", "(four"};
    std::uint8_t index = 1;
    Dialogs::DialogRecord& dialog =
        Open({{.Number = 1, .Kind = ItemKind::List, .Name = "L", .Value = &index, .Entries = Entries}});
    Dialogs::DialogItem& item = Dialogs::Item(dialog, 1);
    EXPECT_TRUE(Dialogs::StepList(item, 1));
    EXPECT_EQ(index, 3);
    EXPECT_FALSE(Dialogs::StepList(item, 1));
    EXPECT_EQ(index, 3);
    EXPECT_TRUE(Dialogs::StepList(item, -5));
    EXPECT_EQ(index, 1);
    EXPECT_FALSE(Dialogs::StepList(item, -1));
    EXPECT_EQ(Dialogs::ListText(item, 2), "two");
    index = 200;
    EXPECT_EQ(Dialogs::ListIndex(item), -1);
    EXPECT_TRUE(Dialogs::StepList(item, 1));
    EXPECT_EQ(index, 1);
    item.ListEntries.clear();
    EXPECT_FALSE(Dialogs::StepList(item, 1));
}

TEST_F(ItemValueTest, MacrosSeeValuesAsTexts) {
    double number = 0.25;
    bool on = true;
    std::uint16_t set = 0x22;
    std::uint8_t index = 1;
    std::string text = "hello";
    static constexpr const char* Entries[] = {"a", "b"};
    Dialogs::DialogRecord& dialog =
        Open({{.Number = 1,
               .Kind = ItemKind::FramedNumber,
               .Name = "1",
               .Value = &number,
               .Form = {.Unit = "s", .Digits = 2}},
              {.Number = 2, .Kind = ItemKind::Switch, .Name = "2", .Value = &on},
              {.Number = 3, .Kind = ItemKind::MultiCheck, .Name = "3", .Value = &set},
              {.Number = 4, .Kind = ItemKind::List, .Name = "4", .Value = &index, .Entries = Entries},
              {.Number = 5, .Kind = ItemKind::FramedText, .Name = "5", .Value = &text},
              {.Number = 6,
               .Kind = ItemKind::Text,
               .Name = "6",
               .Text = "label",
               .Value = Dialogs::ValueRef(Dialogs::ValueKind::String)}});
    const char* const texts[] = {"0.25", "TRUE", "15", "1", "hello", "label"};
    for (int i = 0; i < 6; ++i) EXPECT_EQ(Dialogs::ValueText(Dialogs::Item(dialog, i + 1)), texts[i]);
}

}
