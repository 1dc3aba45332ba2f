#include "ui/desk.h"

namespace {

using Dialogs::DialogRecord;
using Dialogs::ItemKind;
using Dialogs::Rect;
using Dialogs::Row;
using Platform::KeyCode;
using Support::Called;
using Support::Calls;
using Support::Desk;

using Names = std::vector<std::string>;

class TrackingTest : public Desk {
protected:
    ~TrackingTest() override { EXPECT_FALSE(Dialogs::Tracking); }
};

TEST_F(TrackingTest, AButtonActsWhenTheMouseComesUpInsideOfIt) {
    bool on = false;
    const DialogRecord& dialog = Open({{.Number = 1,
                                        .Kind = ItemKind::Switch,
                                        .Name = "S",
                                        .At = {10, 10, 50, 20},
                                        .Value = &on,
                                        .Proc = Called}});
    const Platform::Point in{20, 20}, out{200, 200};
    const struct {
        std::vector<Platform::Point> Path;
        bool Acts;
    } rows[] = {{{in}, true},
                {{in, out, in, in}, true},
                {{in, out, out}, false},
                {{in, in, out}, false},
                {{out, in, in}, false}};
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
    DialogRecord& dialog = Open({{.Number = 1,
                                  .Kind = ItemKind::Drag,
                                  .Name = "D",
                                  .At = {10, 10, 50, 20},
                                  .Value = &value,
                                  .Form = {.Low = -50, .High = 1000, .Step = 2},
                                  .Proc = Called},
                                 {.Number = 2,
                                  .Kind = ItemKind::Drag2,
                                  .Name = "D2",
                                  .At = {10, 40, 50, 20},
                                  .Value = &value,
                                  .Form = {.Low = -50, .High = 1000, .Step = 2},
                                  .Proc = Called}});
    Dialogs::Item(dialog, 1).TrackProc = [](DialogRecord& self, int number) {
        tracked.push_back(Dialogs::NumberOf(Dialogs::Item(self, number)));
    };
    const struct {
        int Item;
        double Right, Down;
        std::uint32_t Modifiers;
        double Value;
    } rows[] = {
        {1, 40, 0, 0, 20},
        {1, 0, -40, 0, 20},
        {1, 39, 0, 0, 18},
        {1, -40, 0, 0, -20},
        {1, 40, 0, Platform::Shift, 200},
        {1, 0, 4000, 0, -50},
        {1, 9000, 0, 0, 1000},
        {1, 40, 40, 0, 0},
        {2, 40, 0, 0, 10},
        {2, 0, -40, 0, 20},
    };
    for (const auto& row : rows) {
        value = 0;
        Headless::Desktop().Modifiers = row.Modifiers;
        Drag(dialog, {20, row.Item == 1 ? 20.0 : 50.0}, row.Right, row.Down);
        EXPECT_EQ(value, row.Value) << row.Item << " " << row.Right << " " << row.Down;
    }
    EXPECT_EQ(Calls.size(), 9u) << "the one that came back to its start is no change";
    EXPECT_FALSE(tracked.empty());
    // A click takes the cursor, also one with a shaking hand.
    Headless::Desktop().Modifiers = 0;
    Drag(dialog, {20, 20}, 3, 0);
    EXPECT_TRUE(Editing::IsUnderWay(dialog, 1));
    Editing::Cancel();
}

TEST_F(TrackingTest, AWindowMayCloseWhileTheMouseIsDown) {
    static DialogRecord* open;
    static bool dispose;
    static const std::vector<Row> rows{
        {.Number = 1, .Kind = ItemKind::Button, .Name = "B", .At = {10, 10, 50, 20}, .Proc = Called},
        {.Number = 2,
         .Kind = ItemKind::Drag,
         .Name = "D",
         .At = {10, 40, 50, 20},
         .Value = Dialogs::ValueRef(Dialogs::ValueKind::Real64),
         .Proc = Called}};
    for (const bool gone : {false, true})
        for (const double top : {20.0, 50.0})
            for (const std::uint32_t modifiers :
                 {0u, Platform::Option, Platform::Option | Platform::Control}) {
                DialogRecord& dialog = Open(rows);
                open = &dialog;
                dispose = gone;
                Headless::Desktop().OnWait = [] {
                    Headless::Desktop().OnWait = nullptr;
                    dispose ? Dialogs::DisposeDialog(*open) : Dialogs::CloseDialog(*open);
                };
                Headless::Drag(dialog.WindowHandle, {{20, top}, {30, top}, {40, top}, {50, top}, {50, top}},
                               modifiers);
                Run();
                EXPECT_FALSE(dialog.IsOpen);
                EXPECT_FALSE(Dialogs::Tracking);
                EXPECT_TRUE(Calls.empty());
                Headless::Desktop().MousePath.clear();
                Dialogs::DisposeDialog(dialog);
                Made = 0;
            }
    // By the item's own procedure, in the middle of a drag.
    DialogRecord& dialog = Open(rows);
    Dialogs::Item(dialog, 2).TrackProc = [](DialogRecord& self, int) { Dialogs::DisposeDialog(self); };
    Drag(dialog, {20, 50}, 40, 0);
    EXPECT_FALSE(dialog.Items);
}

TEST_F(TrackingTest, NothingElseComesInWhileTheMouseIsTracked) {
    static Platform::WindowId window;
    DialogRecord& dialog =
        Open({{.Number = 1, .Kind = ItemKind::Button, .Name = "B", .At = {10, 10, 50, 20}, .Proc = Called},
              {.Number = 2,
               .Kind = ItemKind::Button,
               .Name = "K",
               .Proc = Called,
               .Key = {.Class = Events::KeyClass::Printable, .Char = 'k'}}});
    window = dialog.WindowHandle;
    Headless::Desktop().OnWait = [] {
        Headless::Desktop().OnWait = nullptr;
        Headless::Key(window, 'k');
        // Quick clicks: a double and a triple one.
        for (int i = 0; i < 3; ++i)
            (void)Events::Insert({.What = Platform::MouseDown,
                                  .X = 20,
                                  .Y = 20,
                                  .Window = window,
                                  .Detail = Platform::LeftButton});
        Run(); // as a tool would that lets events through
    };
    Headless::Drag(window, {{20, 20}, {20, 20}, {20, 20}});
    Run();
    EXPECT_EQ(Calls, Names{"B:1"});
}

TEST_F(TrackingTest, TheOptionKeyMovesAndSizesItemsAndBothKeysMoveWhatIsInside) {
    const std::vector<Row> rows{
        {.Number = 1,
         .Kind = ItemKind::Text,
         .Name = "Card",
         .At = {50, 50, 200, 100},
         .Role = Dialogs::Role::Card},
        {.Number = 2, .Kind = ItemKind::Button, .Name = "B", .At = {60, 60, 60, 30}, .Proc = Called},
        {.Number = 3, .Kind = ItemKind::Button, .Name = "Small", .At = {60, 100, 20, 20}, .Proc = Called},
        {.Number = 4, .Kind = ItemKind::Button, .Name = "Across", .At = {240, 60, 50, 30}, .Proc = Called}};
    const Rect card{50, 50, 250, 150}, button{60, 60, 120, 90}, small{60, 100, 80, 120},
        across{240, 60, 290, 90};
    const auto moved = [](Rect rect, int right, int down) {
        return Rect{rect.Left + right, rect.Top + down, rect.Right + right, rect.Bottom + down};
    };
    const struct {
        Platform::Point From;
        double Right, Down;
        std::uint32_t Modifiers;
        Rect Places[4];
    } cases[] = {
        {{70, 70}, 10, 20, Platform::Option, {card, moved(button, 10, 20), small, across}},
        {{117, 87}, 10, 20, Platform::Option, {card, {60, 60, 130, 110}, small, across}},
        {{111, 70}, 10, 20, Platform::Option, {card, moved(button, 10, 20), small, across}},
        {{77, 117}, 10, 20, Platform::Option, {card, button, {60, 100, 90, 140}, across}},
        {{75, 115}, 10, 20, Platform::Option, {card, button, moved(small, 10, 20), across}},
        {{70, 140},
         10,
         20,
         Platform::Option | Platform::Control,
         {moved(card, 10, 20), moved(button, 10, 20), moved(small, 10, 20), across}},
        // The window's edges hold; an item never turns over.
        {{70, 70}, -500, -500, Platform::Option, {card, moved(button, -60, -60), small, across}},
        {{70, 70}, 900, 900, Platform::Option, {card, {340, 270, 400, 300}, small, across}},
        {{117, 87}, -500, -500, Platform::Option, {card, {60, 60, 68, 68}, small, across}},
        {{117, 87}, 900, 900, Platform::Option, {card, {60, 60, 400, 300}, small, across}},
        {{70, 70}, 0, 0, Platform::Option, {card, button, small, across}},
        {{300, 250}, 10, 10, Platform::Option, {card, button, small, across}},
    };
    for (const auto& row : cases) {
        DialogRecord& dialog = Open(rows);
        Drag(dialog, row.From, row.Right, row.Down, row.Modifiers);
        bool any = false;
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(Dialogs::Item(dialog, i + 1).ItemRect, row.Places[i]) << i << " from " << row.From.X;
            any = any || Dialogs::Item(dialog, i + 1).ItemRect != (Rect[]){card, button, small, across}[i];
        }
        EXPECT_TRUE(Calls.empty());
        for (const auto& [layer, drawn] : Headless::Desktop().Windows[dialog.WindowHandle].Layers)
            EXPECT_LE(layer, 4) << "no rubber band is left";
        EXPECT_EQ(dialog.Arranged, any);
        // Back and forth again.
        EXPECT_EQ(Dialogs::UndoMove(), any);
        EXPECT_EQ(Dialogs::Item(dialog, 2).ItemRect, button);
        EXPECT_EQ(Dialogs::Item(dialog, 1).ItemRect, card);
        EXPECT_EQ(Dialogs::UndoMove(), any);
        for (int i = 0; i < 4; ++i) EXPECT_EQ(Dialogs::Item(dialog, i + 1).ItemRect, row.Places[i]);
        Dialogs::DisposeDialog(dialog);
        Made = 0;
    }
}

TEST_F(TrackingTest, AMoveIsTakenBackAlsoAfterTheWindowWasSized) {
    DialogRecord& dialog = Open({{.Number = 1,
                                  .Kind = ItemKind::Button,
                                  .Name = "B",
                                  .At = {300, 10, 50, 30},
                                  .Anchor = Dialogs::ToRight | Dialogs::ToTop}});
    Drag(dialog, {310, 20}, -100, 50, Platform::Option);
    Headless::Resize(dialog.WindowHandle, {500, 300});
    Run();
    EXPECT_EQ(Dialogs::Item(dialog, 1).ItemRect.Left, 300);
    EXPECT_TRUE(Dialogs::UndoMove());
    EXPECT_EQ(Dialogs::Item(dialog, 1).ItemRect, (Rect{400, 10, 450, 40}));
    Headless::Resize(dialog.WindowHandle, {400, 300});
    Run();
    EXPECT_EQ(Dialogs::Item(dialog, 1).ItemRect, (Rect{300, 10, 350, 40}));
}

TEST_F(TrackingTest, TheControlKeyOpensTheConfiguration) {
    static std::string asked;
    asked.clear();
    Dialogs::ConfigureItem = [](DialogRecord& self, int number) {
        asked += self.DialogIDName + std::to_string(number) + " ";
    };
    const DialogRecord& dialog =
        Open({{.Number = 1, .Kind = ItemKind::Button, .Name = "B", .At = {10, 10, 50, 30}, .Proc = Called}});
    const DialogRecord& modal =
        Open({{.Number = 1, .Kind = ItemKind::Button, .Name = "B", .At = {10, 10, 50, 30}, .Proc = Called}});
    Click(dialog, 1, Platform::Control);
    Headless::Click(dialog.WindowHandle, {200, 200}, Platform::Control);
    Run();
    EXPECT_EQ(asked, "T01 T00 ");
    EXPECT_TRUE(Calls.empty());
    Records[1].Modal = true;
    Click(modal, 1, Platform::Control);
    EXPECT_EQ(asked, "T01 T00 ");
    EXPECT_EQ(Calls.size(), 1u);
    Dialogs::ConfigureItem = nullptr;
}

}
