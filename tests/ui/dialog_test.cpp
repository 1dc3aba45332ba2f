#include "ui/desk.h"

namespace {

using Dialogs::DialogRecord;
using Dialogs::ItemKind;
using Dialogs::Row;
using Support::Called;
using Support::Calls;
using Support::Desk;

class DialogTest : public Desk {};

TEST_F(DialogTest, AnItemWhoseNameIsTakenOrMissingIsNotMade) {
    const DialogRecord& dialog = Open({{.Number = 1, .Kind = ItemKind::Button, .Name = "Go"},
                                       {.Number = 2, .Kind = ItemKind::Switch, .Name = "Go"},
                                       {.Number = 3, .Kind = ItemKind::Button, .Name = "go"},
                                       {.Number = 4, .Kind = ItemKind::Button, .Name = ""},
                                       // The same number once more, refused: the first one stays what it is.
                                       {.Number = 3, .Kind = ItemKind::List, .Name = "Go", .Level = 9}},
                                      {.NamesRequired = true});
    EXPECT_TRUE(Dialogs::HasItem(dialog, 1));
    EXPECT_FALSE(Dialogs::HasItem(dialog, 2));
    EXPECT_TRUE(Dialogs::HasItem(dialog, 3)) << "case counts";
    EXPECT_FALSE(Dialogs::HasItem(dialog, 4));
    EXPECT_EQ(Dialogs::Item(dialog, 3).Kind, ItemKind::Button);
    EXPECT_EQ(Dialogs::Item(dialog, 3).UserLevel, 0);
    EXPECT_NE(Said.Notes.find("Tool 0[2]: same name as item[1]: \"Go\"\n"), std::string::npos) << Said.Notes;
    EXPECT_NE(Said.Notes.find("Tool 0[4]: ItemName cannot be empty.\n"), std::string::npos);
    EXPECT_EQ(Dialogs::FindItem(dialog, "GO"), 0);
    EXPECT_EQ(Dialogs::FindItemFolded(dialog, "GO"), 1);
}

TEST_F(DialogTest, NumbersOutsideOfTheArrayAreIgnored) {
    DialogRecord& dialog = Open({{.Number = 1, .Kind = ItemKind::Button, .Name = "Go"}}, {.Count = 2});
    for (const int number : {-1, 0, 3, 40000}) {
        EXPECT_FALSE(Dialogs::SetItem(dialog, number, ItemKind::Button, "x", false, "", 0, 0, 10, 10));
        Dialogs::SetItemNumber(dialog, number, {}, Dialogs::ValueKind::Real64);
        Dialogs::SetItemProc(dialog, number, {}, Called);
        Dialogs::SetItemKey(dialog, number, {});
        Dialogs::LockItem(dialog, number, true);
        Dialogs::EnableItem(dialog, number, false);
        Dialogs::SetItemText(dialog, number, "x");
        Dialogs::RedrawItem(dialog, number);
        Dialogs::PressItem(dialog, number, {});
        EXPECT_FALSE(Dialogs::Activate(dialog, number, {}));
    }
    EXPECT_TRUE(Dialogs::Item(dialog, 0).Enabled);
    DialogRecord unset;
    EXPECT_FALSE(Dialogs::OpenDialog(unset));
    EXPECT_FALSE(Dialogs::SetItem(unset, 1, ItemKind::Button, "x", false, "", 0, 0, 10, 10));
    Dialogs::PressItem(unset, 1, {});
}

TEST_F(DialogTest, ABufferIsMadeOnce) {
    DialogRecord& first = Set({}, {.BufferName = "A/b c"});
    EXPECT_EQ(first.BufferName, "DialBufferA_b_c");
    DialogRecord other;
    EXPECT_FALSE(Dialogs::SetupDialogBuffer(other, {.Title = "Other", .BufferName = "A b/c"}));
    EXPECT_EQ(Said.Alerts, "Dialog buffer \"DialBufferA_b_c\" already exists!\n");
    EXPECT_FALSE(other.Items);
    Said.Alerts.clear();
    // A record that is in use keeps its place in the list.
    EXPECT_FALSE(Dialogs::SetupDialogBuffer(first, {.Title = "New", .BufferName = "New"}));
    EXPECT_EQ(Dialogs::FirstDialog(), &first);
    EXPECT_FALSE(Buffer::Exists("DialBufferNew"));
    ASSERT_TRUE(Dialogs::OpenDialog(first));
    Said.Alerts.clear();
    EXPECT_FALSE(Dialogs::SetupDialogBuffer(first, {.Title = "New"}));
    EXPECT_EQ(Said.Alerts, "Cannot initialize \"New\": already open!\n");
    EXPECT_FALSE(Dialogs::SetupDialogBuffer(other, {.Title = "Many", .Count = 40000}));
    EXPECT_FALSE(Buffer::Exists("DialBufferMany"));
    Dialogs::DisposeDialog(first);
    EXPECT_FALSE(Buffer::Exists("DialBufferA_b_c"));
    DialogRecord named;
    const std::string longName(50, 'n');
    ASSERT_TRUE(Dialogs::SetupDialogBuffer(named, {.Title = longName}));
    EXPECT_EQ(named.BufferName.size(), 31u);
    Dialogs::DisposeDialog(named);
}

TEST_F(DialogTest, IDNamesThatDifferByCaseCollide) {
    DialogRecord& first = Set({}, {.Title = "First", .IDName = "Fit"});
    DialogRecord& second = Set({}, {.Title = "Second", .IDName = "FIT"});
    EXPECT_EQ(Said.Notes, "ID-name \"FIT\" (Second) is already taken: \n  Fit -> First\n");
    EXPECT_EQ(Dialogs::FindDialog("fit"), &first);
    EXPECT_EQ(second.DialogIDName, "");
    EXPECT_EQ(Dialogs::FindDialog(""), nullptr);
    Said.Notes.clear();
    DialogRecord& third = Set({}, {.IDName = "My \"Fit\""});
    EXPECT_EQ(Said.Notes, "ID-name \"My \"Fit\"\" should not contain quotes or spaces!\n");
    EXPECT_EQ(Dialogs::FindDialog("my \"fit\""), &third) << "it is not refused";
}

TEST_F(DialogTest, AnActivationThatIsRefusedLeavesTheValue) {
    static bool refuse;
    static int after;
    after = 0;
    bool on = false, radio[2] = {true, false};
    std::uint8_t index = 0;
    std::uint16_t set = 1;
    double number = 1;
    std::string text(100, 't'); // longer than what can be typed
    static constexpr const char* Entries[] = {"a", "b"};
    DialogRecord& dialog = Open({{.Number = 1,
                                  .Kind = ItemKind::Switch,
                                  .Name = "S",
                                  .At = {0, 0, 50, 20},
                                  .Value = &on,
                                  .Proc = Called},
                                 {.Number = 2,
                                  .Kind = ItemKind::RadioButton,
                                  .Name = "R0",
                                  .At = {0, 20, 50, 20},
                                  .Value = &radio[0],
                                  .Proc = Called},
                                 {.Number = 3,
                                  .Kind = ItemKind::RadioButton,
                                  .Name = "R1",
                                  .At = {0, 40, 50, 20},
                                  .Value = &radio[1],
                                  .Proc = Called},
                                 {.Number = 4,
                                  .Kind = ItemKind::List,
                                  .Name = "L",
                                  .At = {0, 60, 50, 20},
                                  .Value = &index,
                                  .Entries = Entries,
                                  .Proc = Called},
                                 {.Number = 5,
                                  .Kind = ItemKind::MultiCheck,
                                  .Name = "M",
                                  .At = {0, 80, 52, 20},
                                  .Value = &set,
                                  .Proc = Called},
                                 {.Number = 6,
                                  .Kind = ItemKind::FramedNumber,
                                  .Name = "N",
                                  .At = {0, 100, 50, 20},
                                  .Value = &number,
                                  .Proc = Called},
                                 {.Number = 7,
                                  .Kind = ItemKind::Drag,
                                  .Name = "D",
                                  .At = {0, 120, 50, 20},
                                  .Value = &number,
                                  .Proc = Called},
                                 {.Number = 8,
                                  .Kind = ItemKind::FramedText,
                                  .Name = "T",
                                  .At = {0, 140, 50, 20},
                                  .Value = &text,
                                  .Proc = Called},
                                 {.Number = 9,
                                  .Kind = ItemKind::Pane,
                                  .Name = "P",
                                  .At = {0, 160, 50, 20},
                                  .Proc = Called,
                                  .Page = 2}});
    Dialogs::ItemHooks = {.Before = [](DialogRecord&, int) { return !refuse; },
                          .After = [](DialogRecord&, int) { ++after; }};
    const auto press = [&] {
        for (const int item : {1, 3}) Click(dialog, item);
        Headless::Desktop().Answers = {2};
        Click(dialog, 4);
        Click(dialog, 5);
        Enter(dialog, 6, "5");
        Drag(dialog, Middle(dialog, 7), 40, 0);
        Enter(dialog, 8, "new");
        Click(dialog, 9);
    };
    refuse = true;
    press();
    EXPECT_FALSE(on);
    EXPECT_TRUE(radio[0]);
    EXPECT_FALSE(radio[1]);
    EXPECT_EQ(index, 0);
    EXPECT_EQ(set, 1);
    EXPECT_EQ(number, 1);
    EXPECT_EQ(text, std::string(100, 't'));
    EXPECT_EQ(dialog.CurrentPage, 0);
    EXPECT_TRUE(Calls.empty());
    EXPECT_EQ(after, 0);
    refuse = false;
    press();
    EXPECT_TRUE(on);
    EXPECT_FALSE(radio[0]);
    EXPECT_TRUE(radio[1]);
    EXPECT_EQ(index, 1);
    EXPECT_EQ(set, 3);
    EXPECT_EQ(number, 15); // 5, and 40 pixels of a quarter step
    EXPECT_EQ(text, "new");
    EXPECT_EQ(dialog.CurrentPage, 2);
    EXPECT_EQ(after, 8);
    EXPECT_EQ(Calls, (std::vector<std::string>{"S:1", "R1:1", "L:1", "M:1", "N:2", "D:1", "T:2", "P:1"}));
}

TEST_F(DialogTest, AProcedureThatPressesAnotherItemIsStillItself) {
    static std::string told;
    told.clear();
    DialogRecord& dialog =
        Open({{.Number = 1,
               .Kind = ItemKind::Button,
               .Name = "Outer",
               .At = {0, 0, 50, 20},
               .Proc =
                   [](DialogRecord& self, int) {
                       Dialogs::PressItem(self, 2, {.Source = Dialogs::Source::Macro});
                       told += std::to_string(Dialogs::Current.Item) + " ";
                   }},
              {.Number = 2,
               .Kind = ItemKind::Button,
               .Name = "Inner",
               .At = {0, 20, 50, 20},
               .Proc = [](DialogRecord&, int) { told += std::to_string(Dialogs::Current.Item) + " "; }}});
    Click(dialog, 1);
    EXPECT_EQ(told, "2 1 ");
    EXPECT_EQ(Dialogs::Current.Dialog, nullptr);
}

TEST_F(DialogTest, ClosingRunsTheProcedureOnceAndStoresWhatIsEntered) {
    static int closed;
    closed = 0;
    double number = 1;
    DialogRecord& dialog = Open(
        {{.Number = 1, .Kind = ItemKind::FramedNumber, .Name = "N", .At = {0, 0, 50, 20}, .Value = &number}},
        {.Window = Platform::WindowKind::Floating,
         .Procs = {.CloseProc = [](DialogRecord& self, const Events::Event&) {
             ++closed;
             Dialogs::CloseDialog(self); // a tool that closes whatever happens
             EXPECT_TRUE(self.IsOpen) << "items and window are there until it is done";
             return true;
         }}});
    Click(dialog, 1);
    Headless::Type("7");
    Headless::Notify(dialog.WindowHandle, Platform::CloseRequested);
    Run();
    EXPECT_EQ(closed, 1);
    EXPECT_EQ(number, 7);
    EXPECT_FALSE(dialog.IsOpen);
    EXPECT_TRUE(Headless::Desktop().Windows.empty());
    EXPECT_TRUE(Headless::Desktop().TextBoxes.empty());
    // An entry whose procedure closes the dialog: once as well.
    ASSERT_TRUE(Dialogs::OpenDialog(dialog));
    Dialogs::Item(dialog, 1).ItemProc = [](DialogRecord& self, int) { Dialogs::CloseDialog(self); };
    Click(dialog, 1);
    Headless::Type("8");
    Dialogs::CloseDialog(dialog);
    EXPECT_EQ(closed, 2);
    EXPECT_FALSE(dialog.IsOpen);
}

TEST_F(DialogTest, ADialogComesUpAgainAsItWasLeft) {
    DialogRecord& dialog = Open({{.Number = 1,
                                  .Kind = ItemKind::Button,
                                  .Name = "B",
                                  .At = {10, 10, 50, 30},
                                  .Anchor = Dialogs::ToRight | Dialogs::ToTop},
                                 {.Number = 2,
                                  .Kind = ItemKind::FramedNumber,
                                  .Name = "N",
                                  .At = {10, 50, 50, 20},
                                  .Value = Dialogs::ValueRef(Dialogs::ValueKind::Real64)}},
                                {.Window = Platform::WindowKind::Floating});
    Enter(dialog, 2, "3.5");
    Headless::Resize(dialog.WindowHandle, {500, 300});
    Run();
    EXPECT_EQ(Dialogs::Item(dialog, 1).ItemRect, (Dialogs::Rect{110, 10, 160, 40}));
    Dialogs::CloseDialog(dialog);
    ASSERT_TRUE(Dialogs::OpenDialog(dialog));
    EXPECT_EQ(Platform::Ops().ContentSize(dialog.WindowHandle), (Platform::Size{500, 300}));
    EXPECT_EQ(Dialogs::Item(dialog, 1).ItemRect, (Dialogs::Rect{110, 10, 160, 40}));
    EXPECT_EQ(Dialogs::NumberOf(Dialogs::Item(dialog, 2)), 3.5);
    // What the user has moved stays there.
    Drag(dialog, {120, 20}, -50, 60, Platform::Option);
    EXPECT_EQ(Dialogs::Item(dialog, 1).ItemRect, (Dialogs::Rect{60, 70, 110, 100}));
    Dialogs::CloseDialog(dialog);
    ASSERT_TRUE(Dialogs::OpenDialog(dialog));
    EXPECT_EQ(Dialogs::Item(dialog, 1).ItemRect, (Dialogs::Rect{60, 70, 110, 100}));
    Headless::Resize(dialog.WindowHandle, {400, 300});
    Run();
    EXPECT_EQ(Dialogs::Item(dialog, 1).ItemRect, (Dialogs::Rect{-40, 70, 10, 100}));
}

TEST_F(DialogTest, ItemsKeepTheirDistanceFromTheEdgesTheyHoldOnTo) {
    using namespace Dialogs;
    const struct {
        unsigned Anchor;
        Rect At;
    } rows[] = {
        {ToLeft | ToTop, {100, 100, 200, 150}},
        {ToRight | ToTop, {150, 100, 250, 150}},
        {ToLeft | ToRight | ToBottom, {100, 70, 250, 120}},
        {ToLeft | ToRight | ToTop | ToBottom, {100, 100, 250, 120}},
        {ToLeft | ToTop | ToBottom, {100, 100, 200, 120}},
    };
    std::vector<Row> items;
    for (const auto& row : rows) {
        static const char* const Names[] = {"a", "b", "c", "d", "e"};
        const int number = static_cast<int>(items.size()) + 1;
        items.push_back({.Number = number,
                         .Kind = ItemKind::Button,
                         .Name = Names[number - 1],
                         .At = {100, 100, 100, 50},
                         .Anchor = static_cast<std::uint8_t>(row.Anchor)});
    }
    DialogRecord& dialog = Open(items);
    Headless::Resize(dialog.WindowHandle, {450, 270});
    Run();
    for (int i = 0; i < 5; ++i) EXPECT_EQ(Item(dialog, i + 1).ItemRect, rows[i].At) << i;
    // However small: no item turns over, and the first size brings the first places back.
    Headless::Resize(dialog.WindowHandle, {10, 10});
    Run();
    for (int i = 1; i <= 5; ++i) {
        EXPECT_GE(Item(dialog, i).ItemRect.Width(), 0);
        EXPECT_GE(Item(dialog, i).ItemRect.Height(), 0);
    }
    Headless::Resize(dialog.WindowHandle, {400, 300});
    Run();
    for (int i = 1; i <= 5; ++i) EXPECT_EQ(Item(dialog, i).ItemRect, (Rect{100, 100, 200, 150}));
}

TEST_F(DialogTest, ADialogThatGoesTakesNothingElseWithIt) {
    DialogRecord& first = Open({{.Number = 1, .Kind = ItemKind::Button, .Name = "B", .At = {0, 0, 50, 20}}});
    const DialogRecord& second = Open({});
    Drag(first, {10, 10}, 5, 5, Platform::Option);
    ASSERT_TRUE(Dialogs::CanUndoMove());
    Dialogs::DisposeDialog(first);
    EXPECT_FALSE(Dialogs::UndoMove());
    EXPECT_EQ(Dialogs::FirstDialog(), &second);
    EXPECT_EQ(Dialogs::FirstDialog()->NextDialog, nullptr);
    EXPECT_EQ(Headless::Desktop().Windows.size(), 1u);
    Dialogs::DisposeAll();
    EXPECT_EQ(Dialogs::FirstDialog(), nullptr);
    EXPECT_TRUE(Headless::Desktop().Windows.empty());
}

TEST_F(DialogTest, AModalDialogHoldsUpTheOthersUntilItIsClosed) {
    DialogRecord& tool =
        Open({{.Number = 1,
               .Kind = ItemKind::Button,
               .Name = "Tool",
               .At = {0, 0, 50, 20},
               .Proc = Called,
               .Key = {.Class = Events::KeyClass::Printable, .Char = 't', .FrontOnly = false}}});
    DialogRecord& modal = Open({{.Number = 1,
                                 .Kind = ItemKind::Button,
                                 .Name = "Done",
                                 .At = {0, 0, 50, 20},
                                 .Proc = [](DialogRecord& self, int) { Dialogs::CloseDialog(self); }}},
                               {.Modal = true, .Window = Platform::WindowKind::Modal});
    static DialogRecord *toolNow, *modalNow;
    static int steps;
    toolNow = &tool;
    modalNow = &modal;
    steps = 0;
    Dialogs::EventStep = [] {
        switch (++steps) {
        case 1: Headless::Click(toolNow->WindowHandle, {5, 5}); break;
        case 2: Headless::Key(toolNow->WindowHandle, 't'); break;
        case 3: Headless::Key(modalNow->WindowHandle, 't'); break;
        case 4: Headless::Notify(toolNow->WindowHandle, Platform::Resized); break;
        case 5: Headless::Drag(modalNow->WindowHandle, {{5, 5}, {90, 90}, {90, 90}}, Platform::Option); break;
        default: Headless::Click(modalNow->WindowHandle, {5, 5}); break;
        }
        Run();
        if (steps == 5) {
            EXPECT_EQ(Dialogs::Item(*modalNow, 1).ItemRect.Left, 0) << "nothing of a modal dialog is moved";
        }
    };
    Dialogs::BringToFront(tool);
    Dialogs::RunModal(modal);
    EXPECT_EQ(steps, 6);
    EXPECT_TRUE(Calls.empty());
    Key(tool, 't');
    EXPECT_EQ(Calls.size(), 1u);
}

TEST_F(DialogTest, TheTitleIsItemZerosText) {
    DialogRecord& dialog = Open({});
    EXPECT_EQ(Headless::Desktop().Windows[dialog.WindowHandle].Title, "Tool 0");
    Dialogs::Item(dialog, 0).ItemText = "My tool";
    Dialogs::SetAside(dialog, "2 of 3");
    EXPECT_EQ(Headless::Desktop().Windows[dialog.WindowHandle].Title, "My tool");
    EXPECT_EQ(dialog.DialogName, "Tool 0");
}

}
