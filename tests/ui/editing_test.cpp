#include "ui/desk.h"

namespace {

using Dialogs::DialogRecord;
using Dialogs::ItemKind;
using Platform::KeyCode;
using Support::Called;
using Support::Calls;
using Support::Desk;

using Names = std::vector<std::string>;

class EditingTest : public Desk {
protected:
    double Number = 1;
    std::string Text = "before";

    DialogRecord& OpenEntries(bool strict) {
        return Open(
            {{.Number = 1,
              .Kind = ItemKind::FramedNumber,
              .Name = "N",
              .At = {0, 0, 80, 24},
              .Value = &Number,
              .Form = {.Unit = "V", .Low = 0, .High = 10, .Strict = strict},
              .Proc = Called},
             {.Number = 2,
              .Kind = ItemKind::FramedText,
              .Name = "T",
              .At = {0, 30, 80, 24},
              .Value = &Text,
              .Proc = Called},
             {.Number = 3, .Kind = ItemKind::Button, .Name = "B", .At = {0, 60, 80, 24}, .Proc = Called}});
    }
    static const Headless::TextBox& Box() { return Headless::Desktop().TextBoxes.begin()->second; }
};

TEST_F(EditingTest, AnEntryIsStoredHoweverItIsLeftButByEscape) {
    DialogRecord& dialog = OpenEntries(false);
    DialogRecord& other = Open({{.Number = 1, .Kind = ItemKind::Button, .Name = "O", .At = {0, 0, 80, 24}}});
    const struct {
        const char* How;
        std::function<void()> Leave;
        double Stored;
    } rows[] = {
        {"Return", [&] { Key(dialog, KeyCode::Return); }, 7},
        {"Enter", [&] { Key(dialog, KeyCode::Enter); }, 7},
        {"Tab", [&] { Key(dialog, KeyCode::Tab); }, 7},
        {"a click on another item", [&] { Click(dialog, 3); }, 7},
        {"a click on another entry", [&] { Click(dialog, 2); }, 7},
        {"a click beside",
         [&] {
             Headless::Click(dialog.WindowHandle, {300, 200});
             Run();
         },
         7},
        {"a click elsewhere", [&] { Click(other, 1); }, 7},
        {"a macro", [&] { Dialogs::PressItem(dialog, 3, {.Source = Dialogs::Source::Macro}); }, 7},
        {"the window put away",
         [&] {
             Dialogs::ShowDialog(dialog, false);
             Dialogs::ShowDialog(dialog, true);
         },
         7},
        {"the end", [&] { Editing::LeaveAny(); }, 7},
        {"Escape", [&] { Key(dialog, KeyCode::Escape); }, 1},
    };
    for (const auto& row : rows) {
        Number = 1;
        Click(dialog, 1);
        ASSERT_TRUE(Editing::IsUnderWay(dialog, 1)) << row.How;
        EXPECT_TRUE(Dialogs::Item(dialog, 1).Busy);
        EXPECT_EQ(Box().Spec.Text, "1.0");
        Headless::Type("7 V");
        row.Leave();
        EXPECT_EQ(Number, row.Stored) << row.How;
        EXPECT_FALSE(Editing::IsUnderWay(dialog, 1)) << row.How;
        EXPECT_FALSE(Dialogs::Item(dialog, 1).Busy);
        Editing::LeaveAny();
        EXPECT_TRUE(Headless::Desktop().TextBoxes.empty());
    }
}

TEST_F(EditingTest, WhatIsRefusedStaysUnlessTheUserGoesElsewhere) {
    DialogRecord& dialog = OpenEntries(true);
    for (const char* const wrong : {"abc", "11", "-1 V", "1e999", "NAN", ""}) {
        Click(dialog, 1);
        Headless::Type(wrong);
        Key(dialog, KeyCode::Return);
        EXPECT_TRUE(Editing::IsUnderWay(dialog, 1)) << wrong;
        EXPECT_EQ(Box().Spec.Text, wrong);
        Key(dialog, KeyCode::Tab);
        EXPECT_TRUE(Editing::IsUnderWay(dialog, 1)) << wrong;
        Click(dialog, 3);
        EXPECT_FALSE(Editing::IsUnderWay());
        EXPECT_EQ(Number, 1);
    }
    EXPECT_EQ(Calls, Names(6, "B:1"));
    EXPECT_NE(Said.Alerts.find("Number must be >= 0.00 and <= 10.00!\n"), std::string::npos);
    // Mended, it is taken.
    Click(dialog, 1);
    Headless::Type("11");
    Key(dialog, KeyCode::Return);
    Headless::Type("10");
    Key(dialog, KeyCode::Return);
    EXPECT_EQ(Number, 10);
}

TEST_F(EditingTest, AnAlertAboutAnEntryMayEndIt) {
    DialogRecord& dialog = OpenEntries(true);
    static DialogRecord* open;
    open = &dialog;
    Messages::HookTable hooks;
    int alerts = 0;
    // While the alert is shown, the desktop takes the window away.
    hooks.Alert = [&](std::string_view) {
        ++alerts;
        Dialogs::CloseDialog(*open);
    };
    Messages::HookTable former = Messages::Install(hooks);
    Click(dialog, 1);
    Headless::Type("99");
    Key(dialog, KeyCode::Return);
    EXPECT_EQ(alerts, 1);
    EXPECT_FALSE(dialog.IsOpen);
    EXPECT_FALSE(Editing::IsUnderWay());
    EXPECT_EQ(Number, 1);
    Messages::Install(std::move(former));
}

TEST_F(EditingTest, TheProcedureRunsWhenTheValueHasChanged) {
    DialogRecord& dialog = OpenEntries(false);
    Number = 1.23456;
    Enter(dialog, 1, "1.2 V"); // as it is shown
    EXPECT_EQ(Number, 1.23456);
    Enter(dialog, 2, "before");
    EXPECT_TRUE(Calls.empty());
    Enter(dialog, 1, "1.3");
    Enter(dialog, 2, "");
    EXPECT_EQ(Calls, (Names{"N:2", "T:2"}));
    EXPECT_EQ(Text, "");
    // A value that is no number is no change of itself.
    Number = std::numeric_limits<double>::quiet_NaN();
    Enter(dialog, 1, "NAN");
    EXPECT_EQ(Calls.size(), 2u);
}

TEST_F(EditingTest, AnItemThatTakesNoEntryGetsNoCursor) {
    DialogRecord& dialog = OpenEntries(false);
    Dialogs::LockItem(dialog, 1, true);
    Dialogs::EnableItem(dialog, 2, false);
    for (const int number : {0, 1, 2, 3, 4}) {
        Editing::Begin(dialog, number);
        EXPECT_FALSE(Editing::IsUnderWay()) << number;
    }
    EXPECT_TRUE(Editing::Commit());
    Editing::Cancel();
    Editing::Mark(3);
    // Hidden while it is edited: the entry goes with it.
    Dialogs::LockItem(dialog, 1, false);
    Editing::Begin(dialog, 1);
    Dialogs::ShowItem(dialog, 1, false);
    EXPECT_FALSE(Editing::IsUnderWay());
    EXPECT_TRUE(Headless::Desktop().TextBoxes.empty());
}

TEST_F(EditingTest, ABoxOfLinesStaysOpenAndFollowsItsValue) {
    std::string equation = "x";
    DialogRecord& dialog = Open({{.Number = 1,
                                  .Kind = ItemKind::EditText,
                                  .Name = "E",
                                  .At = {0, 0, 200, 100},
                                  .Value = &equation,
                                  .Proc = Called,
                                  .TextLength = 10,
                                  .Lines = true},
                                 {.Number = 2,
                                  .Kind = ItemKind::Button,
                                  .Name = "B",
                                  .At = {0, 110, 50, 24},
                                  .Proc = [](DialogRecord& self, int) {
                                      Dialogs::SetText(Dialogs::Item(self, 1), "tool");
                                      Dialogs::RedrawItem(self, 1);
                                  }}});
    ASSERT_EQ(Headless::Desktop().TextBoxes.size(), 1u);
    Headless::Type("x+1\nand more than fits");
    Run();
    EXPECT_EQ(equation, "x+1\nand mo");
    EXPECT_EQ(Calls.size(), 1u);
    Click(dialog, 2);
    EXPECT_EQ(Box().Spec.Text, "tool") << "what the tool sets is shown";
    Dialogs::UpdateDialog(dialog);
    EXPECT_EQ(equation, "tool") << "and does not fall back to what was typed";
    Headless::Type("typed");
    Dialogs::UpdateDialog(dialog);
    EXPECT_EQ(Box().Spec.Text, "typed") << "a redraw loses nothing that is typed";
    Dialogs::ShowItem(dialog, 1, false);
    EXPECT_TRUE(Headless::Desktop().TextBoxes.empty());
    EXPECT_EQ(equation, "typed");
    Dialogs::ShowItem(dialog, 1, true);
    EXPECT_EQ(Box().Spec.Text, "typed");
    Headless::Type("last");
    Dialogs::CloseDialog(dialog);
    EXPECT_EQ(equation, "last");
}

TEST_F(EditingTest, APasswordShowsItsLengthOnly) {
    std::string word = "ab\u00b5";
    const DialogRecord& dialog = Open({{.Number = 1,
                                        .Kind = ItemKind::EditText,
                                        .Name = "P",
                                        .At = {0, 0, 80, 24},
                                        .Value = &word,
                                        .Password = true}});
    EXPECT_NE(Shown(dialog).find("***\n"), std::string::npos);
    EXPECT_EQ(Shown(dialog).find("****"), std::string::npos);
    EXPECT_EQ(Shown(dialog).find("ab"), std::string::npos);
    Click(dialog, 1);
    EXPECT_TRUE(Box().Spec.Password);
    Editing::Cancel();
}

}
