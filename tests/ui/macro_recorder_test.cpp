#include "ui/macro_recorder.h"

#include "base/messages.h"
#include "support/failing_files.h"
#include "support/macro_desk.h"
#include "support/temp_folder.h"

#include <gtest/gtest.h>

namespace {

using namespace Support; // the desk, and the numbers of its items

constexpr const char* Head = "MACRO-FILE          1\n";

class MacroRecorder : public testing::Test {
protected:
    ~MacroRecorder() override {
        Macros::StopRecording();
        Macros::ProtocolRuns = nullptr;
    }
    void Press(int number) { Dialogs::PressItem(Desk.Dialog, number, {.Source = Dialogs::Source::Mouse}); }
    void Enter(int number) { Dialogs::Activate(Desk.Dialog, number, {.Source = Dialogs::Source::Key}); }
    // The lines behind the head, which are in the file at once.
    void ExpectLines(const std::string& lines) const { EXPECT_EQ(Support::ReadWhole(File), Head + lines); }

    MacroDesk Desk;
    Support::TempFolder Folder;
    std::string File = Folder.At("a.mac");
};

TEST_F(MacroRecorder, WhatAHandDoesIsInTheFileAtOnce) {
    ASSERT_TRUE(Macros::StartRecording(File));
    ExpectLines("");
    Desk.Click(Tau);
    Headless::Type("2.5m");
    Desk.Key(Platform::KeyCode::Return);
    ExpectLines("  Desk             Tau                       2.5000000ms\n");
    Desk.Click(On);
    Desk.Click(Top);
    Desk.Key(static_cast<int>(Platform::KeyCode::F1) + 4, 2);
    for (const auto& [menu, entry] :
         {std::pair{2u, 1u}, {2u, 4u}, {1u, 1u}}) // the last two not to be recorded
        Headless::Notify(Platform::FrameWindow, Platform::MenuChosen, menu, entry);
    Desk.TakeEvents();
    Macros::RecordKey(Desk.Dialog, On, false); // none yet
    Dialogs::AssignKey(Desk.Dialog, Go, {.Class = Events::KeyClass::Printable, .Char = 'g'});
    Macros::RecordKey(Desk.Dialog, Go, false);
    Macros::StopRecording();
    Press(Go);
    ExpectLines("  Desk             Tau                       2.5000000ms\n"
                "  Desk             On                         TRUE\n"
                "  Desk             Top                        TRUE\n"
                "  Desk             Key F5 shift\n"
                "  @  Edit          \"Undo\"\n"
                "  Desk             Go                       Key Char  \"g\"\n");
}

TEST_F(MacroRecorder, APlayedRecordingLeavesTheSameValues) {
    Setup::Settings.Export.LineEndMode = 0; // files end their lines as the settings say
    ASSERT_TRUE(Macros::StartRecording(File));
    for (const int number : {On, Middle, Ticked, Toggle, Level, Mode, Pair, SecondPage}) Press(number);
    for (const auto& [number, text] : {std::pair{Name, "it's; \"so\" "},
                                       {Tau, "1.2345678901234m"},
                                       {Amplitude, "33.3"},
                                       {Count, "77"},
                                       {Mask, "7FFF"},
                                       {Code, "9"}}) {
        ASSERT_TRUE(Dialogs::EnterText(Desk.Item(number), text)) << number;
        Enter(number);
    }
    Macros::StopRecording();
    EXPECT_EQ(Support::ReadWhole(File).find('\n'), std::string::npos);
    const auto values = [&] {
        return std::tuple(Now.On, Now.Low, Now.Middle, Now.Check, Now.Toggle, Now.Level, Now.Mode, Now.Pair,
                          Now.Name, Now.Tau, Now.Amplitude, Now.Count, Now.Mask, Now.Code,
                          Desk.Dialog.CurrentPage);
    };
    const auto byHand = values();
    Now = {};
    Dialogs::SelectPage(Desk.Dialog, 0);
    ASSERT_TRUE(Macros::StartMacro(File));
    Macros::RunToEnd();
    EXPECT_TRUE(values() == byHand);
    EXPECT_EQ(Desk.Dialog.CurrentPage, 2);
}

TEST_F(MacroRecorder, OnlyWhatIsMeantIsRecorded) {
    Desk.Item(On).MacroEnabled = false;
    // The program's own activation, and one inside of another: the outer one comes first.
    Desk.Item(Graph).ItemProc = [](Dialogs::DialogRecord& dialog, int) {
        Dialogs::PressItem(dialog, Toggle, {});
        Dialogs::PressItem(dialog, Ticked, {.Source = Dialogs::Source::Mouse});
    };
    Desk.Item(Tau).MacroProc = [](Dialogs::DialogRecord&, int, std::string& value) {
        value = "own";
        return Now.Tau > 1;
    };
    ASSERT_TRUE(Macros::StartRecording(File));
    Press(On);
    Press(Graph);
    Now.Secret = "xyz";
    Enter(Secret);
    Enter(Tau);
    Now.Tau = 2;
    Enter(Tau);
    for (const char* const typed : {"a", "ab", "a"}) { // a text with lines has one line
        Now.Remarks = typed;
        Enter(Remarks);
    }
    ExpectLines("  Desk             Graph\n"
                "  Desk             \"Check Box\"                TRUE\n"
                "  Desk             Tau                      own\n"
                "  Desk             Remarks                  \"a\"\n");
    EXPECT_TRUE(Now.Toggle);
}

TEST_F(MacroRecorder, PlayingAndRecordingKeepApart) {
    const Messages::Recorder said;
    const std::string other = Folder.Write("b.mac", "MACRO-FILE 1\nDesk Count 1\n");
    ASSERT_TRUE(Macros::StartRecording(File));
    EXPECT_STREQ(Macros::RecordLabel(), "Stop Recording");
    EXPECT_FALSE(Macros::StartRecording(other) || Macros::ExecuteMacroLine("Desk Count 1") ||
                 Macros::StartMacro(other));
    const std::string refusal = " ## Cannot start macro interpreter while a macro is recording ## \n";
    EXPECT_EQ(said.Notes, refusal + refusal);
    EXPECT_EQ(Now.Count, 5);
    Macros::StopRecording();
    EXPECT_STREQ(Macros::RecordLabel(), "Record Macros");
    ASSERT_TRUE(Macros::StartMacro(other));
    EXPECT_FALSE(Macros::StartRecording(File));
    Macros::RunToEnd();
    Macros::ProtocolRuns = [] { return true; };
    EXPECT_FALSE(Macros::StartRecording(File));
    EXPECT_NE(said.Alerts.find("Cannot record a macro while executing a protocol !"), std::string::npos);
}

TEST_F(MacroRecorder, TheCommandAsksForItsFile) {
    const Messages::Recorder said;
    Macros::RecordMacros(); // turned away
    EXPECT_EQ(said.Notes, "Recording macros aborted. \n");
    (void)Folder.Write("a.mac", "before");
    Headless::Desktop().Texts = {Folder.At("a")};
    Macros::RecordMacros();
    Press(Go);
    Macros::RecordMacros();
    EXPECT_FALSE(Macros::IsRecording());
    ExpectLines("  Desk             Go\n");
    EXPECT_EQ(Support::ReadWhole(Folder.At("a.mac.bak")), "before");
}

TEST_F(MacroRecorder, AFileThatCannotBeWrittenEndsIt) {
    const Messages::Recorder said;
    EXPECT_FALSE(Macros::StartRecording(Folder.At("none/a.mac")));
    EXPECT_FALSE(Macros::StartRecording("/dev/null")); // stays a device
    EXPECT_NE(said.Alerts.find("Recording macros aborted. "), std::string::npos);
    EXPECT_EQ(Folder.Count(), 0);
    ASSERT_TRUE(Macros::StartRecording(File));
    Press(Go);
    {
        const Support::FailingFiles disk;
        Support::TheDisk.Room = 10;
        Press(Go);
    }
    EXPECT_FALSE(Macros::IsRecording());
    EXPECT_NE(said.Alerts.find("'" + File + "':  "), std::string::npos) << said.Alerts;
    EXPECT_EQ(Dialogs::ItemHooks.After, nullptr);
    Press(Go);
    ExpectLines("  Desk             Go\n");
}

}
