#include "ui/desk.h"

namespace {

using Dialogs::DialogRecord;
using Platform::KeyCode;
using Support::Calls;
using Support::Desk;
using Support::Names;
using enum Dialogs::ItemKind;

class EditingTest : public Desk {
protected:
    double Number = 1;
    std::string Text = "before";

    DialogRecord& OpenEntries(bool strict) {
        return Open({{.Kind = FramedNumber,
                      .Name = "N",
                      .Value = &Number,
                      .Form = {.Unit = "V", .Low = 0, .High = 10, .Strict = strict}},
                     {.Kind = FramedText, .Name = "T", .Value = &Text},
                     {.Kind = Button, .Name = "B", .Key = {.Class = Events::KeyClass::Special, .Char = 68}}});
    }
    static Headless::TextBox& Box() { return Headless::Desktop().TextBoxes.begin()->second; }
};

TEST_F(EditingTest, AnEntryIsStoredHoweverItIsLeftButByEscape) {
    DialogRecord& dialog = OpenEntries(false);
    std::string lines;
    DialogRecord& other = Open(
        {{.Kind = Button, .Name = "O"}, {.Kind = EditText, .Name = "E", .Value = &lines, .Lines = true}});
    const struct {
        const char* How;
        std::function<void()> Leave;
    } rows[] = {{"Return", [&] { Key(dialog, KeyCode::Return); }},
                {"Enter", [&] { Key(dialog, KeyCode::Enter); }},
                {"Tab", [&] { Key(dialog, KeyCode::Tab); }},
                {"a click on another item", [&] { Click(dialog, 3); }},
                {"a click on another entry", [&] { Click(dialog, 2); }},
                {"a click beside",
                 [&] {
                     Click(dialog, {300, 200});
                 }},
                {"a click elsewhere", [&] { Click(other, 1); }},
                {"another window", [&] { Notify(other, Platform::FocusGained); }},
                {"typing in a box of lines",
                 [&] { Notify(other, Platform::TextBoxChanged, Dialogs::Item(other, 2).TextBox); }},
                {"a shortcut", [&] { Key(dialog, Platform::SpecialKey + 68); }},
                {"a macro", [&] { Dialogs::PressItem(dialog, 3, {.Source = Dialogs::Source::Macro}); }},
                {"the window put away",
                 [&] {
                     Dialogs::ShowDialog(dialog, false);
                     Dialogs::ShowDialog(dialog, true);
                 }},
                {"the end", [&] { Editing::LeaveAny(); }},
                {"Escape", [&] { Key(dialog, KeyCode::Escape); }}};
    for (const auto& row : rows) {
        Number = 1;
        Click(dialog, 1);
        Notify(dialog, Platform::FocusLost); // to another program, and back
        Notify(dialog, Platform::FocusGained);
        ASSERT_TRUE(Editing::IsUnderWay(dialog, 1)) << row.How;
        Headless::Type("7 V");
        row.Leave();
        EXPECT_EQ(Number, row.How == std::string("Escape") ? 1 : 7) << row.How;
        EXPECT_FALSE(Editing::IsUnderWay(dialog, 1)) << row.How;
        EXPECT_FALSE(Dialogs::Item(dialog, 1).Busy);
        Editing::LeaveAny();
        EXPECT_EQ(Headless::Desktop().TextBoxes.size(), 1u) << row.How;
    }
    Dialogs::CloseDialog(other);
}

TEST_F(EditingTest, WhatIsRefusedStaysUnlessTheUserGoesElsewhere) {
    DialogRecord& dialog = OpenEntries(true);
    for (const char* const wrong : {"abc", "11", "-1 V", "1e999", "NAN", ""}) {
        Click(dialog, 1);
        Headless::Type(wrong);
        Key(dialog, KeyCode::Return);
        Key(dialog, KeyCode::Tab);
        EXPECT_TRUE(Editing::IsUnderWay(dialog, 1)) << wrong;
        EXPECT_EQ(Box().Spec.Text, wrong);
        Click(dialog, 3);
        EXPECT_FALSE(Editing::IsUnderWay());
        EXPECT_EQ(Number, 1);
    }
    EXPECT_EQ(Calls, Names(6, "B:1"));
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
    Messages::HookTable hooks;
    int alerts = 0;
    // While the alert is shown, the desktop takes the window away.
    hooks.Alert = [&](std::string_view) {
        ++alerts;
        Dialogs::CloseDialog(dialog);
    };
    Messages::HookTable former = Messages::Install(hooks);
    Enter(dialog, 1, "99");
    EXPECT_EQ(alerts, 1);
    EXPECT_FALSE(dialog.IsOpen);
    EXPECT_FALSE(Editing::IsUnderWay());
    EXPECT_EQ(Number, 1);
    Messages::Install(std::move(former));
}

TEST_F(EditingTest, WhatIsNotChangedKeepsAllItsDigitsAndLetters) {
    DialogRecord& dialog = OpenEntries(false);
    Number = 1.23456;
    Enter(dialog, 1, "1.2 V"); // as it is shown
    Text = std::string(200, 'x');
    Click(dialog, 2); // more than the box holds
    Key(dialog, KeyCode::Return);
    EXPECT_EQ(Number, 1.23456);
    EXPECT_EQ(Text.size(), 200u);
    EXPECT_EQ(Calls, Names{});
    Enter(dialog, 1, "1.3");
    Enter(dialog, 2, "");
    EXPECT_EQ(Text, "");
    // A value that is no number is no change of itself.
    Number = std::numeric_limits<double>::quiet_NaN();
    Enter(dialog, 1, "NAN");
    EXPECT_EQ(Calls, (Names{"N:2", "T:2"}));
}

TEST_F(EditingTest, AnItemThatTakesNoEntryGetsNoCursor) {
    DialogRecord& dialog = OpenEntries(false);
    Dialogs::LockItem(dialog, 1, true);
    Dialogs::EnableItem(dialog, 2, false);
    for (const int number : {0, 1, 2, 3, 4}) Editing::Begin(dialog, number);
    EXPECT_FALSE(Editing::IsUnderWay());
    // Hidden while it is edited: the entry goes with it.
    Dialogs::EnableItem(dialog, 2, true);
    Editing::Begin(dialog, 2);
    Dialogs::ShowItem(dialog, 2, false);
    EXPECT_FALSE(Editing::IsUnderWay());
    EXPECT_TRUE(Headless::Desktop().TextBoxes.empty());
}

TEST_F(EditingTest, ABoxOfLinesStaysOpenAndFollowsItsValue) {
    std::string equation = "longer than it may be";
    const auto set = [](DialogRecord& self, int) {
        Dialogs::SetText(Dialogs::Item(self, 1), "tool");
        Dialogs::RedrawItem(self, 1);
    };
    DialogRecord& dialog =
        Open({{.Kind = EditText, .Name = "E", .Value = &equation, .TextLength = 10, .Lines = true},
              {.Kind = Button, .Name = "B", .Proc = set}});
    Dialogs::CloseDialog(dialog);
    EXPECT_EQ(equation, "longer than it may be") << "nobody has typed";
    ASSERT_TRUE(Dialogs::OpenDialog(dialog));
    Headless::Type("x+1\nand more than fits");
    Run();
    EXPECT_EQ(equation, "x+1\nand mo");
    EXPECT_EQ(Box().Spec.Text, equation) << "what is not stored is not shown";
    EXPECT_EQ(Calls.size(), 1u);
    Click(dialog, 2);
    EXPECT_EQ(Box().Spec.Text, "tool") << "what the tool sets is shown";
    Dialogs::UpdateDialog(dialog);
    EXPECT_EQ(equation, "tool") << "and does not fall back to what was typed";
    Headless::Type("typed");
    Dialogs::UpdateDialog(dialog);
    EXPECT_EQ(Box().Spec.Text, "typed") << "a redraw loses nothing that is typed";
    Dialogs::ShowItem(dialog, 1, false);
    EXPECT_EQ(equation, "typed");
    Dialogs::ShowItem(dialog, 1, true);
    EXPECT_EQ(Box().Spec.Text, "typed");
    Headless::Type("last");
    Dialogs::CloseDialog(dialog);
    EXPECT_EQ(equation, "last");
    ASSERT_TRUE(Dialogs::OpenDialog(dialog));
    Headless::Type("overtaken");
    equation = "tool";
    Dialogs::CloseDialog(dialog);
    EXPECT_EQ(equation, "tool");
    EXPECT_TRUE(Headless::Desktop().TextBoxes.empty());
}

TEST_F(EditingTest, APasswordShowsItsLengthOnly) {
    std::string word = "ab\u00b5";
    const DialogRecord& dialog = Open({{.Kind = EditText, .Name = "P", .Value = &word, .Password = true}});
    EXPECT_EQ(Shown(dialog), "***\n");
    Click(dialog, 1);
    EXPECT_TRUE(Box().Spec.Password);
    Editing::Cancel();
}

}
