#include "ui/menus.h"

#include "base/messages.h"
#include "support/macro_desk.h"

#include <gtest/gtest.h>

namespace {

using Support::MacroDesk;
using Support::Now;

TEST(Menus, EntriesAreFoundByNumberAndText) {
    const MacroDesk desk;
    ASSERT_TRUE(desk.Ready);
    const struct {
        const char* Menu;
        const char* Entry;
        int WantMenu, WantEntry;
    } cases[] = {{"edit", "UNDO", 2, 1},      {"Edit", "3", 2, 3},   {"Edit", "5", 2, 0},
                 {"Edit", "0", 2, 0},         {"Edit", "", 2, 0},    {"Edit", "99999999999999999999", 2, 0},
                 {"File Format", "cr", 3, 1}, {"None", "Undo", 0, 0}};
    for (const auto& each : cases) {
        EXPECT_EQ(Menus::FindMenu(each.Menu), each.WantMenu) << each.Menu;
        EXPECT_EQ(Menus::FindEntry(each.WantMenu, each.Entry), each.WantEntry) << each.Entry;
    }
}

TEST(Menus, OnlyEnabledEntriesAreChosen) {
    const MacroDesk desk;
    EXPECT_TRUE(Menus::Select(2, 1));
    EXPECT_FALSE(Menus::Select(2, 2)); // a separator
    Now.MenuEnabled = false;
    EXPECT_FALSE(Menus::Select(2, 1));
    EXPECT_FALSE(Menus::Select(0, 1));
    EXPECT_FALSE(Menus::Select(4, 1));
    EXPECT_FALSE(Menus::Select(2, -3));
    EXPECT_EQ(Now.MenuRuns, 1);
    EXPECT_TRUE(Menus::Select(3, 2));
    EXPECT_EQ(Now.IndexRun, 7);
}

// What the platform shows follows the menus' state at each refresh, keys included.
TEST(Menus, RefreshTellsThePlatformWhatChanged) {
    const MacroDesk desk;
    const auto shown = [](int menu, int entry) {
        return Headless::Desktop()
            .Menus[static_cast<std::size_t>(menu - 1)]
            .Entries[static_cast<std::size_t>(entry - 1)];
    };
    EXPECT_TRUE(shown(2, 1).Enabled);
    Now.MenuEnabled = false;
    ASSERT_TRUE(Menus::AssignKey(2, 3, 'Z'));
    Menus::Refresh();
    EXPECT_FALSE(shown(2, 1).Enabled);
    EXPECT_EQ(shown(2, 1).Shortcut, 0); // went to the other entry
    EXPECT_EQ(shown(2, 3).Shortcut, 'Z');
}

TEST(Menus, ShortcutsAreLettersAndDigits) {
    const MacroDesk desk;
    const Messages::Recorder said;
    for (const char key : {'A', 'Z', '0', '9', '\0'}) EXPECT_TRUE(Menus::AssignKey(2, 1, key)) << key;
    EXPECT_EQ(said.Notes, "");
    for (const char key : {'a', '@', ' ', '\x7F'}) EXPECT_FALSE(Menus::AssignKey(2, 1, key)) << key;
    EXPECT_NE(said.Notes.find("illegal shortcut key: a   must be: A to Z, or 0 to 9 !"), std::string::npos);
    EXPECT_FALSE(Menus::AssignKey(2, 9, 'A'));
    EXPECT_EQ(Menus::Shortcut(2, 1), 0);
}

TEST(Menus, AChoiceFromThePlatformRunsTheEntry) {
    const MacroDesk desk;
    const auto choose = [](std::uint32_t menu, std::uint32_t entry) {
        return Menus::HandleEvent({.Kind = Events::KeyKind::KeyWindow,
                                   .Detail = Platform::MenuChosen,
                                   .Parameter1 = menu,
                                   .Parameter2 = entry});
    };
    EXPECT_TRUE(choose(2, 1));
    EXPECT_TRUE(choose(2, 4));
    EXPECT_TRUE(choose(0xFFFFFFFF, 0xFFFFFFFF)); // a menu event all the same
    EXPECT_EQ(Now.MenuRuns, 2);
    EXPECT_FALSE(Menus::HandleEvent({.Kind = Events::KeyKind::KeyWindow, .Detail = Platform::Moved}));
}

}
