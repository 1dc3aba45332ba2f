#include "ui/macros.h"

#include "base/messages.h"
#include "support/macro_desk.h"
#include "support/temp_folder.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <sys/stat.h>

namespace {

using MacroLine::Failure;
using namespace Support; // the desk, and the numbers of its items

bool Do(std::string_view line) {
    return Macros::ExecuteMacroLine(line);
}

void PlayAll() {
    for (int i = 0; i < 10000 && Macros::IsPlaying(); ++i) (void)Macros::PlayStep();
}

TEST(Macros, ALineDoesWhatAHandDoes) {
    MacroDesk desk;
    const Messages::Recorder said;
    const struct {
        const char* Line;
        std::function<bool()> Done;
    } cases[] = {
        {"Desk Tau 2ms", [] { return Now.Tau == 2 * 0.001 && Now.LastRun == Tau; }},
        {"desk name 'a b' ; c", [] { return Now.Name == "a b"; }},
        {"Desk On TRUE", [] { return Now.On && Now.LastSource == Dialogs::Source::Macro; }},
        {"Desk Pair 3(17)", [] { return Now.Pair == 3 && Now.PairSecond == 17; }},
        {"Desk Go", [] { return Now.LastRun == Go; }},
        {"Desk Top 1", [] { return Now.Top && !Now.Low; }}, // one of a group
        {"Desk \"Second Page\"", [&] { return desk.Dialog.CurrentPage == 2; }},
        {"Desk \"First Page\" FALSE", [&] { return desk.Dialog.CurrentPage == 2; }},
        {"Desk \"First Page\" TRUE", [&] { return desk.Dialog.CurrentPage == 1; }},
        {"Desk Place 3.5", [&] { return Dialogs::NumberOf(desk.Item(Place)) == 3.5; }}, // kept in its item
        {"@ Edit Undo", [] { return Now.MenuRuns == 1; }},
        {"@ \"File Format\" 2", [] { return Now.IndexRun == 7; }},
        {"\t; a comment", [] { return true; }},
        {"\tDesk\tCount\t6\t", [] { return Now.Count == 6; }},
        // Out of bounds: the nearest one.
        {"Desk Count 1000", [] { return Now.Count == 100; }},
        {"Desk Count -99999999999", [] { return Now.Count == 0; }},
        {"Desk Level 7", [] { return Now.Level == 1; }}, // two states
        {"Desk Mask 7FFFFFFF", [] { return Now.Mask == 32767; }},
        {"Desk Gain 1E200", [] { return Now.Gain == std::numeric_limits<float>::max(); }},
    };
    desk.Item(Gain).ValueHigh = 1E300;
    for (const auto& each : cases) {
        EXPECT_TRUE(Do(each.Line)) << each.Line;
        EXPECT_TRUE(each.Done()) << each.Line;
    }
    EXPECT_EQ(said.Notes + said.Alerts, "");
    EXPECT_FALSE(Do("Desk Tau 1E999"));
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
    };
    for (const auto& each : cases) {
        ASSERT_TRUE(Do(" relative ; the next"));
        EXPECT_TRUE(Do(each.Line)) << each.Line;
        EXPECT_DOUBLE_EQ(each.Value(), each.Want) << each.Line;
    }
    EXPECT_TRUE(Do("Desk Count 3"));
    EXPECT_EQ(Now.Count, 3);
    // A key line in between is no value; a line that fails is.
    EXPECT_TRUE(Do("RELATIVE") && Do("Desk Go KEY F2") && Do("Desk Count 4"));
    EXPECT_EQ(Now.Count, 7);
    EXPECT_TRUE(Do("RELATIVE") && !Do("Desk Bits 16") && Do("Desk Count 4"));
    EXPECT_EQ(Now.Count, 4);
}

TEST(Macros, RefusalsSayWhyAndChangeNothing) {
    MacroDesk desk;
    const std::string before = MacroLine::ValueLine(desk.Dialog, Count);
    const struct {
        const char* Line;
        const char* Words;
        std::function<void()> Prepare = [] {};
    } cases[] = {
        {"None Count 1", " ## target dialog not known ## "},
        {"Desk None 1", " ## target item not known ## "},
        {"@ Edit Redo", " ## menu entry not known ## "},
        {"@ Edit Undo", " ## menu entry is disabled ## ", [] { Now.MenuEnabled = false; }},
        {"Desk Mode 1", " ## list entry not known or disabled ## "},
        {"Desk Mode 4", " ## list entry not known or disabled ## "},
        {"Desk Mode -1", " ## list entry not known or disabled ## "},
        {"Desk Count x", " ## value not understood ## "},
        {"Desk Count KEY2 F1", " ## item has no second key ## "},
        {"@ Edit 1 KEY Char \"a\"", " ## key not known ## "},
        {"Desk KEY q", " ## key not known ## "}, // the dialog does not take it
        {"Desk Count 1", " ## item is locked ## ", [&] { Dialogs::LockItem(desk.Dialog, Count, true); }},
        {"Desk Count 1", " ## item is locked ## ", [&] { desk.Item(Count).Enabled = false; }},
        {"Desk Count 1", " ## item is locked ## ", [&] { desk.Item(Count).Executable = false; }},
        {"Desk Count 1", " ## item is locked ## ",
         [&] {
             desk.Item(Count).UserLevel = 3;
             Dialogs::UserLevel = 2;
         }},
        {"Desk Count 1", " ## dialog is busy ## ", [] { Dialogs::Tracking = true; }},
        {"Desk Count 1", " ## refused ## ",
         [] { Dialogs::ItemHooks.Before = [](Dialogs::DialogRecord&, int) { return false; }; }},
        {"Desk Count 1", " ## target dialog not open ## ", [&] { Dialogs::CloseDialog(desk.Dialog); }},
    };
    for (const auto& each : cases) {
        const Messages::Recorder said;
        each.Prepare();
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
    EXPECT_EQ(Now.Runs + Now.MenuRuns, 0);
}

TEST(Macros, AnEntryUnderWayIsStoredAheadOfALine) {
    MacroDesk desk;
    desk.Click(Tau);
    ASSERT_TRUE(desk.Item(Tau).Busy);
    Headless::Type("7");
    EXPECT_TRUE(Do("Desk Count 1"));
    EXPECT_EQ(Now.Tau, 7);
    EXPECT_FALSE(desk.Item(Tau).Busy);
    // A value can be set without its procedure.
    Now.Runs = 0;
    for (const char* const line : {"Desk Count 9", "@ Edit Undo"}) {
        MacroLine::MacroRecord record;
        ASSERT_EQ(MacroLine::Read(line, false, record), Failure::None);
        EXPECT_EQ(Macros::Execute(record, false), Failure::None);
    }
    EXPECT_EQ(Now.Count, 9);
    EXPECT_EQ(Now.Runs + Now.MenuRuns, 0);
}

TEST(Macros, KeysGoToDialogsAndItems) {
    MacroDesk desk;
    EXPECT_TRUE(Do("Desk KEY CursorLeft shift"));
    EXPECT_EQ(Now.KeysTaken, 1);
    EXPECT_EQ(Now.LastKey, static_cast<std::uint32_t>(Platform::KeyCode::CursorLeft));
    EXPECT_TRUE(Do("Desk Go KEY F7") && Do("Desk Mode KEY2 F8") && Do("@ Edit Undo KEY Char \"Y\""));
    EXPECT_EQ(Menus::Shortcut(2, 1), 'Y');
    EXPECT_EQ(Now.Runs, 0); // nothing acts
    // The dialog's own layout does not take them back when it is opened again.
    Dialogs::CloseDialog(desk.Dialog);
    ASSERT_TRUE(Dialogs::OpenDialog(desk.Dialog));
    Now.Mode = 2;
    const int f1 = static_cast<int>(Platform::KeyCode::F1);
    desk.Key(f1 + 6);
    desk.Key(f1 + 7);
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
    int steps = 0;
    while (Now.Count != 1 && steps < 10) steps += Macros::PlayStep();
    EXPECT_LE(steps, 3);
    PlayAll();
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
        bool Taken, Asked = false;
    } cases[] = {
        {"MACRO-FILE          1\n", true}, {"MACRO-FILE1;x\n", true},
        {"MACRO-FILE 2\n", false, true},   {"MACRO-FILE 1x\n", false},
        {"MACRO-FILE\n", false},           {"Macro-File 1\n", false},
        {" MACRO-FILE 1\n", false},        {"", false},
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
    EXPECT_NE(said.Questions.find("   required: 1\n   in file: \"900 ; keys\""), std::string::npos);
    PlayAll();
    EXPECT_FALSE(Macros::StartMacro(folder.At("none.mac")));
    ASSERT_EQ(::mkfifo(folder.At("pipe").c_str(), 0600), 0);
    EXPECT_FALSE(Macros::StartMacro(folder.At("pipe"))); // nobody writes into it
    EXPECT_FALSE(Macros::StartMacro(folder.Path));
    EXPECT_NE(said.Notes.find("Error reading '" + folder.At("none.mac") + "':  "), std::string::npos);
    EXPECT_NE(said.Alerts.find("Error reading '" + folder.Path + "':  "), std::string::npos);
}

// The macro that another one starts is done ahead of that one's next line.
TEST(Macros, AMacroWaitsForTheOneItStarts) {
    const MacroDesk desk;
    const Support::TempFolder folder;
    Now.Started = folder.Write("inner.mac", "MACRO-FILE 1\nDesk Count 2\nRELATIVE\n");
    ASSERT_TRUE(Macros::StartMacro(
        folder.Write("outer.mac", "MACRO-FILE 1\nRELATIVE\nDesk Go\nRELATIVE\nDesk Count 3\n")));
    Macros::RunToEnd();
    EXPECT_EQ(Now.Count, 5);
    // One that starts itself, or more than there is patience for, comes to an end.
    const Messages::Recorder said;
    Now.Started = folder.Write("self.mac", "MACRO-FILE 1\nDesk Go\nDesk Count 7\n");
    ASSERT_TRUE(Macros::StartMacro(Now.Started));
    PlayAll();
    EXPECT_EQ(said.Notes, " ## a macro cannot start itself ## \n");
    EXPECT_EQ(Now.Count, 7);
    int started = 0;
    for (int i = 0; i < 2 * Macros::MostNested; ++i)
        started += Macros::StartMacro(folder.Write(std::to_string(i), "MACRO-FILE 1\nDesk Count 8\n"));
    EXPECT_EQ(started, Macros::MostNested);
    Macros::StopMacro();
    EXPECT_TRUE(said.Notes.ends_with("\nMacros playback aborted.\n"));
    EXPECT_FALSE(Macros::IsPlaying() || Macros::PlayStep());
    EXPECT_EQ(Now.Count, 7);
}

// A line that opens a dialog which must be answered is followed by those that answer it, and a stop in the
// middle of a line is no trouble.
TEST(Macros, LinesInsideOfALine) {
    MacroDesk desk;
    const Support::TempFolder folder;
    static bool waited;
    desk.Item(Graph).ItemProc = [](Dialogs::DialogRecord&, int) {
        for (int i = 0; i < 20 && Now.Count != 42; ++i) (void)Macros::PlayStep();
    };
    desk.Item(Go).ItemProc = [](Dialogs::DialogRecord&, int) {
        Macros::RunToEnd(); // not for itself
        Macros::StopMacro();
        Macros::RunToEnd();
        waited = Macros::IsWaiting();
    };
    ASSERT_TRUE(Macros::StartMacro(folder.Write(
        "a.mac", "MACRO-FILE 1\nDesk Graph\nDesk Graph\nDesk Count 42\nDesk Go\nDesk Count 1\n")));
    EXPECT_FALSE(Macros::IsWaiting());
    const Messages::Recorder said;
    PlayAll();
    EXPECT_EQ(Now.Count, 42);
    EXPECT_EQ(said.Notes, "Macros playback aborted.\n");
    EXPECT_TRUE(waited && !Macros::IsWaiting());
    // A file of nothing but such lines ends, too.
    Now.Count = 0;
    std::string text = "MACRO-FILE 1\n";
    for (int i = 0; i < 3000; ++i) text += "Desk Graph\n";
    ASSERT_TRUE(Macros::StartMacro(folder.Write("b.mac", text)));
    PlayAll();
    EXPECT_FALSE(Macros::IsPlaying());
}

}
