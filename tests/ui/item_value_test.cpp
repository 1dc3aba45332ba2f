#include "ui/desk.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace {

using Dialogs::CheckNumberEntry;
using Dialogs::DialogItem;
using NumberText::Format;
using Support::Desk;
using enum Dialogs::ItemKind;

class ItemValueTest : public Desk {};

TEST_F(ItemValueTest, NumbersAreTypedByTheirFormat) {
    constexpr double none = 4711; // refused: what stands there stays
    const struct {
        const char* Typed;
        NumberText::Format Form;
        double Scale, Stored;
    } rows[] = {{" -7 ", Format::Integer, 1, -7},
                {"12.5", Format::Integer, 1, none},
                {"", Format::Integer, 1, none},
                {"ff", Format::Hexadecimal, 1, 255},
                {"FFFFFFFFFFFFFFFFF", Format::Hexadecimal, 1, none},
                {"1,5 m", Format::Fixed, 1, 1.5e-3},
                {"- 4e-3", Format::Scientific, 1, -4e-3},
                {"2k", Format::Engineering, 1, 2000},
                {"5 mm", Format::Engineering, 1, none},
                {"20", Format::Fixed, 0.01, 0.2},
                {"NAN", Format::Engineering, 1, none},
                {"-1e999", Format::Fixed, 1, none},
                {"1e308", Format::Fixed, 1e10, none},
                {"\xff\xfe", Format::Fixed, 1, none}};
    for (const auto& row : rows) {
        double stored = none;
        EXPECT_EQ(CheckNumberEntry(row.Typed, -1e300, 1e300, row.Scale, row.Form, false, stored),
                  row.Stored != none)
            << row.Typed;
        EXPECT_DOUBLE_EQ(stored, row.Stored) << row.Typed;
    }
    EXPECT_EQ(Said.Alerts, "") << "a text that is no number is refused without a word";
}

TEST_F(ItemValueTest, ANumberBeyondItsBoundsIsClampedOrRefused) {
    const struct {
        const char* Typed;
        NumberText::Format Form;
        double Low, High, Scale, Clamped;
        const char* Bounds; // as the user sees them, and always as numbers; none: within
    } rows[] = {{"10", Format::Integer, 0, 10, 1, 10, nullptr},
                {"0", Format::Fixed, 0, 10, 1, 0, nullptr},
                {"-1", Format::Integer, 0, 10, 1, 0, ">= 0 and <= 10"},
                {"100", Format::Hexadecimal, 0, 255, 1, 255, ">= 0 and <= 255"},
                {"101", Format::Fixed, -1, 1, 0.01, 1, ">= -100.00 and <= 100.00"},
                {"1", Format::Engineering, 1e-9, 1e-3, 1, 1e-3, ">= 1.000n and <= 1.000m"},
                {"1", Format::Integer, -1e300, 0, 1, 0, ">= -9223372036854775808 and <= 0"},
                {"1", Format::Fixed, 2, 1e300, 1, 2, ">= 2.00 and <= 1.00000E+300"}};
    for (const auto& row : rows) {
        double stored = 4711;
        EXPECT_TRUE(CheckNumberEntry(row.Typed, row.Low, row.High, row.Scale, row.Form, false, stored));
        EXPECT_EQ(stored, row.Clamped) << row.Typed;
        EXPECT_EQ(Said.Alerts, "");
        const bool within = row.Bounds == nullptr;
        stored = 4711;
        EXPECT_EQ(CheckNumberEntry(row.Typed, row.Low, row.High, row.Scale, row.Form, true, stored), within);
        EXPECT_EQ(stored, within ? row.Clamped : 4711);
        EXPECT_EQ(Said.Alerts, within ? "" : "Number must be " + std::string(row.Bounds) + "!\n");
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
    } rows[] = {{Format::Integer, 6, 0, 1, 41.6, "42", "V"},
                {Format::Hexadecimal, 6, 0, 1, 255, "FF", "V"},
                {Format::Fixed, 8, 1, 1e-3, 0.0125, "12.5", "V"},
                {Format::Fixed, 7, 2, 1, 123456.78, "1.2E+05", "V"},
                {Format::Scientific, 9, 2, 1, -0.0025, "-2.500E-03", "V"},
                {Format::Engineering, 8, 2, 1, 0.012346, "12.3460m", "mV"},
                {Format::Engineering, 8, 2, 1, 0.012346, "12.3460m", "mm"}, // a unit that could be a prefix
                {Format::Fixed, 8, 1, 1, std::nan(""), "NAN", "V"}};
    for (const auto& row : rows) {
        double value = row.Stored;
        const std::string unit(1, row.Unit[std::strlen(row.Unit) - 1]);
        Dialogs::DialogRecord& dialog = Open({{.Kind = FramedNumber,
                                               .Name = "N",
                                               .Value = &value,
                                               .Form = {.Unit = unit,
                                                        .Format = row.Form,
                                                        .Columns = row.Columns,
                                                        .Digits = row.Digits,
                                                        .Scale = row.Scale}}});
        DialogItem& item = Dialogs::Item(dialog, 1);
        EXPECT_EQ(Dialogs::NumberAsText(item, value), row.Text);
        EXPECT_EQ(Dialogs::ShownNumber(item).Unit, row.Unit) << row.Text;
        // Entered as it stands, with or without the unit, it keeps the digits that are not shown.
        EXPECT_TRUE(Dialogs::EnterText(item, row.Text));
        EXPECT_TRUE(Dialogs::EnterText(item, row.Text + (" " + unit)));
        EXPECT_EQ(std::memcmp(&value, &row.Stored, sizeof value), 0) << row.Text;
        Clear();
    }
}

TEST_F(ItemValueTest, AUnitMayStandBehindANumber) {
    double value = 0;
    Dialogs::DialogRecord& dialog = Open({{.Kind = FramedNumber,
                                           .Name = "N",
                                           .Value = &value,
                                           .Form = {.Unit = "A", .Format = Format::Engineering}}});
    const std::pair<const char*, double> rows[] = {{"5pA", 5e-12},        {"6 A", 6},   {"7 n", 7e-9},
                                                   {" 8 \u00b5A ", 8e-6}, {"5 V", NAN}, {"A", NAN},
                                                   {"5 AA", NAN},         {"pA", NAN}};
    for (const auto& [typed, taken] : rows) {
        EXPECT_EQ(Dialogs::EnterText(Dialogs::Item(dialog, 1), typed), !std::isnan(taken)) << typed;
        EXPECT_DOUBLE_EQ(value, std::isnan(taken) ? 8e-6 : taken) << typed;
    }
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
    } rows[] = {{-2.5, {-2.5, -2.5, -3, -3, 0, 1, 0}},
                {1e20, {1e20, 1e20f, 2147483647, 32767, 65535, 1, 255}},
                {-1e20, {-1e20, -1e20f, -2147483648.0, -32768, 0, 1, 0}},
                {0, {0, 0, 0, 0, 0, 0, 0}}};
    DialogItem item;
    for (const auto& row : rows)
        for (std::size_t i = 0; i < std::size(places); ++i)
            for (const bool own : {false, true}) {
                item.ValueKind = places[i].Kind;
                item.ValuePointer = own ? nullptr : places[i].Place;
                Dialogs::SetNumber(item, row.Value);
                EXPECT_EQ(Dialogs::NumberOf(item), row.Stored[i]) << row.Value << " in " << i;
            }
    item.ValueKind = Dialogs::ValueKind::Int16;
    Dialogs::SetNumber(item, std::nan(""));
    EXPECT_EQ(Dialogs::NumberOf(item), 0);
}

TEST_F(ItemValueTest, TextsAreCutToTheirLengthBetweenCharacters) {
    std::string text;
    const Dialogs::ValueRef number(Dialogs::ValueKind::Real64);
    Dialogs::DialogRecord& dialog =
        Open({{.Kind = FramedText, .Name = "Cut", .Value = &text, .TextLength = 4},
              {.Kind = FramedText, .Name = "Long", .Value = &text},
              {.Kind = FramedNumber, .Name = "N78", .Value = number, .Form = {.Columns = 78}},
              {.Kind = FramedNumber, .Name = "N79", .Value = number, .Form = {.Columns = 79}}});
    EXPECT_TRUE(Dialogs::EnterText(Dialogs::Item(dialog, 1), "abc\u00b5"));
    EXPECT_EQ(text, "abc");
    EXPECT_TRUE(Dialogs::EnterText(Dialogs::Item(dialog, 2), std::string(200, 'x')));
    EXPECT_EQ(text.size(), 79u);
    EXPECT_EQ(Dialogs::Item(dialog, 3).TextLength, 79);
    EXPECT_EQ(Dialogs::Item(dialog, 4).TextLength, 79) << "79 stays 79";
}

TEST_F(ItemValueTest, ListsStepOverDisabledEntriesAndStopAtTheEnds) {
    static constexpr const char* Entries[] = {"(none", "one", "(two", "three", "(four"};
    std::uint8_t index = 1;
    Dialogs::DialogRecord& dialog = Open({{.Kind = List, .Name = "L", .Value = &index, .Entries = Entries}});
    DialogItem& item = Dialogs::Item(dialog, 1);
    const struct {
        std::uint8_t From;
        int Steps;
        std::uint8_t To;
    } rows[] = {{1, 1, 3}, {3, 1, 3}, {3, -5, 1}, {1, -1, 1}, {200, 1, 1}};
    for (const auto& row : rows) {
        index = row.From;
        EXPECT_EQ(Dialogs::StepList(item, row.Steps), row.To != row.From);
        EXPECT_EQ(index, row.To);
    }
    EXPECT_EQ(Dialogs::ListText(item, 2), "two");
    item.ListEntries.clear();
    EXPECT_FALSE(Dialogs::StepList(item, 1));
}

}
