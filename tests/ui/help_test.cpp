#include "base/messages.h"
#include "platform/headless/headless.h"
#include "support/fixtures.h"
#include "ui/dialog.h"
#include "ui/dialog_events.h"
#include "ui/help.h"
#include "ui/item_value.h"

#include <gtest/gtest.h>

namespace {

struct HelpTest : testing::Test {
    HelpTest() {
        Headless::Reset();
        EXPECT_TRUE(Events::Initialise());
    }
    ~HelpTest() override { Dialogs::DisposeAll(); }

    bool Load(const std::string& content) {
        Support::WriteWhole(Folder.At("a.hlp"), content);
        return Help::Load(Folder.At("a.hlp"));
    }

    Messages::Recorder Said;
    Support::TempFolder Folder;
};

}

TEST_F(HelpTest, SectionsAndTipsAreReadWithAnyLineEnd) {
    ASSERT_TRUE(Load(
        "before\r\n== One\r\n\r\ntext one\rTIP Help close  shuts it\n== Empty\n\n== Two\nFONT: Serif\nx\n"));
    ASSERT_EQ(Help::Sections().size(), 3u);
    EXPECT_EQ(Help::Sections()[0].Title, "Overview");
    EXPECT_EQ(Help::Sections()[1].Text, "text one\n");
    EXPECT_EQ(Help::Sections()[2].Title, "Two");
    EXPECT_EQ(Help::Tip("HELP", "Close"), "shuts it");
    ASSERT_TRUE(Help::Show("two"));
    Dialogs::DialogRecord* const dialog = Dialogs::FindDialog("Help");
    ASSERT_NE(dialog, nullptr);
    EXPECT_NE(Headless::ShownTexts(dialog->WindowHandle).find("Two\n"), std::string::npos);
    EXPECT_EQ(Headless::Desktop().TextBoxes.begin()->second.Spec.Text, "x\n");
    Help::ApplyTips();
    const int close = Dialogs::FindItem(*dialog, "Close");
    EXPECT_EQ(Dialogs::Item(*dialog, close).Tip, "shuts it");
    Dialogs::CloseDialog(*dialog);
    ASSERT_TRUE(Help::Show("two"));
    EXPECT_EQ(Dialogs::Item(*dialog, close).Tip, "shuts it"); // an opened dialog keeps it
}

TEST_F(HelpTest, ASearchGoesThroughAllSectionsAndRoundAgain) {
    ASSERT_TRUE(Load("== One\na word, a Word\n== Two\nnothing\n== Three\nWORD\n"));
    ASSERT_TRUE(Help::Show("two"));
    ASSERT_TRUE(Help::Show("no such title"));
    Dialogs::DialogRecord& dialog = *Dialogs::FindDialog("Help");
    const auto title = [&] { return Dialogs::Item(dialog, Dialogs::FindItem(dialog, "Title")).ItemText; };
    EXPECT_EQ(title(), "One"); // the first one where there is none of the title
    Dialogs::PressItem(dialog, Dialogs::FindItem(dialog, "Search"), {});
    Headless::Type("word");
    Headless::Key(dialog.WindowHandle, Platform::KeyCode::Return);
    Events::Event event;
    while (Events::GetNextEvent(event)) Dialogs::HandleEvent(event);
    for (const char* const want : {"One", "Three", "One", "One", "Three"}) {
        Dialogs::PressItem(dialog, Dialogs::FindItem(dialog, "FindNext"), {});
        EXPECT_EQ(title(), want);
    }
    ASSERT_TRUE(Dialogs::EnterText(Dialogs::Item(dialog, Dialogs::FindItem(dialog, "Search")), "nothing"));
    for (int i = 0; i < 3; ++i) Dialogs::PressItem(dialog, Dialogs::FindItem(dialog, "FindNext"), {});
    EXPECT_EQ(title(), "Two");
    EXPECT_EQ(Said.Shown.find("not found"), std::string::npos); // the one place again and again
}

TEST_F(HelpTest, WhatCannotBeReadIsSaidAndLeavesTheHelpThatWasThere) {
    ASSERT_TRUE(Load("== Good\ntext\n"));
    EXPECT_FALSE(Load(""));
    EXPECT_FALSE(Load("\n \t\n"));
    EXPECT_FALSE(Help::Load(Folder.At("none.hlp")));
    EXPECT_NE(Said.Notes.find("file is empty."), std::string::npos);
    EXPECT_EQ(Help::Sections().size(), 1u);
    // Any bytes, and more tips and sections than there is room for.
    std::string much("\xff\xfe\x00 == \x80\n", 9);
    for (int i = 0; i < 5000; ++i)
        much += "TIP D I" + std::to_string(i) + " t\n== S" + std::to_string(i) + "\nx\n";
    EXPECT_TRUE(Load(much));
    EXPECT_NE(Said.Notes.find(" ## Error: too many tool tips ## "), std::string::npos);
    EXPECT_LE(Help::Sections().size(), 250u);
    EXPECT_TRUE(Help::Show("S249"));
}
