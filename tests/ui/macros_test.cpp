#include "ui/macros.h"

#include "base/messages.h"
#include "support/macro_desk.h"
#include "support/temp_folder.h"
#include "ui/dialog_events.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>

namespace {

using MacroLine::Failure;
using Support::MacroDesk;
using Support::Now;
using namespace Support; // the items' numbers

bool Do(std::string_view line) {
    return Macros::ExecuteMacroLine(line);
}

void PlayAll() {
    for (int i = 0; i < 1000 && Macros::IsPlaying(); ++i) (void)Macros::PlayStep();
}

TEST(Macros, ALineDoesWhatAHandDoes) {
    MacroDesk desk;
    const Messages::Recorder said;
    ASSERT_TRUE(desk.Ready);
    EXPECT_TRUE(Do("Desk Tau 2ms"));
    EXPECT_EQ(Now.Tau, 2 * 0.001);
    EXPECT_EQ(Now.LastRun, Tau);
    EXPECT_EQ(Now.LastSource, Dialogs::Source::Macro);
    EXPECT_TRUE(Do("desk name 'a b' ; c"));
    EXPECT_EQ(Now.Name, "a b");
    EXPECT_TRUE(Do("Desk On TRUE"));
    EXPECT_TRUE(Now.On);
    EXPECT_TRUE(Do("Desk Mode 2"));
    EXPECT_EQ(Now.Mode, 2);
    EXPECT_TRUE(Do("Desk Pair 3(17)"));
    EXPECT_EQ(Now.Pair, 3);
    EXPECT_EQ(Now.PairSecond, 17);
    EXPECT_TRUE(Do("Desk Go"));
    EXPECT_EQ(Now.LastRun, Go);
    EXPECT_TRUE(Do("Desk Top 1"));
    EXPECT_TRUE(Now.Top);
    EXPECT_FALSE(Now.Low); // one of a group
    EXPECT_TRUE(Do("Desk \"Second Page\""));
    EXPECT_EQ(desk.Dialog.CurrentPage, 2);
    EXPECT_TRUE(Do("Desk \"First Page\" TRUE"));
    EXPECT_EQ(desk.Dialog.CurrentPage, 1);
    EXPECT_TRUE(Do("Desk Place 3.5")); // a value that lives in its item
    EXPECT_EQ(Dialogs::NumberOf(desk.Item(Place)), 3.5);
    EXPECT_TRUE(Do("@ Edit Undo"));
    EXPECT_EQ(Now.MenuRuns, 1);
    EXPECT_TRUE(Do("@ \"File Format\" 2"));
    EXPECT_EQ(Now.IndexRun, 7);
    EXPECT_TRUE(Do("; a comment"));
    EXPECT_TRUE(Do("   "));
    EXPECT_TRUE(Do("\t; behind a tab"));
    EXPECT_TRUE(Do("\tDesk\tCount\t6\t"));
    EXPECT_EQ(Now.Count, 6);
    EXPECT_EQ(said.Notes, "");
    EXPECT_EQ(said.Alerts, "");
    EXPECT_FALSE(Dialogs::Tracking);
}

TEST(Macros, NumbersStayWithinTheirBounds) {
    MacroDesk desk;
    const Messages::Recorder said;
    EXPECT_TRUE(Do("Desk Count 1000"));
    EXPECT_EQ(Now.Count, 100);
    EXPECT_TRUE(Do("Desk Count -99999999999"));
    EXPECT_EQ(Now.Count, 0);
    EXPECT_TRUE(Do("Desk Gain 11"));
    EXPECT_EQ(Now.Gain, 10.0F);
    EXPECT_TRUE(Do("Desk Level 7"));
    EXPECT_EQ(Now.Level, 1); // two states
    EXPECT_TRUE(Do("Desk Mask 7FFFFFFF"));
    EXPECT_EQ(Now.Mask, 32767);
    desk.Item(Gain).ValueHigh = 1E300;
    EXPECT_TRUE(Do("Desk Gain 1E200"));
    EXPECT_EQ(Now.Gain, std::numeric_limits<float>::max());
    EXPECT_FALSE(Do("Desk Tau 1E999"));
    EXPECT_EQ(Now.Tau, 1e-3);
    EXPECT_FALSE(Do("Desk Amplitude 101 mV")); // strict
    EXPECT_EQ(Now.Amplitude, 0.02);
    EXPECT_NE(said.Notes.find("Number must be >= "), std::string::npos);
    EXPECT_EQ(said.Alerts, ""); // an alert would hold up the macro
}

TEST(Macros, RelativeChangesTheNextValueOnly) {
    const MacroDesk desk;
    const struct {
        const char* Line;
        std::function<double()> Value;
        double Want;
    } cases[] = {
        {"Desk Count 3", [] { return Now.Count; }, 8},
        {"Desk Count 500", [] { return Now.Count; }, 100},
        {"Desk Amplitude -10 mV", [] { return Now.Amplitude; }, 0.02 + -10 * 1e-3},
        {"Desk Bits 5", [] { return Now.Bits; }, 32},
        {"Desk Bits 0", [] { return Now.Bits; }, 33},
        {"Desk Bits -5", [] { return Now.Bits; }, 1},
        {"Desk Bits -0", [] { return Now.Bits; }, 0},
        {"Desk On", [] { return Now.On; }, 1},
        {"Desk On", [] { return Now.On; }, 0},
        {"Desk Mode 1", [] { return Now.Mode; }, 2}, // past the disabled one
        {"Desk Mode 9", [] { return Now.Mode; }, 3},
        {"Desk Mode -9", [] { return Now.Mode; }, 0},
        {"Desk Code 300", [] { return Now.Code; }, 173},
        {"Desk Code -300", [] { return Now.Code; }, 0},
        {"Desk Name 'x'", [] { return static_cast<double>(Now.Name.size()); }, 1},
    };
    for (const auto& each : cases) {
        ASSERT_TRUE(Do(" relative ; the next"));
        EXPECT_TRUE(Do(each.Line)) << each.Line;
        EXPECT_DOUBLE_EQ(each.Value(), each.Want) << each.Line;
    }
    EXPECT_TRUE(Do("Desk Count 3"));
    EXPECT_EQ(Now.Count, 3);
    // A key line in between is no value; a line that fails is.
    EXPECT_TRUE(Do("RELATIVE"));
    EXPECT_TRUE(Do("Desk Go KEY F2"));
    EXPECT_TRUE(Do("Desk Count 4"));
    EXPECT_EQ(Now.Count, 7);
    EXPECT_TRUE(Do("RELATIVE"));
    EXPECT_FALSE(Do("Desk Bits 16"));
    EXPECT_TRUE(Do("Desk Count 4"));
    EXPECT_EQ(Now.Count, 4);
}

TEST(Macros, RefusalsSayWhyAndChangeNothing) {
    MacroDesk desk;
    const std::string before = MacroLine::ValueLine(desk.Dialog, Count);
    const struct {
        const char* Line;
        std::function<void()> Prepare;
        const char* Words;
    } cases[] = {
        {"None Count 1", nullptr, " ## target dialog not known ## "},
        {"Desk None 1", nullptr, " ## target item not known ## "},
        {"@ Edit Redo", nullptr, " ## menu entry not known ## "},
        {"@ Edit Undo", [] { Now.MenuEnabled = false; }, " ## menu entry is disabled ## "},
        {"Desk Mode 1", nullptr, " ## list entry not known or disabled ## "},
        {"Desk Mode 4", nullptr, " ## list entry not known or disabled ## "},
        {"Desk Mode -1", nullptr, " ## list entry not known or disabled ## "},
        {"Desk Count x", nullptr, " ## value not understood ## "},
        {"Desk Count KEY2 F1", nullptr, " ## item has no second key ## "},
        {"@ Edit 1 KEY Char \"a\"", nullptr, " ## key not known ## "},
        {"Desk KEY q", nullptr, " ## key not known ## "}, // the dialog does not take it
        {"Desk Count 1", [&] { Dialogs::LockItem(desk.Dialog, Count, true); }, " ## item is locked ## "},
        {"Desk Count 1", [&] { desk.Item(Count).Enabled = false; }, " ## item is locked ## "},
        {"Desk Count 1", [&] { desk.Item(Count).Executable = false; }, " ## item is locked ## "},
        {"Desk Count 1",
         [&] {
             desk.Item(Count).UserLevel = 3;
             Dialogs::UserLevel = 2;
         },
         " ## item is locked ## "},
        {"Desk Count 1", [] { Dialogs::Tracking = true; }, " ## dialog is busy ## "},
        {"Desk Count 1",
         [] { Dialogs::ItemHooks.Before = [](Dialogs::DialogRecord&, int) { return false; }; },
         " ## refused ## "},
        {"Desk Count 1", [&] { Dialogs::CloseDialog(desk.Dialog); }, " ## target dialog not open ## "},
    };
    for (const auto& each : cases) {
        const Messages::Recorder said;
        if (each.Prepare) each.Prepare();
        EXPECT_FALSE(Macros::ExecuteMacroLine(each.Line, true)) << each.Line;
        EXPECT_EQ(said.Notes.find("##"), std::string::npos) << each.Line; // silent
        EXPECT_FALSE(Do(each.Line)) << each.Line;
        EXPECT_NE(said.Notes.find(std::string(each.Line) + each.Words), std::string::npos) << said.Notes;
        Dialogs::LockItem(desk.Dialog, Count, false);
        desk.Item(Count).Enabled = desk.Item(Count).Executable = true;
        desk.Item(Count).UserLevel = 0;
        Dialogs::Tracking = false;
        Dialogs::ItemHooks = {};
        EXPECT_EQ(MacroLine::ValueLine(desk.Dialog, Count), before) << each.Line;
    }
    EXPECT_EQ(Now.Runs, 0);
    EXPECT_EQ(Now.MenuRuns, 0);
}

TEST(Macros, AnEntryUnderWayIsStoredAheadOfALine) {
    MacroDesk desk;
    Headless::Click(desk.Dialog.WindowHandle, {20, 110});
    Events::Event event;
    while (Events::GetNextEvent(event)) (void)Dialogs::HandleEvent(event);
    ASSERT_TRUE(desk.Item(Tau).Busy);
    Headless::Type("7");
    EXPECT_TRUE(Do("Desk Count 1"));
    EXPECT_EQ(Now.Tau, 7);
    EXPECT_FALSE(desk.Item(Tau).Busy);
}

TEST(Macros, ValuesCanBeSetWithoutTheirProcedure) {
    MacroDesk desk;
    MacroLine::MacroRecord record;
    ASSERT_EQ(MacroLine::Read("Desk Count 9", false, record), Failure::None);
    EXPECT_EQ(Macros::SetItemFromMacro(desk.Dialog, record, false), Failure::None);
    EXPECT_EQ(Now.Count, 9);
    EXPECT_EQ(Now.Runs, 0);
    ASSERT_EQ(MacroLine::Read("@ Edit Undo", false, record), Failure::None);
    EXPECT_EQ(Macros::Execute(record, false), Failure::None);
    EXPECT_EQ(Now.MenuRuns, 0);
}

TEST(Macros, KeysGoToDialogsAndItems) {
    MacroDesk desk;
    EXPECT_TRUE(Do("Desk KEY CursorLeft shift"));
    EXPECT_EQ(Now.KeysTaken, 1);
    EXPECT_EQ(Now.LastKey, static_cast<std::uint32_t>(Platform::KeyCode::CursorLeft));
    EXPECT_TRUE(Do("Desk Go KEY F7"));
    EXPECT_TRUE(Do("Desk Mode KEY2 F8"));
    EXPECT_TRUE(Do("@ Edit Undo KEY Char \"Y\""));
    EXPECT_EQ(Menus::Shortcut(2, 1), 'Y');
    EXPECT_EQ(Now.Runs, 0); // nothing acts
    // The dialog's own layout does not take them back when it is opened again.
    Dialogs::CloseDialog(desk.Dialog);
    ASSERT_TRUE(Dialogs::OpenDialog(desk.Dialog));
    Now.Mode = 2;
    const std::uint32_t f1 = static_cast<std::uint32_t>(Platform::KeyCode::F1);
    Headless::Key(desk.Dialog.WindowHandle, static_cast<Platform::KeyCode>(f1 + 6));
    Headless::Key(desk.Dialog.WindowHandle, static_cast<Platform::KeyCode>(f1 + 7));
    Events::Event event;
    while (Events::GetNextEvent(event)) (void)Dialogs::HandleEvent(desk.Dialog, event);
    EXPECT_EQ(Now.Runs, 2);
    EXPECT_EQ(Now.Mode, 0); // stepped back, past the disabled entry
}

// -- files -------------------------------------------------------------------------------------------------

TEST(Macros, AFilePlaysALineAPass) {
    const MacroDesk desk;
    const Support::TempFolder folder;
    const Messages::Recorder said;
    const std::string file =
        folder.Write("a.mac", "MACRO-FILE 1 ; mine\r\n; comment\r\nDesk Count 1\rDesk Bad 2\n\nRELATIVE\n"
                              "Desk Name \"" +
                                  std::string(1100, 'x') + "\"\nDesk Count 10\nDesk Name \"\xE9\"");
    ASSERT_TRUE(Macros::StartMacro(file));
    EXPECT_TRUE(Macros::IsPlaying());
    int steps = 0;
    while (Now.Count != 1 && steps < 10) steps += Macros::PlayStep();
    EXPECT_LE(steps, 3);
    PlayAll();
    EXPECT_FALSE(Macros::IsPlaying());
    EXPECT_EQ(Now.Count, 11);
    EXPECT_EQ(Now.Name, "\u00E9"); // Latin-1, and no line end behind it
    EXPECT_NE(said.Notes.find("Desk Bad 2 ## target item not known ## "), std::string::npos);
    EXPECT_NE(said.Notes.find(" ## line too long ## "), std::string::npos);
    EXPECT_FALSE(Macros::PlayStep());
}

TEST(Macros, HeadLinesAreChecked) {
    const MacroDesk desk;
    const Support::TempFolder folder;
    const struct {
        const char* Head;
        bool Taken, Asked;
    } cases[] = {
        {"MACRO-FILE          1\n", true, false},
        {"MACRO-FILE 1", true, false},
        {"MACRO-FILE1;x\n", true, false},
        {"MACRO-FILE 2\n", false, true},
        {"MACRO-FILE 1x\n", false, false},
        {"MACRO-FILE\n", false, false},
        {"Macro-File 1\n", false, false},
        {" MACRO-FILE 1\n", false, false},
        {"", false, false},
        {"\nMACRO-FILE 1\n", false, false},
    };
    for (const auto& each : cases) {
        Messages::Recorder said;
        EXPECT_EQ(Macros::StartMacro(folder.Write("a.mac", each.Head)), each.Taken) << each.Head;
        EXPECT_EQ(said.Questions != "", each.Asked) << each.Head;
        const std::string refusal = "Not a macro file: \"" + folder.At("a.mac") + "\".\n";
        EXPECT_EQ(said.Alerts, each.Taken || each.Asked ? "" : refusal);
        PlayAll();
    }
    Messages::Recorder said;
    said.Answer = [](bool) { return true; };
    EXPECT_TRUE(Macros::StartMacro(folder.Write("a.mac", "MACRO-FILE 900 ; keys\n")));
    EXPECT_NE(said.Questions.find("   required: 1\n   in file: \"900 ; keys\""), std::string::npos)
        << said.Questions;
    PlayAll();
    EXPECT_FALSE(Macros::StartMacro(folder.At("none.mac")));
    EXPECT_FALSE(Macros::StartMacro(folder.Path));
    EXPECT_NE(said.Notes.find("Error reading '" + folder.At("none.mac") + "':  "), std::string::npos);
    EXPECT_NE(said.Alerts.find("Error reading '" + folder.Path + "':  "), std::string::npos);
}

// The macro that another one starts is done ahead of that one's next line.
TEST(Macros, AMacroWaitsForTheOneItStarts) {
    const MacroDesk desk;
    const Support::TempFolder folder;
    Now.Started = folder.Write("inner.mac", "MACRO-FILE 1\nDesk Count 2\nRELATIVE\n");
    const std::string outer =
        folder.Write("outer.mac", "MACRO-FILE 1\nRELATIVE\nDesk Go\nRELATIVE\nDesk Count 3\n");
    ASSERT_TRUE(Macros::StartMacro(outer));
    Macros::RunToEnd();
    EXPECT_EQ(Now.Count, 5);
    // One that starts itself, or more than there is patience for, comes to an end.
    const Messages::Recorder said;
    Now.Started = folder.Write("self.mac", "MACRO-FILE 1\nDesk Go\nDesk Go\nDesk Count 7\n");
    ASSERT_TRUE(Macros::StartMacro(Now.Started));
    EXPECT_FALSE(Macros::StartMacro(Now.Started));
    PlayAll();
    EXPECT_EQ(said.Notes, " ## a macro cannot start itself ## \n ## a macro cannot start itself ## \n"
                          " ## a macro cannot start itself ## \n");
    EXPECT_EQ(Now.Count, 7);
    int started = 0;
    for (int i = 0; i < 2 * Macros::MostNested; ++i)
        started += Macros::StartMacro(folder.Write(std::to_string(i), "MACRO-FILE 1\nDesk Count 8\n"));
    EXPECT_EQ(started, Macros::MostNested);
    PlayAll();
    EXPECT_FALSE(Macros::IsPlaying());
}

TEST(Macros, StopEndsAllThatPlay) {
    const MacroDesk desk;
    const Support::TempFolder folder;
    const Messages::Recorder said;
    Macros::StopMacro();
    EXPECT_EQ(said.Notes, "");
    const std::string file = folder.Write("a.mac", "MACRO-FILE 1\nDesk Count 1\nDesk Count 2\n");
    const std::string other = folder.Write("b.mac", "MACRO-FILE 1\nDesk Count 3\n");
    ASSERT_TRUE(Macros::StartMacro(file) && Macros::StartMacro(other));
    Macros::StopMacro();
    EXPECT_EQ(said.Notes, "Macros playback aborted.\n");
    EXPECT_FALSE(Macros::IsPlaying());
    EXPECT_FALSE(Macros::PlayStep());
    EXPECT_EQ(Now.Count, 5);
}

// A line that opens a dialog which must be answered is followed by those that answer it, and a stop in the
// middle of a line is no trouble.
TEST(Macros, LinesInsideOfALine) {
    MacroDesk desk;
    const Support::TempFolder folder;
    desk.Item(Graph).ItemProc = [](Dialogs::DialogRecord&, int) {
        for (int i = 0; i < 20 && Now.Count != 42; ++i) (void)Macros::PlayStep();
    };
    desk.Item(Go).ItemProc = [](Dialogs::DialogRecord&, int) {
        Macros::RunToEnd(); // not for itself
        Macros::StopMacro();
        Macros::RunToEnd();
    };
    ASSERT_TRUE(Macros::StartMacro(folder.Write(
        "a.mac", "MACRO-FILE 1\nDesk Graph\nDesk Graph\nDesk Count 42\nDesk Go\nDesk Count 1\n")));
    const Messages::Recorder said;
    PlayAll();
    EXPECT_EQ(Now.Count, 42);
    EXPECT_EQ(said.Notes, "Macros playback aborted.\n");
    // A file of nothing but such lines ends, too.
    Now.Count = 0;
    std::string text = "MACRO-FILE 1\n";
    for (int i = 0; i < 3000; ++i) text += "Desk Graph\n";
    ASSERT_TRUE(Macros::StartMacro(folder.Write("b.mac", text)));
    for (int i = 0; i < 10000 && Macros::IsPlaying(); ++i) (void)Macros::PlayStep();
    EXPECT_FALSE(Macros::IsPlaying());
}

}
