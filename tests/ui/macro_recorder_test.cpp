#include "ui/macro_recorder.h"

#include "base/messages.h"
#include "support/failing_files.h"
#include "support/macro_desk.h"
#include "support/temp_folder.h"
#include "ui/dialog_events.h"

#include <gtest/gtest.h>

namespace {

using Support::MacroDesk;
using Support::Now;
using namespace Support; // the items' numbers

constexpr const char* Head = "MACRO-FILE          1\n";

void TakeEvents() {
    Events::Event event;
    while (Events::GetNextEvent(event))
        if (!Menus::HandleEvent(event)) (void)Dialogs::HandleEvent(event);
}

void Press(MacroDesk& desk, int number) {
    Dialogs::PressItem(desk.Dialog, number, {.Source = Dialogs::Source::Mouse});
}

class MacroRecorder : public testing::Test {
protected:
    ~MacroRecorder() override {
        Macros::StopRecording();
        Macros::ProtocolRuns = nullptr;
    }
    // The lines behind the head; they are in the file already.
    [[nodiscard]] std::string Lines() const {
        const std::string content = Support::ReadWhole(File);
        EXPECT_EQ(content.substr(0, std::string(Head).size()), Head);
        return content.substr(std::min(content.size(), std::string(Head).size()));
    }

    MacroDesk Desk;
    Support::TempFolder Folder;
    std::string File = Folder.At("a.mac");
};

TEST_F(MacroRecorder, WhatAHandDoesIsInTheFileAtOnce) {
    ASSERT_TRUE(Macros::StartRecording(File));
    EXPECT_EQ(Lines(), "");
    Headless::Click(Desk.Dialog.WindowHandle, {20, 110});
    TakeEvents();
    Headless::Type("2.5m");
    Headless::Key(Desk.Dialog.WindowHandle, Platform::KeyCode::Return);
    TakeEvents();
    EXPECT_EQ(Lines(), "  Desk             Tau                       2.5000000ms\n");
    Headless::Click(Desk.Dialog.WindowHandle, {20, 50});
    TakeEvents();
    Headless::Click(Desk.Dialog.WindowHandle, {180, 80});
    Headless::Key(Desk.Dialog.WindowHandle,
                  static_cast<Platform::KeyCode>(static_cast<int>(Platform::KeyCode::F1) + 4), 2);
    Headless::Notify(Platform::FrameWindow, Platform::MenuChosen, 2, 1);
    Headless::Notify(Platform::FrameWindow, Platform::MenuChosen, 2, 4); // not to be recorded
    Headless::Notify(Platform::FrameWindow, Platform::MenuChosen, 1, 1); // the program's own
    TakeEvents();
    Macros::RecordKey(Desk.Dialog, On, false); // none yet
    Dialogs::AssignKey(Desk.Dialog, Go, {.Class = Events::KeyClass::Printable, .Char = 'g'});
    Macros::RecordKey(Desk.Dialog, Go, false);
    Macros::StopRecording();
    Press(Desk, Go);
    EXPECT_EQ(Lines(), "  Desk             Tau                       2.5000000ms\n"
                       "  Desk             On                         TRUE\n"
                       "  Desk             Top                        TRUE\n"
                       "  Desk             Key F5 shift\n"
                       "  @  Edit          \"Undo\"\n"
                       "  Desk             Go                       Key Char  \"g\"\n");
}

TEST_F(MacroRecorder, APlayedRecordingLeavesTheSameValues) {
    ASSERT_TRUE(Macros::StartRecording(File));
    for (const int number : {On, Middle, Ticked, Toggle, Level, Mode, Pair, SecondPage, Digits})
        Press(Desk, number);
    for (const auto& [number, text] : {std::pair{Name, "it's; \"so\" "},
                                       {Tau, "1.2345678901234m"},
                                       {Amplitude, "33.3"},
                                       {Count, "77"},
                                       {Mask, "7FFF"},
                                       {Code, "9"}}) {
        ASSERT_TRUE(Dialogs::EnterText(Desk.Item(number), text)) << number;
        Dialogs::Activate(Desk.Dialog, number, {.Source = Dialogs::Source::Key});
    }
    Macros::StopRecording();
    const Support::DeskValues byHand = Now;
    EXPECT_EQ(Desk.Dialog.CurrentPage, 2);
    Now = {};
    Dialogs::SelectPage(Desk.Dialog, 0);
    ASSERT_TRUE(Macros::StartMacro(File));
    Macros::RunToEnd();
    EXPECT_EQ(Now.On, byHand.On);
    EXPECT_TRUE(Now.Middle && !Now.Low);
    EXPECT_EQ(Now.Check, byHand.Check);
    EXPECT_EQ(Now.Toggle, byHand.Toggle);
    EXPECT_EQ(Now.Level, byHand.Level);
    EXPECT_EQ(Now.Mode, byHand.Mode);
    EXPECT_EQ(Now.Pair, byHand.Pair);
    EXPECT_EQ(Now.Name, byHand.Name);
    EXPECT_EQ(Now.Tau, byHand.Tau);
    EXPECT_EQ(Now.Amplitude, byHand.Amplitude);
    EXPECT_EQ(Now.Count, byHand.Count);
    EXPECT_EQ(Now.Mask, byHand.Mask);
    EXPECT_EQ(Now.Code, byHand.Code);
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
    Press(Desk, On);
    Press(Desk, Graph);
    Now.Secret = "xyz";
    Dialogs::Activate(Desk.Dialog, Secret, {.Source = Dialogs::Source::Key});
    Dialogs::Activate(Desk.Dialog, Tau, {.Source = Dialogs::Source::Key});
    Now.Tau = 2;
    Dialogs::Activate(Desk.Dialog, Tau, {.Source = Dialogs::Source::Key});
    for (const char* const typed : {"a", "ab", "a"}) { // a text with lines has one line
        Now.Remarks = typed;
        Dialogs::Activate(Desk.Dialog, Remarks, {.Source = Dialogs::Source::Key});
    }
    EXPECT_EQ(Lines(), "  Desk             Graph\n"
                       "  Desk             \"Check Box\"                TRUE\n"
                       "  Desk             Tau                      own\n"
                       "  Desk             Remarks                  \"a\"\n");
    EXPECT_EQ(Now.Toggle, true);
}

TEST_F(MacroRecorder, PlayingAndRecordingKeepApart) {
    const Messages::Recorder said;
    const std::string other = Folder.Write("b.mac", "MACRO-FILE 1\nDesk Count 1\n");
    ASSERT_TRUE(Macros::StartRecording(File));
    EXPECT_STREQ(Macros::RecordLabel(), "Stop Recording");
    EXPECT_FALSE(Macros::StartRecording(other));
    EXPECT_FALSE(Macros::ExecuteMacroLine("Desk Count 1"));
    EXPECT_FALSE(Macros::StartMacro(other));
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
    EXPECT_EQ(Dialogs::ItemHooks.After, nullptr);
}

TEST_F(MacroRecorder, TheCommandAsksForItsFile) {
    const Messages::Recorder said;
    Macros::RecordMacros(); // turned away
    EXPECT_EQ(said.Notes, "Recording macros aborted. \n");
    (void)Folder.Write("mine.mac", "before");
    Headless::Desktop().Texts = {Folder.At("mine")};
    Macros::RecordMacros();
    EXPECT_TRUE(Macros::IsRecording());
    Press(Desk, Go);
    Macros::RecordMacros();
    EXPECT_FALSE(Macros::IsRecording());
    EXPECT_EQ(Support::ReadWhole(Folder.At("mine.mac")), std::string(Head) + "  Desk             Go\n");
    EXPECT_EQ(Support::ReadWhole(Folder.At("mine.mac.bak")), "before");
}

TEST_F(MacroRecorder, AFileThatCannotBeWrittenEndsIt) {
    const Messages::Recorder said;
    EXPECT_FALSE(Macros::StartRecording(Folder.At("none/a.mac")));
    EXPECT_FALSE(Macros::StartRecording(Folder.Path));
    EXPECT_FALSE(Macros::StartRecording("/dev/null")); // stays a device
    EXPECT_NE(said.Alerts.find("Recording macros aborted. "), std::string::npos);
    EXPECT_EQ(Folder.Count(), 0);
    ASSERT_TRUE(Macros::StartRecording(File));
    Press(Desk, Go);
    {
        const Support::FailingFiles disk;
        Support::TheDisk.Room = 10;
        Press(Desk, Go);
    }
    EXPECT_FALSE(Macros::IsRecording());
    EXPECT_NE(said.Alerts.find("'" + File + "':  "), std::string::npos) << said.Alerts;
    EXPECT_EQ(Dialogs::ItemHooks.After, nullptr);
    EXPECT_EQ(Lines(), "  Desk             Go\n");
    Press(Desk, Go);
}

}
