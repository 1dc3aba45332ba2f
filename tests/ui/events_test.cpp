#include "ui/desk.h"

namespace {

using Support::Desk;
using namespace Platform;

class EventsTest : public Desk {};

EventRecord KeyRecord(std::uint32_t character, std::uint32_t window = 1) {
    return {.What = KeyDown, .Char = character, .Window = window, .Detail = KeyDetail};
}

TEST_F(EventsTest, ABurstOf300KeysKeepsTheFirst255) {
    for (std::uint32_t i = 0; i < 300; ++i) EXPECT_EQ(Events::Insert(KeyRecord(1000 + i)), i < 255);
    EXPECT_EQ(Events::Waiting(), 255);
    Events::Event event;
    for (std::uint32_t i = 0; i < 255; ++i) {
        ASSERT_TRUE(Events::GetNextEvent(event));
        EXPECT_EQ(event.Char, 1000 + i);
    }
    EXPECT_FALSE(Events::GetNextEvent(event));
    // The places come round again, and the ring holds as many as before.
    for (std::uint32_t i = 0; i < 300; ++i) (void)Events::Insert(KeyRecord(i));
    EXPECT_EQ(Events::Waiting(), 255);
}

TEST_F(EventsTest, AnUpdateOfAWindowWaitsOnce) {
    const EventRecord one{.What = Update, .Window = 1}, two{.What = Update, .Window = 2};
    EXPECT_TRUE(Events::Insert(one));
    EXPECT_TRUE(Events::Insert(KeyRecord('a')));
    EXPECT_FALSE(Events::Insert(one));
    EXPECT_TRUE(Events::Insert(two));
    EXPECT_EQ(Events::Waiting(), 3);
    EventRecord record;
    ASSERT_TRUE(Events::Next(record));
    EXPECT_TRUE(Events::Insert(one)) << "the former one is on its way";
}

TEST_F(EventsTest, NothingGoesInOnlyWhereNothingWaits) {
    EXPECT_TRUE(Events::Insert({}));
    EXPECT_FALSE(Events::Insert({}));
    EXPECT_EQ(Events::Waiting(), 1);
}

TEST_F(EventsTest, KindsComeFromRecords) {
    const struct {
        EventRecord Record;
        Events::KeyKind Kind;
    } rows[] = {
        {KeyRecord('a'), Events::KeyKind::KeyCharacter},
        {{.What = MouseDown, .Detail = LeftButton}, Events::KeyKind::KeyMouse},
        {{.What = Update}, Events::KeyKind::KeyUpdate},
        {{.What = WindowEvent, .Detail = Moved}, Events::KeyKind::KeyMoved},
        {{.What = WindowEvent, .Detail = Resized}, Events::KeyKind::KeyResized},
        {{.What = WindowEvent, .Detail = Iconized}, Events::KeyKind::KeyIconize},
        {{.What = WindowEvent, .Detail = CloseRequested}, Events::KeyKind::KeyWindowClose},
        {{.What = WindowEvent, .Detail = 9}, Events::KeyKind::KeyWindow},
        {{.What = WindowEvent, .Detail = 10}, Events::KeyKind::KeyWindow},
        {{.What = WindowEvent, .Detail = 12}, Events::KeyKind::KeyOSEvent},
        {{.What = WindowEvent, .Detail = FocusGained}, Events::KeyKind::KeyActivate},
        {{.What = WindowEvent, .Detail = FocusLost}, Events::KeyKind::KeyDeactivate},
    };
    for (const auto& row : rows) {
        Events::Event event;
        ASSERT_TRUE(Events::Insert(row.Record));
        ASSERT_TRUE(Events::GetNextEvent(event));
        EXPECT_EQ(event.Kind, row.Kind);
    }
    // A button that comes up, and a notification that nobody knows, are no events.
    Events::Event event;
    (void)Events::Insert({.What = MouseUp});
    (void)Events::Insert({.What = WindowEvent, .Detail = 77});
    EXPECT_FALSE(Events::GetNextEvent(event));
}

TEST_F(EventsTest, QuickPressesOnOnePlaceCountToThree) {
    using Events::KeyKind;
    const struct {
        std::uint32_t When;
        std::int32_t X;
        std::uint32_t Button, Window;
        KeyKind Kind;
    } rows[] = {
        {1000, 10, 1, 1, KeyKind::KeyMouse},       {1400, 13, 1, 1, KeyKind::KeyDoubleMouse},
        {1500, 13, 1, 1, KeyKind::KeyTripleMouse}, {1600, 13, 1, 1, KeyKind::KeyMouse},
        {2001, 13, 1, 1, KeyKind::KeyMouse},       {2100, 20, 1, 1, KeyKind::KeyMouse},
        {2200, 20, 3, 1, KeyKind::KeyMouse},       {2300, 20, 3, 2, KeyKind::KeyMouse},
    };
    for (const auto& row : rows) {
        Events::Event event;
        (void)Events::Insert(
            {.What = MouseDown, .When = row.When, .X = row.X, .Window = row.Window, .Detail = row.Button});
        ASSERT_TRUE(Events::GetNextEvent(event));
        EXPECT_EQ(event.Kind, row.Kind) << row.When;
    }
}

TEST_F(EventsTest, ABreakTakesKeysAndClicksAndLeavesWindowsTheirEvents) {
    (void)Events::Insert(KeyRecord('x'));
    (void)Events::Insert({.What = Update, .Window = 4});
    (void)Events::Insert({.What = MouseDown, .Detail = LeftButton});
    (void)Events::Insert({.What = WindowEvent, .Window = 4, .Detail = Resized});
    EXPECT_FALSE(Events::TakeBreak());
    EXPECT_EQ(Events::Waiting(), 4);
    EventRecord point = KeyRecord('.');
    point.Message = Control;
    (void)Events::Insert(point);
    (void)Events::Insert(KeyRecord('y'));
    EXPECT_TRUE(Events::TakeBreak());
    EventRecord record;
    ASSERT_TRUE(Events::Next(record));
    EXPECT_EQ(record.What, Update);
    ASSERT_TRUE(Events::Next(record));
    EXPECT_EQ(record.Detail, Resized);
    ASSERT_TRUE(Events::Next(record));
    EXPECT_EQ(record.Char, 'y');
    EXPECT_FALSE(Events::Next(record));
    // Also where the ring's end lies in between.
    for (int i = 0; i < 200; ++i) {
        (void)Events::Insert(KeyRecord('z'));
        (void)Events::Insert({.What = WindowEvent, .Window = 4, .Detail = Moved});
        (void)Events::Insert(KeyRecord(SpecialKey + static_cast<std::uint32_t>(KeyCode::Escape)));
        ASSERT_TRUE(Events::TakeBreak());
        ASSERT_TRUE(Events::Next(record));
        ASSERT_EQ(record.Detail, Moved);
        ASSERT_EQ(Events::Waiting(), 0);
    }
}

TEST_F(EventsTest, TheLogTellsKindModifiersAndKey) {
    Events::WriteKeys = true;
    EventRecord record = KeyRecord('a');
    record.Message = Command | Shift | Caps | Option | Control;
    (void)Events::Insert(record);
    Events::Event event;
    (void)Events::GetNextEvent(event);
    Events::WriteKeys = false;
    EXPECT_EQ(Said.Notes, "KeyCharacter  :    command shift caps option control Key: 2,   Char:a\n");
}

TEST_F(EventsTest, ATimerRunsOutByTheClock) {
    Events::Timer timer;
    EXPECT_EQ(timer.Remaining(), -1);
    Headless::Desktop().Clock = 0xFFFFFFF0u; // the clock starts anew in between
    Events::Set(timer, 100);
    Platform::Ops().Wait(99);
    EXPECT_EQ(timer.Remaining(), 1);
    Platform::Ops().Wait(1);
    EXPECT_TRUE(timer.RunOut());
}

}
