#include "base/messages.h"
#include "platform/headless/headless.h"
#include "setup/settings.h"
#include "support/fixtures.h"
#include "ui/dialog.h"
#include "ui/dialog_events.h"
#include "ui/notebook.h"

#include <gtest/gtest.h>

namespace {

struct NotebookTest : testing::Test {
    NotebookTest() {
        Headless::Reset();
        Setup::SetDefaults();
        EXPECT_TRUE(Events::Initialise() && Notebook::Initialise());
        Notebook::Clear();
        Notebook::State = {};
    }
    ~NotebookTest() override {
        Dialogs::DisposeAll();
        Setup::SetDefaults();
    }

    // What the window shows.
    static std::string Shown() { return Headless::Desktop().TextBoxes.rbegin()->second.Spec.Text; }
    static void Handle() {
        Events::Event event;
        while (Events::GetNextEvent(event)) Dialogs::HandleEvent(event);
    }

    Messages::Recorder Said;
    Support::TempFolder Folder;
};

}

TEST_F(NotebookTest, WhatIsWrittenAndWhatIsTypedStandTogether) {
    Notebook::WriteLine("first");
    EXPECT_EQ(Shown(), "first\n");
    Headless::Type("first\nmy remark\n");
    Handle();
    Notebook::WriteString("n = ");
    Notebook::WriteInt(42, 5);
    Notebook::WriteChar('!');
    Notebook::WriteLn();
    EXPECT_EQ(Notebook::Text(), "first\nmy remark\nn =    42!\n");
    EXPECT_EQ(Shown(), Notebook::Text());
    EXPECT_EQ(Notebook::Lines(), 3);
}

TEST_F(NotebookTest, BufferedOutputWaitsAndLosesNothing) {
    Setup::Settings.Program.TermIOBuffering = true;
    Notebook::WriteLine("one");
    EXPECT_EQ(Shown(), "");
    Headless::Type("typed meanwhile\n");
    Handle();
    Notebook::WriteLine("two");
    Notebook::Flush();
    EXPECT_EQ(Shown(), "typed meanwhile\none\ntwo\n");
    EXPECT_EQ(Notebook::Text(), Shown());
}

TEST_F(NotebookTest, BeyondItsLengthTheOldestLinesGo) {
    Setup::Settings.Program.NotebookLength = 100;
    for (int i = 1; i <= 101; ++i) Notebook::WriteLine(std::to_string(i));
    EXPECT_EQ(Notebook::Lines(), 90);
    EXPECT_TRUE(Notebook::Text().starts_with("12\n"));
    EXPECT_EQ(Shown(), Notebook::Text());
}

TEST_F(NotebookTest, SavesWithTheLineEndsOfTheSettingsAndMergesAllKinds) {
    const std::string ends[] = {"\r", "\r\n", "\n"};
    for (std::uint8_t mode = 0; mode < 3; ++mode) {
        Notebook::Clear();
        Setup::Settings.Export.LineEndMode = mode;
        Notebook::WriteLine("a");
        Notebook::WriteLine("b");
        EXPECT_TRUE(Notebook::State.Modified);
        ASSERT_TRUE(Notebook::SaveTo(Folder.At("note.txt")));
        EXPECT_FALSE(Notebook::State.Modified);
        EXPECT_EQ(Support::ReadWhole(Folder.At("note.txt")), "a" + ends[mode] + "b" + ends[mode]);
        ASSERT_TRUE(Notebook::MergeFile(Folder.At("note.txt")));
        EXPECT_EQ(Notebook::Text(), "a\nb\nMerged file: note.txt\na\nb\n");
    }
    EXPECT_FALSE(Notebook::MergeFile(Folder.At("none.txt")));
    EXPECT_FALSE(Notebook::SaveTo(Folder.At("no/such/folder.txt")));
    EXPECT_NE(Said.Alerts.find("Merge failed"), std::string::npos);
    EXPECT_NE(Said.Alerts.find("Saving Failed:"), std::string::npos);
    EXPECT_EQ(Notebook::Lines(), 5);
}

TEST_F(NotebookTest, AnyBytesBecomeLinesOfALengthThatAWindowCanShow) {
    Notebook::WriteString("ab");
    Notebook::WriteString(std::string(99'997, 'x') + "\u20AC\u20ACy");
    EXPECT_EQ(Notebook::Text(), "ab" + std::string(99'997, 'x') + "\u20AC\n\u20ACy"); // no character is cut
    Notebook::Clear();
    Support::WriteWhole(Folder.At("b"), std::string("\xB5m\0\t|\u00B5m\r", 9) + std::string(99'999, 'z') +
                                            "\r\n" + std::string(250'000, 'z'));
    ASSERT_TRUE(Notebook::MergeFile(Folder.At("b")));
    EXPECT_TRUE(Notebook::Text().starts_with("Merged file: b\n\u00B5m \t|\u00C2\u00B5m\nzz"))
        << Notebook::Text();
    EXPECT_EQ(Notebook::Lines(), 6);
}

TEST_F(NotebookTest, ALineThatIsWiderThanThePageIsPrintedWhole) {
    const auto pages = [&](const std::string& text) {
        Notebook::Clear();
        Notebook::WriteString(text);
        EXPECT_TRUE(Notebook::PrintTo("a.pdf"));
        return std::stoi(Headless::Desktop().Said.back().substr(std::string("print: Notebook ").size()));
    };
    std::string lines;
    for (int i = 0; i < 100; ++i) lines += "one\n";
    EXPECT_EQ(pages("one"), 1);
    EXPECT_EQ(pages(lines), 2);
    EXPECT_GT(pages(std::string(20'000, 'x')), 2);
}

TEST_F(NotebookTest, AskingForAFileCanBeTurnedAwayAndClearCanBeTakenBack) {
    Notebook::WriteLine("kept");
    EXPECT_FALSE(Notebook::SaveAs());
    EXPECT_TRUE(Notebook::State.Modified);
    Headless::Desktop().Texts = {Folder.At("mine")};
    Setup::Settings.Program.TermIOClear = true;
    EXPECT_TRUE(Notebook::Save());
    EXPECT_EQ(Notebook::State.FileName, Folder.At("mine.txt"));
    EXPECT_EQ(Notebook::Text(), "");
    Notebook::WriteLine("later");
    Notebook::UndoClear();
    EXPECT_EQ(Notebook::Text(), "kept\nlater\n");
    Notebook::WriteLog("routine");
    Headless::Desktop().Texts = {"12", "nonsense"};
    EXPECT_TRUE(Notebook::SetLength());
    EXPECT_EQ(Setup::Settings.Program.NotebookLength, 100); // the least
    EXPECT_FALSE(Notebook::SetLength());
    EXPECT_EQ(Said.Alerts, "\"nonsense\" is not a number.\n");
}
