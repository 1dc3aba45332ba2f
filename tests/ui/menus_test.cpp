#include "ui/menus.h"

#include "base/messages.h"
#include "support/macro_desk.h"

#include <gtest/gtest.h>

namespace {

using namespace Support; // the desk

TEST(Menus, EntriesAreFoundByNumberAndText) {
    const MacroDesk desk;
    const struct {
        const char *Menu, *Entry;
        int WantMenu, WantEntry;
    } cases[] = {{"edit", "UNDO", 2, 1}, {"Edit", "4", 2, 4},      {"Edit", "5", 2, 0},
                 {"Edit", "0", 2, 0},    {"Edit", "", 2, 0},       {"Edit", "99999999999999999999", 2, 0},
                 {"None", "1", 0, 0},    {"Program", "Quit", 1, 1}};
    for (const auto& each : cases) {
        EXPECT_EQ(Menus::FindMenu(each.Menu), each.WantMenu) << each.Menu;
        EXPECT_EQ(Menus::FindEntry(each.WantMenu, each.Entry), each.WantEntry) << each.Entry;
    }
}

TEST(Menus, OnlyEnabledEntriesAreChosen) {
    const MacroDesk desk;
    EXPECT_TRUE(Menus::Select(2, 1));
    Now.MenuEnabled = false;
    for (const auto& [menu, entry] : {std::pair{2, 1}, {2, 2}, {0, 1}, {4, 1}, {2, -3}}) // 2 is a separator
        EXPECT_FALSE(Menus::Select(menu, entry)) << menu << " " << entry;
    EXPECT_EQ(Now.MenuRuns, 1);
    EXPECT_TRUE(Menus::Select(3, 2));
    EXPECT_EQ(Now.IndexRun, 7);
    Headless::Notify(Platform::FrameWindow, Platform::MenuChosen, 2, 1);
    Headless::Notify(Platform::FrameWindow, Platform::MenuChosen, 0xFFFFFFFF, 0xFFFFFFFF);
    Headless::Notify(Platform::FrameWindow, Platform::MenuChosen, 2, 3);
    MacroDesk::TakeEvents();
    EXPECT_EQ(Now.MenuRuns, 2);
}

// What the platform shows follows the menus' state at each refresh, keys included.
TEST(Menus, ShortcutsAreLettersAndDigitsOfOneEntryEach) {
    const MacroDesk desk;
    const Messages::Recorder said;
    const auto shown = [](int entry) {
        return Headless::Desktop().Menus[1].Entries[static_cast<std::size_t>(entry - 1)];
    };
    for (const char key : {'A', '0', '9', '\0', 'Z'}) EXPECT_TRUE(Menus::AssignKey(2, 1, key)) << key;
    EXPECT_EQ(said.Notes, "");
    Now.MenuEnabled = false;
    ASSERT_TRUE(Menus::AssignKey(2, 3, 'Z'));
    EXPECT_TRUE(shown(1).Enabled);
    Menus::Refresh();
    EXPECT_FALSE(shown(1).Enabled);
    EXPECT_EQ(shown(1).Shortcut, 0); // went to the other entry
    EXPECT_EQ(shown(3).Shortcut, 'Z');
    for (const char key : {'a', '@', '[', '/', ':'}) EXPECT_FALSE(Menus::AssignKey(2, 1, key)) << key;
    EXPECT_NE(said.Notes.find("illegal shortcut key: a   must be: A to Z, or 0 to 9 !"), std::string::npos);
    EXPECT_FALSE(Menus::AssignKey(2, 9, 'A'));
}

}
