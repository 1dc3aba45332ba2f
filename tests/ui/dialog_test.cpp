#include "ui/desk.h"

namespace {

using Dialogs::DialogRecord;
using Support::Calls;
using Support::Desk;
using Support::Names;
using enum Dialogs::ItemKind;

class DialogTest : public Desk {};

TEST_F(DialogTest, AnItemWhoseNameIsTakenOrMissingIsNotMade) {
    const DialogRecord& dialog = Open({{.Kind = Button, .Name = "Go"},
                                       {.Kind = Switch, .Name = "Go"},
                                       {.Kind = Button, .Name = "go"}, // case counts
                                       {.Kind = Button, .Name = ""},
                                       // The same number once more, refused: the first one stays what it is.
                                       {.Number = 3, .Kind = List, .Name = "Go", .Level = 9}},
                                      {.NamesRequired = true});
    const bool made[] = {true, false, true, false};
    for (int i = 1; i <= 4; ++i) EXPECT_EQ(Dialogs::HasItem(dialog, i), made[i - 1]) << i;
    EXPECT_EQ(Dialogs::Item(dialog, 3).Kind, Button);
    EXPECT_EQ(Dialogs::Item(dialog, 3).UserLevel, 0);
    EXPECT_TRUE(Said.Notes.starts_with("Tool 0[2]: same name as item[1]: \"Go\"\n"
                                       "Tool 0[4]: ItemName cannot be empty.\n"))
        << Said.Notes;
    EXPECT_EQ(Dialogs::FindItem(dialog, "GO"), 0);
    EXPECT_EQ(Dialogs::FindItemFolded(dialog, "GO"), 1);
}

TEST_F(DialogTest, NumbersOutsideOfTheArrayAreIgnored) {
    DialogRecord unset;
    EXPECT_FALSE(Dialogs::OpenDialog(unset));
    for (DialogRecord* dialog : {&Open({{.Kind = Button, .Name = "Go"}}, {.Count = 2}), &unset})
        for (const int number : {-1, 0, 3, 40000}) {
            EXPECT_FALSE(Dialogs::SetItem(*dialog, number, Button, "x", false, "", 0, 0, 10, 10));
            Dialogs::SetItemNumber(*dialog, number, {}, Dialogs::ValueKind::Real64);
            Dialogs::SetItemProc(*dialog, number, {}, Support::Called);
            Dialogs::SetItemKey(*dialog, number, {});
            Dialogs::LockItem(*dialog, number, true);
            Dialogs::EnableItem(*dialog, number, false);
            Dialogs::SetItemText(*dialog, number, "x");
            Dialogs::RedrawItem(*dialog, number);
            Dialogs::PressItem(*dialog, number, {});
            EXPECT_FALSE(Dialogs::Activate(*dialog, number, {}));
        }
    EXPECT_TRUE(Dialogs::Item(Records[0], 0).Enabled);
}

TEST_F(DialogTest, ABufferIsMadeOnce) {
    DialogRecord& first = Set({}, {.BufferName = "A/b c"});
    DialogRecord other;
    EXPECT_FALSE(Dialogs::SetupDialogBuffer(other, {.Title = "Other", .BufferName = "A b/c"}));
    // A record that is in use keeps its place in the list.
    EXPECT_FALSE(Dialogs::SetupDialogBuffer(first, {.Title = "New"}));
    EXPECT_EQ(Dialogs::FirstDialog(), &first);
    ASSERT_TRUE(Dialogs::OpenDialog(first));
    EXPECT_FALSE(Dialogs::SetupDialogBuffer(first, {.Title = "New"}));
    EXPECT_EQ(Said.Alerts, "Dialog buffer \"DialBufferA_b_c\" already exists!\n"
                           "Dialog buffer \"DialBufferA_b_c\" already exists!\n"
                           "Cannot initialize \"New\": already open!\n");
    EXPECT_FALSE(Dialogs::SetupDialogBuffer(other, {.Title = "Many", .Count = 40000}));
    for (const char* const none : {"DialBufferNew", "DialBufferMany"}) EXPECT_FALSE(Buffer::Exists(none));
    Clear();
    EXPECT_FALSE(Buffer::Exists("DialBufferA_b_c"));
    EXPECT_EQ(Set({}, {.Title = std::string(50, 'n')}).BufferName.size(), 31u);
}

TEST_F(DialogTest, IDNamesThatDifferByCaseCollide) {
    DialogRecord& first = Set({}, {.Title = "First", .IDName = "Fit"});
    DialogRecord& second = Set({}, {.Title = "Second", .IDName = "FIT"});
    DialogRecord& third = Set({}, {.IDName = "My \"Fit\""});
    EXPECT_EQ(Said.Notes, "ID-name \"FIT\" (Second) is already taken: \n  Fit -> First\n"
                          "ID-name \"My \"Fit\"\" should not contain quotes or spaces!\n");
    EXPECT_EQ(Dialogs::FindDialog("fit"), &first);
    EXPECT_EQ(second.DialogIDName, "");
    EXPECT_EQ(Dialogs::FindDialog("my \"fit\""), &third) << "it is not refused";
    EXPECT_EQ(Dialogs::FindDialog(""), nullptr);
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
    DialogRecord& dialog = Open({{.Kind = Switch, .Name = "S", .Value = &on},
                                 {.Kind = RadioButton, .Name = "R0", .Value = &radio[0]},
                                 {.Kind = RadioButton, .Name = "R1", .Value = &radio[1]},
                                 {.Kind = List, .Name = "L", .Value = &index, .Entries = Entries},
                                 {.Kind = MultiCheck, .Name = "M", .Value = &set},
                                 {.Kind = FramedNumber, .Name = "N", .Value = &number},
                                 {.Kind = Drag, .Name = "D", .Value = &number},
                                 {.Kind = FramedText, .Name = "T", .Value = &text},
                                 {.Kind = Pane, .Name = "P", .Page = 2}});
    Dialogs::ItemHooks = {.Before = [](DialogRecord&, int) { return !refuse; },
                          .After = [](DialogRecord&, int) { ++after; }};
    for (const bool refused : {true, false}) {
        refuse = refused;
        Click(dialog, 1);
        Click(dialog, 3);
        Choose(dialog, 4, 2);
        Click(dialog, 5);
        Enter(dialog, 6, "5");
        Pull(dialog, Middle(dialog, 7), 40, 0);
        Enter(dialog, 8, "new");
        Click(dialog, 9);
        EXPECT_EQ(on, !refused);
        EXPECT_EQ(radio[0], refused);
        EXPECT_EQ(radio[1], !refused);
        EXPECT_EQ(index, refused ? 0 : 1);
        EXPECT_EQ(set, refused ? 1 : 3);
        EXPECT_EQ(number, refused ? 1 : 15); // 5, and 40 pixels of a quarter step
        EXPECT_EQ(text, refused ? std::string(100, 't') : "new");
        EXPECT_EQ(dialog.CurrentPage, refused ? 0 : 2);
        EXPECT_EQ(after, refused ? 0 : 8);
    }
    EXPECT_EQ(Calls, (Names{"S:1", "R1:1", "L:1", "M:1", "N:2", "D:1", "T:2", "P:1"}));
}

TEST_F(DialogTest, AProcedureThatPressesAnotherItemIsStillItself) {
    static std::string told;
    told.clear();
    const auto inner = [](DialogRecord&, int) { told += std::to_string(Dialogs::Current.Item) + " "; };
    const auto outer = [](DialogRecord& self, int) {
        Dialogs::PressItem(self, 2, {.Source = Dialogs::Source::Macro});
        told += std::to_string(Dialogs::Current.Item) + " ";
    };
    DialogRecord& dialog = Open(
        {{.Kind = Button, .Name = "Outer", .Proc = outer}, {.Kind = Button, .Name = "Inner", .Proc = inner}});
    Click(dialog, 1);
    EXPECT_EQ(told, "2 1 ");
    EXPECT_EQ(Dialogs::Current.Dialog, nullptr);
}

TEST_F(DialogTest, ClosingRunsTheProcedureOnceAndStoresWhatIsEntered) {
    static int closed;
    closed = 0;
    double number = 1;
    const auto close = [](DialogRecord& self, const Events::Event&) {
        ++closed;
        Dialogs::CloseDialog(self); // a tool that closes whatever happens
        EXPECT_TRUE(self.IsOpen) << "items and window are there until it is done";
        return true;
    };
    DialogRecord& dialog = Open({{.Kind = FramedNumber, .Name = "N", .Value = &number}},
                                {.Window = Platform::WindowKind::Floating, .Procs = {.CloseProc = close}});
    Click(dialog, 1);
    Headless::Type("7");
    Notify(dialog, Platform::CloseRequested);
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
}

TEST_F(DialogTest, ADialogComesUpAgainAsItWasLeft) {
    DialogRecord& dialog = Open(
        {{.Kind = Button, .Name = "B", .At = {10, 10, 50, 30}, .Anchor = Dialogs::ToRight | Dialogs::ToTop},
         {.Kind = FramedNumber,
          .Name = "N",
          .At = {10, 120, 50, 20},
          .Value = Dialogs::ValueRef(Dialogs::ValueKind::Real64)}},
        {.Window = Platform::WindowKind::Floating});
    Enter(dialog, 2, "3.5");
    Resize(dialog, {500, 300});
    const auto again = [&](const Dialogs::Rect& place) {
        EXPECT_EQ(Dialogs::Item(dialog, 1).ItemRect, place);
        Dialogs::CloseDialog(dialog);
        ASSERT_TRUE(Dialogs::OpenDialog(dialog));
        EXPECT_EQ(Dialogs::Item(dialog, 1).ItemRect, place);
        EXPECT_EQ(Platform::Ops().ContentSize(dialog.WindowHandle), (Platform::Size{500, 300}));
        EXPECT_EQ(Dialogs::NumberOf(Dialogs::Item(dialog, 2)), 3.5);
    };
    again({110, 10, 160, 40});
    Pull(dialog, {120, 20}, -50, 60, Platform::Option);
    again({60, 70, 110, 100}); // where the user has moved it
    Resize(dialog, {400, 300});
    EXPECT_EQ(Dialogs::Item(dialog, 1).ItemRect, (Dialogs::Rect{-40, 70, 10, 100}));
}

TEST_F(DialogTest, ItemsKeepTheirDistanceFromTheEdgesTheyHoldOnTo) {
    using namespace Dialogs;
    const struct {
        const char* Name;
        unsigned Anchor;
        Rect Larger, Smaller;
    } rows[] = {{"a", ToLeft | ToTop, {100, 100, 200, 150}, {100, 100, 200, 150}},
                {"b", ToRight | ToTop, {150, 100, 250, 150}, {-290, 100, -190, 150}},
                {"c", ToLeft | ToRight | ToBottom, {100, 70, 250, 120}, {100, -190, 100, -140}},
                {"d", ToLeft | ToRight | ToTop | ToBottom, {100, 100, 250, 120}, {100, 100, 100, 100}}};
    std::vector<Row> items;
    for (const auto& row : rows)
        items.push_back({.Kind = Button,
                         .Name = row.Name,
                         .At = {100, 100, 100, 50},
                         .Anchor = static_cast<std::uint8_t>(row.Anchor)});
    DialogRecord& dialog = Open(items);
    // However small: no item turns over, and the first size brings the first places back.
    for (const int step : {0, 1, 2}) {
        Resize(dialog, step == 0   ? Platform::Size{450, 270}
                       : step == 1 ? Platform::Size{10, 10}
                                   : Platform::Size{400, 300});
        for (int i = 0; i < 4; ++i)
            EXPECT_EQ(Item(dialog, i + 1).ItemRect, step == 0   ? rows[i].Larger
                                                    : step == 1 ? rows[i].Smaller
                                                                : (Rect{100, 100, 200, 150}))
                << i << " " << step;
    }
}

TEST_F(DialogTest, ADialogThatGoesTakesNothingElseWithIt) {
    DialogRecord& first = Open({{.Kind = Button, .Name = "B"}});
    const DialogRecord& second = Open({});
    Pull(first, {10, 10}, 5, 5, Platform::Option);
    ASSERT_TRUE(Dialogs::CanUndoMove());
    Dialogs::DisposeDialog(first);
    EXPECT_FALSE(Dialogs::UndoMove());
    EXPECT_EQ(Dialogs::FirstDialog(), &second);
    EXPECT_EQ(second.NextDialog, nullptr);
    EXPECT_EQ(Headless::Desktop().Windows.size(), 1u);
}

TEST_F(DialogTest, AModalDialogHoldsUpTheOthersUntilItIsClosed) {
    const auto close = [](DialogRecord& self, int) { Dialogs::CloseDialog(self); };
    DialogRecord& tool =
        Open({{.Kind = Button,
               .Name = "Tool",
               .Key = {.Class = Events::KeyClass::Printable, .Char = 't', .FrontOnly = false}}});
    DialogRecord& modal = Open({{.Kind = Button, .Name = "Done", .Proc = close}},
                               {.Modal = true, .Window = Platform::WindowKind::Modal});
    static DialogRecord *toolNow, *modalNow;
    static int steps;
    toolNow = &tool;
    modalNow = &modal;
    steps = 0;
    Dialogs::EventStep = [] {
        switch (++steps) {
        case 1: Click(*toolNow, 1); break;
        case 2: Key(*toolNow, 't'); break;
        case 3: Key(*modalNow, 't'); break;
        case 4: Resize(*toolNow, {500, 300}); break;
        case 5:
            Pull(*modalNow, {5, 5}, 85, 85, Platform::Option);
            EXPECT_EQ(Dialogs::Item(*modalNow, 1).ItemRect.Left, 0) << "nothing of a modal dialog is moved";
            break;
        default: Click(*modalNow, 1); break;
        }
    };
    Dialogs::BringToFront(tool);
    Dialogs::RunModal(modal);
    EXPECT_EQ(steps, 6);
    EXPECT_EQ(tool.WindowRect.Width(), 500) << "what windows tell is heard";
    EXPECT_EQ(Calls, Names{});
    Key(tool, 't');
    EXPECT_EQ(Calls.size(), 1u);
}

}
