#include "ui/desk.h"

#include <cmath>

namespace {

using Dialogs::DialogRecord;
using Dialogs::ItemKind;
using Dialogs::Row;
using Dialogs::Shortcut;
using Events::KeyClass;
using Platform::KeyCode;
using Support::Called;
using Support::Calls;
using Support::Desk;

using Names = std::vector<std::string>;

class DialogEventsTest : public Desk {};

Shortcut Printable(char c, std::uint8_t modifiers = 0, bool any = false, bool frontOnly = true) {
    return {.Class = KeyClass::Printable,
            .Char = static_cast<std::uint32_t>(c),
            .Modifiers = modifiers,
            .AnyModifier = any,
            .FrontOnly = frontOnly};
}

TEST_F(DialogEventsTest, AShortcutActsByItsModifiersAndInFrontOnly) {
    const DialogRecord& front =
        Open({{.Number = 1, .Kind = ItemKind::Button, .Name = "plain", .Proc = Called, .Key = Printable('a')},
              {.Number = 2,
               .Kind = ItemKind::Button,
               .Name = "control",
               .Proc = Called,
               .Key = Printable('a', Platform::Control)},
              {.Number = 3,
               .Kind = ItemKind::Button,
               .Name = "any",
               .Proc = Called,
               .Key = Printable('b', 0, true)},
              {.Number = 4,
               .Kind = ItemKind::Button,
               .Name = "F5",
               .Proc = Called,
               .Key = {.Class = KeyClass::Special, .Char = 68}},
              {.Number = 5,
               .Kind = ItemKind::Button,
               .Name = "ShiftF5",
               .Proc = Called,
               .Key = {.Class = KeyClass::Special, .Char = 68, .Modifiers = Platform::Shift}}});
    Open({{.Number = 1, .Kind = ItemKind::Button, .Name = "own", .Proc = Called, .Key = Printable('c')},
          {.Number = 2,
           .Kind = ItemKind::Button,
           .Name = "everywhere",
           .Proc = Called,
           .Key = Printable('d', 0, false, false)},
          {.Number = 3,
           .Kind = ItemKind::Button,
           .Name = "hidden by the front",
           .Proc = Called,
           .Key = Printable('a', 0, false, false)}});
    const struct {
        std::uint32_t Char, Modifiers;
        const char* Pressed; // "" none
    } rows[] = {
        {'a', 0, "plain"},
        {'a', Platform::Caps, "plain"},
        {'a', Platform::Control, "control"},
        {'a', Platform::Option, ""},
        {'A', Platform::Shift, ""},
        {'b', 0, "any"},
        {'B', Platform::Shift, "any"},
        {'b', Platform::Control | Platform::Option, "any"},
        {Platform::SpecialKey + 68, 0, "F5"},
        {Platform::SpecialKey + 68, Platform::Shift, "ShiftF5"},
        {68, 0, ""},
        {'c', 0, ""},
        {'d', 0, "everywhere"},
    };
    for (const auto& row : rows) {
        Calls.clear();
        Key(front, row.Char, row.Modifiers);
        EXPECT_EQ(Calls, *row.Pressed != 0 ? Names{row.Pressed + std::string(":2")} : Names{})
            << row.Char << " " << row.Modifiers;
    }
}

TEST_F(DialogEventsTest, TheHighestItemHasTheKeyAndALockedOneSwallowsIt) {
    DialogRecord& dialog =
        Open({{.Number = 1, .Kind = ItemKind::Button, .Name = "1", .Proc = Called, .Key = Printable('k')},
              {.Number = 2, .Kind = ItemKind::Button, .Name = "2", .Proc = Called, .Key = Printable('k')},
              {.Number = 3, .Kind = ItemKind::Button, .Name = "3", .Proc = Called, .Level = 5}});
    Dialogs::SetItemKey(dialog, 3, Printable('k'));
    EXPECT_EQ(dialog.LastKeyItem, 3);
    Key(dialog, 'k');
    Dialogs::UserLevel = 4;
    Key(dialog, 'k'); // an item that does not accept it lets it pass
    Dialogs::EnableItem(dialog, 2, false);
    Key(dialog, 'k');
    EXPECT_EQ(Calls, (Names{"3:2", "2:2", "1:2"}));
    Dialogs::EnableItem(dialog, 2, true);
    Dialogs::LockItem(dialog, 2, true);
    Key(dialog, 'k');
    EXPECT_EQ(Calls.size(), 3u) << "locked";
}

TEST_F(DialogEventsTest, ItemsThatAreNotToBeUsedTakeNeitherMouseNorKey) {
    DialogRecord& dialog =
        Open({{.Number = 1,
               .Kind = ItemKind::Button,
               .Name = "below",
               .At = {0, 0, 80, 40},
               .Proc = Called,
               .Key = Printable('k')},
              {.Number = 2, .Kind = ItemKind::Button, .Name = "last", .At = {0, 0, 80, 40}, .Proc = Called}});
    Dialogs::DialogItem& item = Dialogs::Item(dialog, 1);
    const struct {
        const char* What;
        void (*Set)(DialogRecord& dialog, Dialogs::DialogItem& item, bool on);
        bool Covers; // the item still takes the place under the mouse
    } rows[] = {
        {"locked", [](DialogRecord& d, Dialogs::DialogItem&, bool on) { Dialogs::LockItem(d, 1, on); }, true},
        {"disabled", [](DialogRecord& d, Dialogs::DialogItem&, bool on) { Dialogs::EnableItem(d, 1, !on); },
         false},
        {"hidden", [](DialogRecord& d, Dialogs::DialogItem&, bool on) { Dialogs::ShowItem(d, 1, !on); },
         false},
        {"not executable", [](DialogRecord&, Dialogs::DialogItem& i, bool on) { i.Executable = !on; }, true},
        {"above the user level",
         [](DialogRecord&, Dialogs::DialogItem& i, bool on) {
             i.UserLevel = on ? 255 : 0;
             Dialogs::UserLevel = 3;
         },
         true},
        {"on another page", [](DialogRecord&, Dialogs::DialogItem& i, bool on) { i.PaneHidden = on; }, false},
    };
    for (const auto& row : rows) {
        Calls.clear();
        row.Set(dialog, item, true);
        Click(dialog, 1);
        EXPECT_EQ(Calls, row.Covers ? Names{} : Names{"last:1"}) << row.What;
        Calls.clear();
        Key(dialog, 'k');
        Dialogs::PressItem(dialog, 1, {.Source = Dialogs::Source::Macro});
        EXPECT_TRUE(Calls.empty()) << row.What;
        row.Set(dialog, item, false);
        Click(dialog, 1);
        EXPECT_EQ(Calls, Names{"below:1"}) << row.What;
    }
}

TEST_F(DialogEventsTest, TogglesAndListsHaveTwoKeys) {
    static constexpr const char* Entries[] = {"a", "(b", "c"};
    static constexpr const char* Words[] = {"(off", "on"};
    bool both = false, one = false, stuck = true;
    std::uint8_t index = 0;
    const DialogRecord& dialog = Open({{.Number = 1,
                                        .Kind = ItemKind::List,
                                        .Name = "L",
                                        .At = {0, 0, 50, 20},
                                        .Value = &index,
                                        .Entries = Entries,
                                        .Proc = Called,
                                        .Key = Printable('l'),
                                        .Key2 = Printable('m', 0, true)},
                                       {.Number = 2,
                                        .Kind = ItemKind::TrueFalse,
                                        .Name = "both",
                                        .At = {0, 20, 50, 20},
                                        .Value = &both,
                                        .Proc = Called,
                                        .Key = Printable('t'),
                                        .Key2 = Printable('f')},
                                       {.Number = 3,
                                        .Kind = ItemKind::HighLow,
                                        .Name = "one",
                                        .At = {0, 40, 50, 20},
                                        .Value = &one,
                                        .Proc = Called,
                                        .Key = Printable('h')},
                                       {.Number = 4,
                                        .Kind = ItemKind::TrueFalse,
                                        .Name = "stuck",
                                        .At = {0, 60, 50, 20},
                                        .Value = &stuck,
                                        .Entries = Words,
                                        .Proc = Called,
                                        .Key = Printable('s')}});
    const struct {
        char Key;
        double Index;
        bool Both, One;
        std::size_t Calls;
    } rows[] = {
        {'l', 2, false, false, 1}, {'l', 2, false, false, 1}, {'M', 0, false, false, 2},
        {'m', 0, false, false, 2}, {'f', 0, false, false, 2}, {'t', 0, true, false, 3},
        {'t', 0, true, false, 3},  {'f', 0, false, false, 4}, {'h', 0, false, true, 5},
        {'h', 0, false, false, 6}, {'s', 0, false, false, 6},
    };
    for (const auto& row : rows) {
        Key(dialog, static_cast<std::uint32_t>(row.Key));
        EXPECT_EQ(index, row.Index) << row.Key;
        EXPECT_EQ(both, row.Both) << row.Key;
        EXPECT_EQ(one, row.One) << row.Key;
        EXPECT_EQ(Calls.size(), row.Calls) << row.Key;
    }
    EXPECT_TRUE(stuck) << "its other word is disabled";
    // The mouse changes a toggle in either direction.
    Click(dialog, 2);
    EXPECT_TRUE(both);
    Click(dialog, 2);
    EXPECT_FALSE(both);
    // A list opens; a disabled entry and the present one change nothing.
    for (const int answer : {2, 1, 0, 9}) {
        Headless::Desktop().Answers = {answer};
        Click(dialog, 1);
        EXPECT_EQ(index, 0) << answer;
    }
    Headless::Desktop().Answers = {3};
    Click(dialog, 1);
    EXPECT_EQ(index, 2);
}

TEST_F(DialogEventsTest, TabGoesRoundTheEntriesAndCursorKeysRoundAllItems) {
    double n = 0;
    std::string t;
    DialogRecord& dialog =
        Open({{.Number = 1, .Kind = ItemKind::Text, .Name = "label"},
              {.Number = 2, .Kind = ItemKind::FramedNumber, .Name = "n", .At = {0, 0, 50, 20}, .Value = &n},
              {.Number = 3, .Kind = ItemKind::Button, .Name = "b", .Proc = Called},
              {.Number = 4, .Kind = ItemKind::FramedText, .Name = "t", .At = {0, 30, 50, 20}, .Value = &t},
              {.Number = 5, .Kind = ItemKind::FramedText, .Name = "disabled", .Value = &t},
              {.Number = 6,
               .Kind = ItemKind::Button,
               .Name = "Fit",
               .Proc = Called,
               .Role = Dialogs::Role::Primary}});
    Dialogs::EnableItem(dialog, 5, false);
    Key(dialog, KeyCode::Return);
    EXPECT_EQ(Calls, Names{"Fit:2"}) << "without a focus, the primary button";
    const struct {
        KeyCode Code;
        std::uint32_t Modifiers;
        int Item;
    } rows[] = {
        {KeyCode::Tab, 0, 2},        {KeyCode::Tab, 0, 4},
        {KeyCode::Tab, 0, 2},        {KeyCode::Tab, Platform::Shift, 4},
        {KeyCode::Backtab, 0, 2},    {KeyCode::Escape, 0, 2},
        {KeyCode::CursorDown, 0, 3}, {KeyCode::CursorRight, 0, 4},
        {KeyCode::CursorDown, 0, 6}, {KeyCode::CursorDown, 0, 2},
        {KeyCode::CursorUp, 0, 6},   {KeyCode::CursorLeft, 0, 4},
        {KeyCode::CursorUp, 0, 3},
    };
    for (const auto& row : rows) {
        Key(dialog, row.Code, row.Modifiers);
        EXPECT_EQ(dialog.CurrentItem, row.Item);
    }
    Calls.clear();
    Key(dialog, ' ');
    Key(dialog, KeyCode::Return);
    EXPECT_EQ(Calls, (Names{"b:2", "b:2"}));
    // What is typed on an item with the focus begins its entry.
    Key(dialog, KeyCode::CursorUp);
    Key(dialog, '4');
    ASSERT_TRUE(Editing::IsUnderWay(dialog, 2));
    EXPECT_EQ(Headless::Desktop().TextBoxes.begin()->second.Spec.Text, "4");
    Key(dialog, KeyCode::Tab);
    EXPECT_EQ(n, 4);
    EXPECT_TRUE(Editing::IsUnderWay(dialog, 4));
    Editing::Cancel();
}

TEST_F(DialogEventsTest, ListsAndMultichecksWorkFromTheKeyboard) {
    static constexpr const char* Entries[] = {"a", "b"};
    std::uint8_t index = 1;
    std::uint16_t set = 0;
    DialogRecord& dialog = Open({{.Number = 1,
                                  .Kind = ItemKind::List,
                                  .Name = "L",
                                  .Value = &index,
                                  .Entries = Entries,
                                  .Proc = Called},
                                 {.Number = 2,
                                  .Kind = ItemKind::MultiCheck,
                                  .Name = "M",
                                  .At = {0, 30, 100, 20},
                                  .Value = &set,
                                  .Proc = Called}});
    Key(dialog, KeyCode::CursorDown);
    Headless::Desktop().Answers = {1};
    Key(dialog, ' ');
    EXPECT_EQ(index, 0);
    Key(dialog, KeyCode::CursorDown);
    for (const char c : {'0', '2', 'x', 'F', '2'}) Key(dialog, static_cast<std::uint32_t>(c));
    EXPECT_EQ(set, 0x8001);
    // There is room for three boxes; beside them nothing is changed.
    Headless::Click(dialog.WindowHandle, {30, 40});
    Run();
    EXPECT_EQ(set, 0x8003);
    Headless::Click(dialog.WindowHandle, {90, 40});
    Run();
    EXPECT_EQ(set, 0x8003);
}

TEST_F(DialogEventsTest, RadioButtonsOfAPageAreOneGroup) {
    bool on[5] = {true, false, false, true, false};
    std::vector<Row> rows;
    static const char* const Labels[] = {"a", "b", "c", "d", "e"};
    for (int i = 0; i < 5; ++i)
        rows.push_back({.Number = i + 1,
                        .Kind = ItemKind::RadioButton,
                        .Name = Labels[i],
                        .At = {0, i * 20.0, 50, 20},
                        .Value = &on[i],
                        .Page = static_cast<std::int16_t>(i < 3 ? 0 : 1)});
    DialogRecord& dialog = Open(rows);
    Dialogs::SelectPage(dialog, 1);
    Click(dialog, 2);
    EXPECT_TRUE(!on[0] && on[1] && !on[2] && on[3] && !on[4]);
    Click(dialog, 5);
    EXPECT_TRUE(on[1] && !on[3] && on[4]);
    Click(dialog, 5);
    EXPECT_TRUE(on[4]) << "one is always on";
}

TEST_F(DialogEventsTest, PanesShowTheirPage) {
    double n = 0;
    DialogRecord& dialog = Open(
        {{.Number = 1,
          .Kind = ItemKind::Pane,
          .Name = "P1",
          .Text = "One",
          .At = {0, 0, 50, 20},
          .Proc = Called,
          .Page = 1},
         {.Number = 2,
          .Kind = ItemKind::Pane,
          .Name = "P2",
          .Text = "Two",
          .At = {50, 0, 50, 20},
          .Proc = Called,
          .Page = 2},
         {.Number = 3,
          .Kind = ItemKind::FramedNumber,
          .Name = "N",
          .At = {0, 30, 50, 20},
          .Value = &n,
          .Proc = Called,
          .Page = 1},
         {.Number = 4,
          .Kind = ItemKind::Button,
          .Name = "B",
          .Text = "second",
          .At = {0, 30, 50, 20},
          .Proc = Called,
          .Page = 2},
         {.Number = 5, .Kind = ItemKind::Button, .Name = "all", .Text = "always", .At = {0, 60, 50, 20}}});
    Click(dialog, 1);
    EXPECT_TRUE(Dialogs::IsVisible(dialog, 3));
    EXPECT_EQ(Shown(dialog).find("second"), std::string::npos);
    Click(dialog, 3);
    Headless::Type("9");
    Click(dialog, 2);
    EXPECT_EQ(n, 9) << "an entry is stored before its page goes";
    EXPECT_FALSE(Editing::IsUnderWay());
    EXPECT_FALSE(Dialogs::IsVisible(dialog, 3));
    EXPECT_EQ(dialog.CurrentItem, 0);
    EXPECT_NE(Shown(dialog).find("second"), std::string::npos);
    EXPECT_NE(Shown(dialog).find("always"), std::string::npos);
    EXPECT_EQ(Calls, (Names{"P1:1", "N:2", "P2:1"}));
    Dialogs::PressItem(dialog, 3, {});
    EXPECT_FALSE(Editing::IsUnderWay());
}

TEST_F(DialogEventsTest, AScrollFrameMovesAndCutsItsItems) {
    std::vector<Row> rows{{.Number = 1,
                           .Kind = ItemKind::Pane,
                           .Name = "Frame",
                           .At = {10, 10, 200, 100},
                           .Anchor = Dialogs::ToLeft | Dialogs::ToTop | Dialogs::ToBottom}};
    static const char* const Labels[] = {"0", "1", "2", "3", "4", "5", "6", "7", "8", "9"};
    for (int i = 0; i < 10; ++i)
        rows.push_back({.Number = i + 2,
                        .Kind = ItemKind::Button,
                        .Name = Labels[i],
                        .At = {20, 10 + i * 30.0, 50, 30},
                        .Proc = Called});
    DialogRecord& dialog = Open(rows);
    for (int i = 2; i <= 11; ++i) Dialogs::Item(dialog, i).ScrollFrame = 1;
    Dialogs::UpdateDialog(dialog);
    Headless::Click(dialog.WindowHandle, {25, 150}); // of an item, but outside of the frame
    Run();
    EXPECT_TRUE(Calls.empty());
    Headless::Desktop().Mouse = {30, 30};
    const auto wheel = [&](std::int32_t steps, Platform::Point at) {
        (void)Events::Insert({.What = Platform::WindowEvent,
                              .X = static_cast<int>(at.X),
                              .Y = static_cast<int>(at.Y),
                              .Message = Platform::SystemWheel,
                              .Char = static_cast<std::uint32_t>(steps * 120),
                              .Window = dialog.WindowHandle,
                              .Detail = Platform::SystemEvent});
        Run();
        return Dialogs::ScrollOffset(dialog, 1);
    };
    EXPECT_EQ(wheel(1, {30, 30}), 0);
    EXPECT_EQ(wheel(-1, {30, 30}), 48);
    EXPECT_EQ(wheel(-1, {30, 130}), 48) << "outside of the frame";
    Headless::Click(dialog.WindowHandle, {25, 20});
    Run();
    EXPECT_EQ(Calls, Names{"1:1"});
    EXPECT_EQ(wheel(-100, {30, 30}), 200) << "to the last item";
    // Sizing the window keeps what is in view, as far as it can.
    Headless::Resize(dialog.WindowHandle, {400, 250});
    Run();
    EXPECT_EQ(Dialogs::ScrollOffset(dialog, 1), 200);
    Headless::Resize(dialog.WindowHandle, {400, 350});
    Run();
    EXPECT_EQ(Dialogs::ScrollOffset(dialog, 1), 150);
    Headless::Resize(dialog.WindowHandle, {400, 300});
    Run();
    // The focus brings its item into view.
    Dialogs::ScrollTo(dialog, 1, 0);
    for (int i = 0; i < 5; ++i) Key(dialog, KeyCode::CursorDown);
    EXPECT_EQ(dialog.CurrentItem, 6);
    EXPECT_EQ(Dialogs::Item(dialog, 6).ItemRect.Bottom, 110);
    Dialogs::ScrollTo(dialog, 7, 50);
    EXPECT_EQ(Dialogs::Item(dialog, 6).ItemRect.Bottom, 110) << "no frame";
}

TEST_F(DialogEventsTest, EscapeLeavesTheEntryThenTheDialog) {
    double n = 1;
    DialogRecord& dialog = Open({{.Number = 1,
                                  .Kind = ItemKind::FramedNumber,
                                  .Name = "N",
                                  .At = {0, 0, 50, 20},
                                  .Value = &n,
                                  .Proc = Called}},
                                {.Window = Platform::WindowKind::Floating});
    Click(dialog, 1);
    Headless::Type("5");
    Key(dialog, KeyCode::Escape);
    EXPECT_EQ(n, 1);
    EXPECT_TRUE(dialog.IsOpen);
    Key(dialog, KeyCode::Escape);
    EXPECT_FALSE(dialog.IsOpen);
    DialogRecord& fixed = Open({}, {.Window = Platform::WindowKind::Floating, .CloseBox = false});
    Key(fixed, KeyCode::Escape);
    Headless::Notify(fixed.WindowHandle, Platform::CloseRequested);
    Run();
    EXPECT_TRUE(fixed.IsOpen) << "forbids closing";
    DialogRecord& panel = Open({});
    Key(panel, KeyCode::Escape);
    EXPECT_TRUE(Platform::Ops().IsShown(panel.WindowHandle));
    Headless::Notify(panel.WindowHandle, Platform::CloseRequested);
    Run();
    EXPECT_TRUE(panel.IsOpen);
    EXPECT_FALSE(Platform::Ops().IsShown(panel.WindowHandle)) << "a panel is put away";
}

TEST_F(DialogEventsTest, EventsReachTheProceduresOfTheDialog) {
    static std::string seen;
    seen.clear();
    static constexpr auto note = [](const char* word, bool dealt) {
        seen += word;
        return dealt;
    };
    const Dialogs::DialogProcs procs{
        .DefaultProc = [](DialogRecord&, const Events::Event&) { return note("default ", true); },
        .ActivateProc = [](DialogRecord&, const Events::Event&) { return note("activate ", true); },
        .MouseProc =
            [](DialogRecord&, const Events::Event& e) {
                return note("mouse ", e.Button == Platform::LeftButton && e.At.X < 35);
            },
        .KeyProc = [](DialogRecord&, const Events::Event& e) { return note("key ", e.Char == 'x'); },
        .WindowProc = [](DialogRecord&, const Events::Event&) { return note("window ", true); },
        .UpdateProc = [](DialogRecord&, const Events::Event&) { return note("update ", false); },
        .ResizeProc = [](DialogRecord&, const Events::Event&) { return note("resize ", false); },
        .MoveProc = [](DialogRecord&, const Events::Event&) { return note("move ", true); },
        .IconizeProc = [](DialogRecord&, const Events::Event&) { return note("iconize ", true); }};
    DialogRecord& dialog = Open({{.Number = 1,
                                  .Kind = ItemKind::Button,
                                  .Name = "B",
                                  .At = {0, 0, 50, 20},
                                  .Proc = Called,
                                  .Key = Printable('x')},
                                 {.Number = 2,
                                  .Kind = ItemKind::Button,
                                  .Name = "C",
                                  .At = {0, 20, 50, 20},
                                  .Proc = Called,
                                  .Key = Printable('y')}},
                                {.Procs = procs});
    const Platform::WindowId window = dialog.WindowHandle;
    const auto see = [](const char* words) {
        Run();
        EXPECT_EQ(seen, words);
        seen.clear();
    };
    Headless::Notify(window, Platform::FocusGained);
    see("activate ");
    Headless::Notify(window, Platform::FocusLost);
    see("default ");
    Headless::Notify(window, Platform::Iconized, 1);
    see("iconize ");
    EXPECT_EQ(dialog.WindowState, 1);
    Platform::Ops().PlaceWindow(window, {30, 40, 420, 310});
    Headless::Notify(window, Platform::Moved);
    see("move ");
    EXPECT_EQ(dialog.WindowRect, (Dialogs::Rect{30, 40, 450, 350}));
    Headless::Resize(window, {430, 320});
    see("resize ");
    EXPECT_EQ(dialog.WindowRect, (Dialogs::Rect{30, 40, 460, 360}));
    (void)Events::Insert({.What = Platform::Update, .Window = window});
    see("update ");
    Headless::Notify(window, 9);
    see("window ");
    Headless::Key(window, 'x');
    see("key ");
    EXPECT_TRUE(Calls.empty()) << "the procedure has dealt with it";
    Headless::Key(window, 'y');
    see("key ");
    Headless::Key(window, 'z');
    see("key default ");
    Headless::Click(window, {2, 5});
    see("mouse ");
    Headless::Click(window, {20, 25});
    see("mouse ");
    EXPECT_EQ(Calls, (Names{"C:2", "C:1"}));
    // Other buttons are the tool's own.
    (void)Events::Insert(
        {.What = Platform::MouseDown, .X = 50, .Y = 65, .Window = window, .Detail = Platform::RightButton});
    see("mouse default ");
    EXPECT_EQ(Calls.size(), 2u);
}

TEST_F(DialogEventsTest, AShortcutStoresTheEntryThatIsUnderWay) {
    static double number;
    number = 1;
    DialogRecord& dialog =
        Open({{.Number = 1,
               .Kind = ItemKind::FramedNumber,
               .Name = "N",
               .At = {0, 0, 50, 20},
               .Value = &number,
               .Proc = Called},
              {.Number = 2,
               .Kind = ItemKind::Button,
               .Name = "Fit",
               .Proc = [](DialogRecord&, int) { Calls.push_back("fit " + std::to_string(number)); },
               .Key = {.Class = KeyClass::Special, .Char = 68}}});
    Click(dialog, 1);
    Headless::Type("6");
    Key(dialog, Platform::SpecialKey + 68);
    EXPECT_EQ(Calls, (Names{"N:2", "fit 6.000000"}));
}

TEST_F(DialogEventsTest, TipsAndPointersTellWhatIsUnderTheMouse) {
    double n = 0;
    DialogRecord& dialog =
        Open({{.Number = 1,
               .Kind = ItemKind::FramedNumber,
               .Name = "N",
               .At = {0, 0, 50, 20},
               .Value = &n,
               .Tip = "a number"},
              {.Number = 2, .Kind = ItemKind::Drag, .Name = "D", .At = {0, 20, 50, 20}, .Value = &n},
              {.Number = 3,
               .Kind = ItemKind::Text,
               .Name = "T",
               .Text = "a label that is much too long",
               .At = {0, 40, 50, 20}},
              {.Number = 4, .Kind = ItemKind::Text, .Name = "S", .Text = "short", .At = {0, 60, 50, 20}}});
    Platform::Area place;
    EXPECT_EQ(Dialogs::TipAt(dialog.WindowHandle, {5, 5}, place), "a number");
    EXPECT_EQ(place, (Platform::Area{0, 0, 50, 20}));
    EXPECT_EQ(Dialogs::TipAt(dialog.WindowHandle, {5, 45}, place), "a label that is much too long");
    EXPECT_EQ(Dialogs::TipAt(dialog.WindowHandle, {5, 65}, place), "");
    EXPECT_EQ(Dialogs::TipAt(dialog.WindowHandle, {5, 90}, place), "");
    EXPECT_EQ(Dialogs::TipAt(99, {5, 5}, place), "");
    EXPECT_EQ(Dialogs::CursorAt(dialog.WindowHandle, {5, 5}), Platform::Cursor::Text);
    EXPECT_EQ(Dialogs::CursorAt(dialog.WindowHandle, {5, 25}), Platform::Cursor::SizeAll);
    Dialogs::LockItem(dialog, 2, true);
    EXPECT_EQ(Dialogs::CursorAt(dialog.WindowHandle, {5, 25}), Platform::Cursor::Arrow);
}

}
