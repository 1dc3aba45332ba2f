#include "ui/desk.h"

#include <cmath>

namespace {

using Dialogs::DialogItem;
using Dialogs::DialogRecord;
using Dialogs::Row;
using Dialogs::Shortcut;
using Events::KeyClass;
using Platform::KeyCode;
using Support::Calls;
using Support::Desk;
using Support::Names;
using enum Dialogs::ItemKind;

class DialogEventsTest : public Desk {};

constexpr Shortcut F5{.Class = KeyClass::Special, .Char = 68};

Shortcut Printable(char c, std::uint8_t modifiers = 0, bool any = false, bool frontOnly = true) {
    return {.Class = KeyClass::Printable,
            .Char = static_cast<std::uint32_t>(c),
            .Modifiers = modifiers,
            .AnyModifier = any,
            .FrontOnly = frontOnly};
}

TEST_F(DialogEventsTest, AShortcutActsByItsModifiersAndInFrontOnly) {
    Shortcut shifted = F5;
    shifted.Modifiers = Platform::Shift;
    DialogRecord& front = Open({{.Kind = Button, .Name = "plain", .Key = Printable('a')},
                                {.Kind = Button, .Name = "control", .Key = Printable('a', Platform::Control)},
                                {.Kind = Button, .Name = "any", .Key = Printable('b', 0, true)},
                                {.Kind = Button, .Name = "F5", .Key = F5},
                                {.Kind = Button, .Name = "ShiftF5", .Key = shifted},
                                {.Kind = Button, .Name = "as loaded"}});
    Open({{.Kind = Button, .Name = "own", .Key = Printable('c')},
          {.Kind = Button, .Name = "everywhere", .Key = Printable('d', 0, false, false)},
          {.Kind = Button, .Name = "hidden by the front", .Key = Printable('a', 0, false, false)}});
    Dialogs::Item(front, 6).Key = Printable('e', 0, true); // in lower case all the same
    front.LastKeyItem = 6;
    const struct {
        std::uint32_t Char, Modifiers;
        const char* Pressed; // "" none
    } rows[] = {{'a', 0, "plain"},
                {'a', Platform::Caps, "plain"},
                {'a', Platform::Control, "control"},
                {'a', Platform::Option, ""},
                {'A', Platform::Shift, ""},
                {'B', Platform::Shift, "any"},
                {'b', Platform::Control | Platform::Option, "any"},
                {'e', 0, "as loaded"},
                {Platform::SpecialKey + 68, 0, "F5"},
                {Platform::SpecialKey + 68, Platform::Shift, "ShiftF5"},
                {68, 0, ""},
                {'c', 0, ""},
                {'d', 0, "everywhere"}};
    for (const auto& row : rows) {
        Calls.clear();
        Key(front, row.Char, row.Modifiers);
        EXPECT_EQ(Calls, *row.Pressed != 0 ? Names{row.Pressed + std::string(":2")} : Names{})
            << row.Char << " " << row.Modifiers;
    }
}

TEST_F(DialogEventsTest, TheHighestItemHasTheKeyAndALockedOneSwallowsIt) {
    DialogRecord& dialog = Open({{.Kind = Button, .Name = "1", .Key = Printable('k')},
                                 {.Kind = Button, .Name = "2", .Key = Printable('k')},
                                 {.Kind = Button, .Name = "3", .Level = 5}});
    Dialogs::SetItemKey(dialog, 3, Printable('k'));
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
        Open({{.Kind = Button, .Name = "below", .At = {0, 0, 80, 40}, .Key = Printable('k')},
              {.Kind = Button, .Name = "last", .At = {0, 0, 80, 40}}});
    const struct {
        const char* What;
        void (*Set)(DialogRecord& dialog, DialogItem& item, bool on);
        bool Covers; // the item still takes the place under the mouse
    } rows[] = {{"locked", [](DialogRecord& d, DialogItem&, bool on) { Dialogs::LockItem(d, 1, on); }, true},
                {"disabled", [](DialogRecord&, DialogItem& i, bool on) { i.Enabled = !on; }, false},
                {"hidden", [](DialogRecord&, DialogItem& i, bool on) { i.Visible = !on; }, false},
                {"not executable", [](DialogRecord&, DialogItem& i, bool on) { i.Executable = !on; }, true},
                {"above the user level",
                 [](DialogRecord&, DialogItem& i, bool on) { i.UserLevel = on ? 4 : 3; }, true},
                {"on another page", [](DialogRecord&, DialogItem& i, bool on) { i.PaneHidden = on; }, false}};
    Dialogs::UserLevel = 3;
    for (const auto& row : rows) {
        Calls.clear();
        row.Set(dialog, Dialogs::Item(dialog, 1), true);
        Click(dialog, 1);
        EXPECT_EQ(Calls, row.Covers ? Names{} : Names{"last:1"}) << row.What;
        Calls.clear();
        Key(dialog, 'k');
        Dialogs::PressItem(dialog, 1, {.Source = Dialogs::Source::Macro});
        EXPECT_EQ(Calls, Names{}) << row.What;
        row.Set(dialog, Dialogs::Item(dialog, 1), false);
        Click(dialog, 1);
        EXPECT_EQ(Calls, Names{"below:1"}) << row.What;
    }
}

TEST_F(DialogEventsTest, TogglesAndListsHaveTwoKeys) {
    static constexpr const char* Entries[] = {"a", "(b", "c"};
    static constexpr const char* Words[] = {"(off", "on"};
    bool both = false, one = false, stuck = true;
    std::uint8_t index = 0;
    const DialogRecord& dialog = Open(
        {{.Kind = List,
          .Name = "L",
          .Value = &index,
          .Entries = Entries,
          .Key = Printable('l'),
          .Key2 = Printable('m', 0, true)},
         {.Kind = TrueFalse, .Name = "both", .Value = &both, .Key = Printable('t'), .Key2 = Printable('f')},
         {.Kind = HighLow, .Name = "one", .Value = &one, .Key = Printable('h')},
         {.Kind = TrueFalse, .Name = "stuck", .Value = &stuck, .Entries = Words, .Key = Printable('s')}});
    const struct {
        char Key;
        double Index;
        bool Both, One;
        std::size_t Calls;
    } rows[] = {
        {'l', 2, false, false, 1}, {'l', 2, false, false, 1}, {'M', 0, false, false, 2},
        {'f', 0, false, false, 2}, {'t', 0, true, false, 3},  {'t', 0, true, false, 3},
        {'f', 0, false, false, 4}, {'h', 0, false, true, 5},  {'h', 0, false, false, 6},
        {'s', 0, false, false, 6}, // its other word is disabled
    };
    for (const auto& row : rows) {
        Key(dialog, static_cast<std::uint32_t>(row.Key));
        EXPECT_EQ(index, row.Index) << row.Key;
        EXPECT_EQ(both, row.Both) << row.Key;
        EXPECT_EQ(one, row.One) << row.Key;
        EXPECT_EQ(Calls.size(), row.Calls) << row.Key;
    }
    // The mouse changes a toggle in either direction.
    for (const bool now : {true, false}) {
        Click(dialog, 2);
        EXPECT_EQ(both, now);
    }
    // A list opens; a disabled entry and the present one change nothing.
    for (const int answer : {2, 1, 0, 9, 3}) {
        Choose(dialog, 1, answer);
        EXPECT_EQ(index, answer == 3 ? 2 : 0) << answer;
    }
}

TEST_F(DialogEventsTest, TabGoesRoundTheEntriesAndCursorKeysRoundAllItems) {
    double n = 0;
    std::string t;
    DialogRecord& dialog = Open({{.Kind = Text, .Name = "label"},
                                 {.Kind = FramedNumber, .Name = "n", .Value = &n},
                                 {.Kind = Button, .Name = "b"},
                                 {.Kind = FramedText, .Name = "t", .Value = &t},
                                 {.Kind = FramedText, .Name = "disabled", .Value = &t},
                                 {.Kind = Button, .Name = "Fit", .Role = Dialogs::Role::Primary}});
    Dialogs::EnableItem(dialog, 5, false);
    Key(dialog, KeyCode::Return);
    EXPECT_EQ(Calls, Names{"Fit:2"}) << "without a focus, the primary button";
    const struct {
        KeyCode Code;
        std::uint32_t Modifiers;
        int Item;
    } rows[] = {{KeyCode::Tab, 0, 2},
                {KeyCode::Tab, 0, 4},
                {KeyCode::Tab, 0, 2},
                {KeyCode::Backtab, 0, 4},
                {KeyCode::Tab, Platform::Shift, 2},
                {KeyCode::Escape, 0, 2},
                {KeyCode::CursorDown, 0, 3},
                {KeyCode::CursorRight, 0, 4},
                {KeyCode::CursorDown, 0, 6},
                {KeyCode::CursorDown, 0, 2},
                {KeyCode::CursorUp, 0, 6},
                {KeyCode::CursorLeft, 0, 4},
                {KeyCode::CursorUp, 0, 3}};
    for (const auto& row : rows) {
        Key(dialog, row.Code, row.Modifiers);
        EXPECT_EQ(dialog.CurrentItem, row.Item);
    }
    Calls.clear();
    Key(dialog, ' ');
    Key(dialog, KeyCode::Return);
    EXPECT_EQ(Calls, (Names{"b:2", "b:2"}));
    // What is typed on an item with the focus begins its entry; a command is not typed.
    Key(dialog, KeyCode::CursorUp);
    Key(dialog, '4', Platform::Control);
    EXPECT_FALSE(Editing::IsUnderWay());
    Key(dialog, '4');
    Key(dialog, KeyCode::Tab);
    EXPECT_EQ(n, 4);
    Key(dialog, KeyCode::Backtab);
    Key(dialog, KeyCode::Escape);
    Key(dialog, static_cast<KeyCode>(static_cast<int>(KeyCode::Numeric0) + 7)); // of the keypad
    Key(dialog, KeyCode::Tab);
    EXPECT_EQ(n, 7);
    Key(dialog, KeyCode::Escape);
    Key(dialog, 0xE9);
    Key(dialog, KeyCode::Return);
    EXPECT_EQ(t, "\u00e9");
}

TEST_F(DialogEventsTest, ListsAndMultichecksWorkFromTheKeyboard) {
    static constexpr const char* Entries[] = {"a", "b"};
    std::uint8_t index = 1;
    std::uint16_t set = 0;
    DialogRecord& dialog = Open({{.Kind = List, .Name = "L", .Value = &index, .Entries = Entries},
                                 {.Kind = MultiCheck, .Name = "M", .At = {0, 30, 100, 20}, .Value = &set}});
    Key(dialog, KeyCode::CursorDown);
    Headless::Desktop().Answers = {1};
    Key(dialog, ' ');
    EXPECT_EQ(index, 0);
    Key(dialog, KeyCode::CursorDown);
    for (const char c : {'0', '2', 'x', 'F', '2'}) Key(dialog, static_cast<std::uint32_t>(c));
    EXPECT_EQ(set, 0x8001);
    // There is room for three boxes; beside them nothing is changed.
    Click(dialog, {30, 40});
    Click(dialog, {90, 40});
    EXPECT_EQ(set, 0x8003);
}

TEST_F(DialogEventsTest, RadioButtonsOfAPageAreOneGroup) {
    bool on[5] = {true, false, false, true, false};
    std::vector<Row> rows;
    static const char* const Labels[] = {"a", "b", "c", "d", "e"};
    for (int i = 0; i < 5; ++i)
        rows.push_back({.Kind = RadioButton,
                        .Name = Labels[i],
                        .Value = &on[i],
                        .Page = static_cast<std::int16_t>(i < 3 ? 0 : 1)});
    DialogRecord& dialog = Open(rows);
    Dialogs::SelectPage(dialog, 1);
    for (const int number : {2, 5, 5}) Click(dialog, number); // one is always on
    EXPECT_TRUE(!on[0] && on[1] && !on[2] && !on[3] && on[4]);
}

TEST_F(DialogEventsTest, PanesShowTheirPage) {
    double n = 0;
    DialogRecord& dialog =
        Open({{.Kind = Pane, .Name = "P1", .Page = 1},
              {.Kind = Pane, .Name = "P2", .Page = 2},
              {.Kind = FramedNumber, .Name = "N", .At = {0, 60, 50, 20}, .Value = &n, .Page = 1},
              {.Kind = Button, .Name = "B", .Text = "second", .At = {0, 60, 50, 20}, .Page = 2},
              {.Kind = Button, .Name = "all", .Text = "always"}});
    Click(dialog, 1);
    EXPECT_EQ(Shown(dialog), "\n\n0.0\nalways\n");
    Click(dialog, 3);
    Headless::Type("9");
    Click(dialog, 2);
    EXPECT_EQ(n, 9) << "an entry is stored before its page goes";
    EXPECT_FALSE(Editing::IsUnderWay());
    EXPECT_EQ(dialog.CurrentItem, 0);
    EXPECT_EQ(Shown(dialog), "\n\nsecond\nalways\n");
    EXPECT_EQ(Calls, (Names{"P1:1", "N:2", "P2:1"}));
}

TEST_F(DialogEventsTest, AScrollFrameMovesAndCutsItsItems) {
    std::vector<Row> rows{{.Kind = Pane,
                           .Name = "Frame",
                           .At = {10, 10, 200, 100},
                           .Anchor = Dialogs::ToLeft | Dialogs::ToTop | Dialogs::ToBottom}};
    static const char* const Labels[] = {"0", "1", "2", "3", "4", "5", "6", "7", "8", "9"};
    for (int i = 0; i < 10; ++i)
        rows.push_back({.Kind = Button, .Name = Labels[i], .At = {20, 10 + i * 30.0, 50, 30}});
    DialogRecord& dialog = Open(rows);
    for (int i = 2; i <= 11; ++i) Dialogs::Item(dialog, i).ScrollFrame = 1;
    Click(dialog, {25, 150}); // of an item, but outside of the frame
    EXPECT_EQ(Calls, Names{});
    const auto wheel = [&](std::int32_t steps, int y) {
        (void)Events::Insert({.What = Platform::WindowEvent,
                              .X = 30,
                              .Y = y,
                              .Message = Platform::SystemWheel,
                              .Char = static_cast<std::uint32_t>(steps * 120),
                              .Window = dialog.WindowHandle,
                              .Detail = Platform::SystemEvent});
        Run();
        return Dialogs::ScrollOffset(dialog, 1);
    };
    EXPECT_EQ(wheel(1, 30), 0);
    EXPECT_EQ(wheel(-1, 30), 48);
    EXPECT_EQ(wheel(-1, 130), 48) << "outside of the frame";
    Click(dialog, {25, 20});
    EXPECT_EQ(Calls, Names{"1:1"});
    EXPECT_EQ(wheel(-100, 30), 200) << "to the last item";
    // Sizing the window keeps what is in view, as far as it can.
    const std::pair<double, int> sizes[] = {{250, 200}, {350, 150}, {300, 150}};
    for (const auto& [height, offset] : sizes) {
        Resize(dialog, {400, height});
        EXPECT_EQ(Dialogs::ScrollOffset(dialog, 1), offset);
    }
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
    DialogRecord& dialog =
        Open({{.Kind = FramedNumber, .Name = "N", .Value = &n}}, {.Window = Platform::WindowKind::Floating});
    Click(dialog, 1);
    Headless::Type("5");
    Key(dialog, KeyCode::Escape);
    EXPECT_EQ(n, 1);
    EXPECT_TRUE(dialog.IsOpen);
    Key(dialog, KeyCode::Escape);
    EXPECT_FALSE(dialog.IsOpen);
    DialogRecord& fixed = Open({}, {.Window = Platform::WindowKind::Floating, .CloseBox = false});
    Key(fixed, KeyCode::Escape);
    Notify(fixed, Platform::CloseRequested);
    EXPECT_TRUE(fixed.IsOpen) << "forbids closing";
    DialogRecord& panel = Open({});
    Key(panel, KeyCode::Escape);
    EXPECT_TRUE(Platform::Ops().IsShown(panel.WindowHandle));
    Notify(panel, Platform::CloseRequested);
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
    using Events::Event;
    const Dialogs::DialogProcs procs{
        .DefaultProc = [](DialogRecord&, const Event&) { return note("default ", true); },
        .ActivateProc = [](DialogRecord&, const Event&) { return note("activate ", true); },
        .MouseProc = [](DialogRecord&,
                        const Event& e) { return note("mouse ", e.Button == 1 && e.At.Y < 10); },
        .KeyProc = [](DialogRecord&, const Event& e) { return note("key ", e.Char == 'x'); },
        .WindowProc = [](DialogRecord&, const Event&) { return note("window ", true); },
        .UpdateProc = [](DialogRecord&, const Event&) { return note("update ", false); },
        .ResizeProc = [](DialogRecord&, const Event&) { return note("resize ", false); },
        .MoveProc = [](DialogRecord&, const Event&) { return note("move ", true); },
        .IconizeProc = [](DialogRecord&, const Event&) { return note("iconize ", true); }};
    DialogRecord& dialog = Open({{.Kind = Button, .Name = "B", .Key = Printable('x')},
                                 {.Kind = Button, .Name = "C", .Key = Printable('y')}},
                                {.Procs = procs});
    const Platform::WindowId window = dialog.WindowHandle;
    Platform::Ops().PlaceWindow(window, {30, 40, 420, 310});
    const struct {
        std::uint32_t Detail, Parameter;
        const char* Seen;
    } rows[] = {{Platform::FocusGained, 0, "activate "}, {Platform::FocusLost, 0, "default "},
                {Platform::Iconized, 1, "iconize "},     {Platform::Moved, 0, "move "},
                {Platform::Resized, 0, "resize "},       {9, 0, "window "}};
    for (const auto& row : rows) {
        Notify(dialog, row.Detail, row.Parameter);
        EXPECT_EQ(std::exchange(seen, ""), row.Seen);
    }
    EXPECT_EQ(dialog.WindowState, 1);
    EXPECT_EQ(dialog.WindowRect, (Dialogs::Rect{30, 40, 450, 350}));
    Dialogs::Item(dialog, 1).ItemText = "drawn first";
    (void)Events::Insert({.What = Platform::Update, .Window = window});
    Run();
    EXPECT_EQ(std::exchange(seen, ""), "update ");
    EXPECT_NE(Shown(dialog).find("drawn first"), std::string::npos);
    // 'x' the procedure has dealt with; 'y' goes on to the item.
    for (const char key : {'x', 'y', 'z'}) Key(dialog, static_cast<std::uint32_t>(key));
    EXPECT_EQ(std::exchange(seen, ""), "key key key default ");
    Platform::Ops().PlaceWindow(window, {0, 0, 420, 310});
    Click(dialog, {2, 5});
    Click(dialog, 2);
    EXPECT_EQ(std::exchange(seen, ""), "mouse mouse ");
    // Other buttons are the tool's own.
    (void)Events::Insert({.What = Platform::MouseDown, .X = 5, .Y = 35, .Window = window, .Detail = 3});
    Run();
    EXPECT_EQ(seen, "mouse default ");
    EXPECT_EQ(Calls, (Names{"C:2", "C:1"}));
}

TEST_F(DialogEventsTest, TipsAndPointersTellWhatIsUnderTheMouse) {
    double n = 0;
    DialogRecord& dialog = Open({{.Kind = FramedNumber, .Name = "N", .Value = &n, .Tip = "a number"},
                                 {.Kind = Drag, .Name = "D", .Value = &n},
                                 {.Kind = Text, .Name = "T", .Text = "a label that is too long"},
                                 {.Kind = Text, .Name = "S", .Text = "short"}});
    const struct {
        double Y;
        const char* Tip;
        Platform::Cursor Cursor;
    } rows[] = {{5, "a number", Platform::Cursor::Text},
                {30, "", Platform::Cursor::SizeAll},
                {55, "a label that is too long", Platform::Cursor::Arrow},
                {80, "", Platform::Cursor::Arrow},
                {110, "", Platform::Cursor::Arrow}};
    Platform::Area place;
    for (const auto& row : rows) {
        EXPECT_EQ(Dialogs::TipAt(dialog.WindowHandle, {5, row.Y}, place), row.Tip);
        EXPECT_EQ(Dialogs::CursorAt(dialog.WindowHandle, {5, row.Y}), row.Cursor) << row.Y;
    }
    EXPECT_EQ(place, (Platform::Area{0, 72, 80, 20}));
    EXPECT_EQ(Dialogs::TipAt(99, {5, 5}, place), "");
    Dialogs::LockItem(dialog, 2, true);
    EXPECT_EQ(Dialogs::CursorAt(dialog.WindowHandle, {5, 30}), Platform::Cursor::Arrow);
}

}
