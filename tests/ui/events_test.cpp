#include "ui/desk.h"

namespace {

using Events::KeyKind;
using Support::Desk;
using namespace Platform;

class EventsTest : public Desk {};

EventRecord KeyRecord(std::uint32_t character, std::uint32_t modifiers = 0) {
    return {.What = KeyDown, .Message = modifiers, .Char = character, .Window = 1, .Detail = KeyDetail};
}

TEST_F(EventsTest, ABurstOf300KeysKeepsTheFirst255) {
    Events::Event event;
    for (int round = 0; round < 2; ++round) { // the second one goes over the ring's end
        for (std::uint32_t i = 0; i < 300; ++i) EXPECT_EQ(Events::Insert(KeyRecord(1000 + i)), i < 255);
        EXPECT_EQ(Events::Waiting(), 255);
        for (std::uint32_t i = 0; i < 255; ++i) {
            ASSERT_TRUE(Events::GetNextEvent(event));
            EXPECT_EQ(event.Char, 1000 + i);
        }
        EXPECT_FALSE(Events::GetNextEvent(event));
    }
}

TEST_F(EventsTest, AnUpdateOfAWindowWaitsOnceAndNothingGoesInOnlyWhereNothingWaits) {
    EXPECT_TRUE(Events::Insert({}));
    EXPECT_FALSE(Events::Insert({}));
    Events::Clear();
    const EventRecord one{.What = Update, .Window = 1}, two{.What = Update, .Window = 2};
    EXPECT_TRUE(Events::Insert(one));
    EXPECT_TRUE(Events::Insert(KeyRecord('a')));
    EXPECT_FALSE(Events::Insert(one));
    EXPECT_TRUE(Events::Insert(two));
    EventRecord record;
    ASSERT_TRUE(Events::Next(record));
    EXPECT_TRUE(Events::Insert(one)) << "the former one is on its way";
}

TEST_F(EventsTest, QuickPressesOnOnePlaceCountToThree) {
    const struct {
        std::uint32_t When;
        std::int32_t X;
        std::uint32_t Button, Window;
        KeyKind Kind;
    } rows[] = {{1000, 10, 1, 1, KeyKind::KeyMouse},       {1400, 14, 1, 1, KeyKind::KeyDoubleMouse},
                {1500, 14, 1, 1, KeyKind::KeyTripleMouse}, {1600, 14, 1, 1, KeyKind::KeyMouse},
                {2001, 14, 1, 1, KeyKind::KeyMouse},       {2100, 19, 1, 1, KeyKind::KeyMouse},
                {2200, 19, 3, 1, KeyKind::KeyMouse},       {2300, 19, 3, 2, KeyKind::KeyMouse}};
    for (const auto& row : rows) {
        Events::Event event;
        (void)Events::Insert(
            {.What = MouseDown, .When = row.When, .X = row.X, .Window = row.Window, .Detail = row.Button});
        ASSERT_TRUE(Events::GetNextEvent(event));
        EXPECT_EQ(event.Kind, row.Kind) << row.When;
    }
}

TEST_F(EventsTest, AKeyThatIsHeldDownWhileOthersWorkCountsOnce) {
    const std::uint32_t keys[][2] = {{'a', 0},        {'a', Repeated}, {'a', Repeated},
                                     {'a', Repeated}, {'b', Repeated}, {'b', Repeated | Shift},
                                     {'c', 0},        {'c', 0}};
    for (const auto& [character, modifiers] : keys) (void)Events::Insert(KeyRecord(character, modifiers));
    std::string seen;
    Events::Event event;
    while (Events::GetNextEvent(event))
        seen += static_cast<char>(event.Char) + std::to_string(event.Modifiers);
    EXPECT_EQ(seen, "a0a0b0b2c0c0");
}

TEST_F(EventsTest, ABreakTakesKeysAndClicksAndLeavesWindowsTheirEvents) {
    const EventRecord escape = KeyRecord(SpecialKey + static_cast<std::uint32_t>(KeyCode::Escape));
    for (int i = 0; i < 200; ++i) { // also where the ring's end lies in between
        for (const EventRecord& each : {KeyRecord('x'),
                                        {.What = Update, .Window = 4},
                                        {.What = MouseDown, .Detail = LeftButton},
                                        {.What = WindowEvent, .Window = 4, .Detail = Resized}})
            (void)Events::Insert(each);
        ASSERT_FALSE(Events::TakeBreak());
        (void)Events::Insert(i % 2 == 0 ? escape : KeyRecord('.', Control));
        (void)Events::Insert(KeyRecord('y'));
        ASSERT_TRUE(Events::TakeBreak());
        EventRecord records[3];
        for (EventRecord& record : records) ASSERT_TRUE(Events::Next(record));
        ASSERT_EQ(records[0].What, Update);
        ASSERT_EQ(records[1].Detail, Resized);
        ASSERT_EQ(records[2].Char, 'y');
        ASSERT_EQ(Events::Waiting(), 0);
    }
}

TEST_F(EventsTest, TheLogTellsKindModifiersAndKey) {
    Events::WriteKeys = true;
    (void)Events::Insert(KeyRecord('a', Command | Shift | Caps | Option | Control));
    Events::Event event;
    (void)Events::GetNextEvent(event);
    Events::WriteKeys = false;
    EXPECT_EQ(Said.Notes, "KeyCharacter  :    command shift caps option control Key: 2,   Char:a\n");
}

TEST_F(EventsTest, ATimerRunsOutByTheClock) {
    Events::Timer timer;
    EXPECT_FALSE(timer.RunOut()) << "never set";
    Headless::Desktop().Clock = 0xFFFFFFF0u; // the clock starts anew in between
    Events::Set(timer, 100);
    Platform::Ops().Wait(99);
    EXPECT_EQ(timer.Remaining(), 1);
    Platform::Ops().Wait(1);
    EXPECT_TRUE(timer.RunOut());
}

}
