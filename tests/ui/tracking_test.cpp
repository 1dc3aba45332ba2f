#include "ui/desk.h"

#include <cmath>

namespace {

using Dialogs::DialogRecord;
using Dialogs::Rect;
using Dialogs::Row;
using Support::Calls;
using Support::Desk;
using Support::Names;
using enum Dialogs::ItemKind;

class TrackingTest : public Desk {
protected:
    ~TrackingTest() override { EXPECT_FALSE(Dialogs::Tracking); }
};

TEST_F(TrackingTest, AButtonActsWhenTheMouseComesUpInsideOfIt) {
    bool on = false;
    const DialogRecord& dialog = Open({{.Kind = Switch, .Name = "S", .Value = &on}});
    const Platform::Point in{20, 10}, out{200, 200};
    const struct {
        std::vector<Platform::Point> Path;
        bool Acts;
    } rows[] = {{{in, out, in, in}, true}, {{in, in, out}, false}, {{out, in, in}, false}};
    for (const auto& row : rows) {
        on = false;
        Headless::Drag(dialog.WindowHandle, row.Path);
        Run();
        EXPECT_EQ(on, row.Acts);
        EXPECT_FALSE(Dialogs::Item(dialog, 1).Busy);
    }
}

TEST_F(TrackingTest, ADragChangesTheNumberByItsStep) {
    double value = 0;
    static std::vector<double> tracked;
    tracked.clear();
    const Dialogs::NumberForm form{.Low = -50, .High = 1000, .Step = 2};
    DialogRecord& dialog = Open({{.Kind = Drag, .Name = "D", .Value = &value, .Form = form},
                                 {.Kind = Drag2, .Name = "D2", .Value = &value, .Form = form}});
    Dialogs::Item(dialog, 1).TrackProc = [](DialogRecord& self, int number) {
        tracked.push_back(Dialogs::NumberOf(Dialogs::Item(self, number)));
    };
    const struct {
        int Item;
        double Right, Down;
        std::uint32_t Modifiers;
        double From, To;
    } rows[] = {
        {1, 40, 0, 0, 0, 20},     {1, 0, -40, 0, 0, 20},
        {1, 39, 0, 0, 0, 18},     {1, -40, 0, 0, 0, -20},
        {1, 0, 4000, 0, 0, -50},  {1, 40, 0, Platform::Shift, 0, 200},
        {1, 9000, 0, 0, 0, 1000}, {1, 40, 40, 0, 0, 0}, // back at its start is no change
        {2, 40, 0, 0, 5, 15},     {2, 0, -40, 0, 0, 20},
        {1, 40, 0, 0, NAN, 20}, // what is no number begins at 0
    };
    for (const auto& row : rows) {
        value = row.From;
        Headless::Desktop().Modifiers = row.Modifiers;
        Pull(dialog, Middle(dialog, row.Item), row.Right, row.Down);
        EXPECT_EQ(value, row.To) << row.Item << " " << row.Right << " " << row.Down;
    }
    EXPECT_EQ(Calls.size(), std::size(rows) - 1);
    EXPECT_EQ(tracked.front(), 20);
    // A click takes the cursor, also one with a shaking hand.
    Headless::Desktop().Modifiers = 0;
    Pull(dialog, Middle(dialog, 1), 3, -3);
    EXPECT_EQ(value, 20);
    EXPECT_TRUE(Editing::IsUnderWay(dialog, 1));
    Editing::Cancel();
}

TEST_F(TrackingTest, AWindowMayCloseWhileTheMouseIsDown) {
    static DialogRecord* open;
    static bool dispose;
    static int looks;
    const Dialogs::ValueRef number(Dialogs::ValueKind::Real64);
    const std::vector<Row> rows{{.Kind = Button, .Name = "B"}, {.Kind = Drag, .Name = "D", .Value = number}};
    for (const bool gone : {false, true})
        for (const double top : {10.0, 34.0})
            for (const std::uint32_t modifiers :
                 {0u, Platform::Option, Platform::Option | Platform::Control}) {
                DialogRecord& dialog = Open(rows);
                open = &dialog;
                dispose = gone;
                looks = 0;
                Headless::Desktop().OnWait = [] {
                    if (++looks < 2) return; // by then the mouse has moved
                    Headless::Desktop().OnWait = nullptr;
                    dispose ? Dialogs::DisposeDialog(*open) : Dialogs::CloseDialog(*open);
                };
                Headless::Drag(dialog.WindowHandle, {{20, top}, {30, top}, {40, top}, {50, top}}, modifiers);
                Run();
                EXPECT_FALSE(dialog.IsOpen || (!gone && Dialogs::Item(dialog, 1).Busy));
                EXPECT_EQ(Calls, Names{});
                Headless::Desktop().MousePath.clear();
                Clear();
            }
    // By the item's own procedure, in the middle of a drag.
    DialogRecord& dialog = Open(rows);
    Dialogs::Item(dialog, 2).TrackProc = [](DialogRecord& self, int) { Dialogs::DisposeDialog(self); };
    Pull(dialog, Middle(dialog, 2), 40, 0);
    EXPECT_FALSE(dialog.Items);
}

TEST_F(TrackingTest, NothingElseComesInWhileTheMouseIsTracked) {
    static Platform::WindowId window;
    DialogRecord& dialog =
        Open({{.Kind = Button, .Name = "B"},
              {.Kind = Button, .Name = "K", .Key = {.Class = Events::KeyClass::Printable, .Char = 'k'}}});
    window = dialog.WindowHandle;
    Headless::Desktop().OnWait = [] {
        Headless::Desktop().OnWait = nullptr;
        Headless::Key(window, 'k');
        // Quick clicks: a double and a triple one.
        for (int i = 0; i < 3; ++i)
            (void)Events::Insert(
                {.What = Platform::MouseDown, .X = 20, .Y = 10, .Window = window, .Detail = 1});
        Run(); // as a tool would that lets events through
    };
    Headless::Drag(window, {{20, 10}, {20, 10}, {20, 10}});
    Run();
    EXPECT_EQ(Calls, Names{"B:1"});
}

TEST_F(TrackingTest, TheOptionKeyMovesAndSizesItemsAndBothKeysMoveWhatIsInside) {
    const std::vector<Row> rows{
        {.Kind = Text, .Name = "Card", .At = {50, 50, 200, 100}, .Role = Dialogs::Role::Card},
        {.Kind = Button, .Name = "B", .At = {60, 60, 60, 30}},
        {.Kind = Button, .Name = "Small", .At = {60, 100, 20, 20}},
        {.Kind = Button, .Name = "Across", .At = {240, 60, 50, 30}},
        {.Kind = Text, .Name = "Line", .Text = "x", .At = {300, 100, 102, 1}}};
    const Rect card{50, 50, 250, 150}, button{60, 60, 120, 90}, small{60, 100, 80, 120},
        across{240, 60, 290, 90}, line{300, 100, 402, 101};
    const auto moved = [](Rect rect, int right, int down) {
        return Rect{rect.Left + right, rect.Top + down, rect.Right + right, rect.Bottom + down};
    };
    const std::uint32_t option = Platform::Option, both = Platform::Option | Platform::Control;
    const struct {
        Platform::Point From;
        double Right, Down;
        std::uint32_t Modifiers;
        Rect Places[5];
    } cases[] = {{{70, 70}, 10, 20, option, {card, moved(button, 10, 20), small, across, line}},
                 {{117, 87}, 10, 20, option, {card, {60, 60, 130, 110}, small, across, line}},
                 {{111, 70}, 10, 20, option, {card, moved(button, 10, 20), small, across, line}},
                 {{77, 117}, 10, 20, option, {card, button, {60, 100, 90, 140}, across, line}},
                 {{75, 115}, 10, 20, option, {card, button, moved(small, 10, 20), across, line}},
                 {{70, 140},
                  10,
                  20,
                  both,
                  {moved(card, 10, 20), moved(button, 10, 20), moved(small, 10, 20), across, line}},
                 // The window's edges hold; an item never turns over.
                 {{70, 70}, -500, -500, option, {card, moved(button, -60, -60), small, across, line}},
                 {{70, 70}, 900, 900, option, {card, {340, 270, 400, 300}, small, across, line}},
                 {{117, 87}, -500, -500, option, {card, {60, 60, 68, 68}, small, across, line}},
                 {{117, 87}, 900, 900, option, {card, {60, 60, 400, 300}, small, across, line}},
                 // What is smaller than an item should be, or out of the window, does not jump.
                 {{399, 100}, 0, 0, option, {card, button, small, across, line}},
                 {{399, 100}, 50, 3, option, {card, button, small, across, {300, 100, 402, 104}}},
                 {{310, 100}, 50, 3, both, {card, button, small, across, moved(line, 0, 3)}},
                 {{300, 250}, 10, 10, option, {card, button, small, across, line}}};
    for (const auto& row : cases) {
        DialogRecord& dialog = Open(rows);
        const auto places = [&](const char* when) {
            for (int i = 0; i < 5; ++i)
                EXPECT_EQ(Dialogs::Item(dialog, i + 1).ItemRect, row.Places[i])
                    << i << " from " << row.From.X << when;
        };
        Pull(dialog, row.From, row.Right, row.Down, row.Modifiers);
        places("");
        EXPECT_EQ(Calls, Names{});
        for (const auto& [layer, drawn] : Headless::Desktop().Windows[dialog.WindowHandle].Layers)
            EXPECT_LE(layer, 5) << "no rubber band is left";
        // Back and forth again.
        EXPECT_EQ(Dialogs::UndoMove(), dialog.Arranged);
        EXPECT_EQ(Dialogs::Item(dialog, 1).ItemRect, card);
        EXPECT_EQ(Dialogs::Item(dialog, 2).ItemRect, button);
        EXPECT_EQ(Dialogs::UndoMove(), dialog.Arranged);
        places(" again");
        Clear();
    }
}

TEST_F(TrackingTest, AMoveIsTakenBackAlsoAfterTheWindowWasSized) {
    DialogRecord& dialog = Open({{.Kind = Button,
                                  .Name = "B",
                                  .At = {300, 10, 50, 30},
                                  .Anchor = Dialogs::ToRight | Dialogs::ToTop}});
    Pull(dialog, {310, 20}, -100, 50, Platform::Option);
    Resize(dialog, {500, 300});
    EXPECT_EQ(Dialogs::Item(dialog, 1).ItemRect.Left, 300);
    EXPECT_TRUE(Dialogs::UndoMove());
    EXPECT_EQ(Dialogs::Item(dialog, 1).ItemRect, (Rect{400, 10, 450, 40}));
    Resize(dialog, {400, 300});
    EXPECT_EQ(Dialogs::Item(dialog, 1).ItemRect, (Rect{300, 10, 350, 40}));
}

}
