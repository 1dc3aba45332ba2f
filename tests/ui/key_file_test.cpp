#include "ui/key_file.h"

#include "base/messages.h"
#include "support/macro_desk.h"
#include "support/temp_folder.h"
#include "ui/macro_list.h"

#include <gtest/gtest.h>

namespace {

using Support::MacroDesk;
using Support::Now;
using namespace Support; // the items' numbers

TEST(KeyFile, IsWrittenInItsForm) {
    MacroDesk desk;
    const Support::TempFolder folder;
    Dialogs::SetItemKey(desk.Dialog, Go, {.Class = Events::KeyClass::Special, .Char = 64});
    Dialogs::SetItemKey(desk.Dialog, Mode, {.Class = Events::KeyClass::Special, .Char = 3, .Modifiers = 2});
    Dialogs::SetItemKey2(desk.Dialog, Mode, {.Class = Events::KeyClass::Special, .Char = 4, .Modifiers = 2});
    Dialogs::SetItemKey(desk.Dialog, Ticked,
                        {.Class = Events::KeyClass::Printable, .Char = 'c', .AnyModifier = true});
    ASSERT_TRUE(KeyFile::Save(folder.At("a.key")));
    EXPECT_EQ(Support::ReadWhole(folder.At("a.key")),
              "MACRO-FILE        900\n\n\n"
              "; @ -> Menu Keys\n"
              ";     the standard keys should not be changed:\n"
              "; @  Edit          \"Undo\"                   Key Char  \"Z\"\n"
              "  @  Edit          'Find \"it\"'              Key Char  \"F\"\n"
              "  @  \"File Format\" \"CR\"                     Key Char  \"1\"\n"
              "\n; Desk -> The Desk\n\n"
              "  Desk             Go                       Key F1\n"
              "  Desk             \"Check Box\"              Key Char  \"C\" any\n"
              "  Desk             Mode                     Key CursorDown shift\n"
              "  Desk             Mode                     Key2 CursorUp shift back\n");
}

TEST(KeyFile, GivesItsKeysToOpenAndClosedDialogs) {
    const Support::TempFolder folder;
    for (const bool closed : {false, true}) {
        MacroDesk desk;
        const Messages::Recorder said;
        if (closed) Dialogs::CloseDialog(desk.Dialog);
        const std::string file = folder.Write("a.key", "MACRO-FILE 900\n\n; @ -> Menu Keys\n"
                                                       "  @ Edit 3 Key Char \"G\"\n"
                                                       "  @ Edit 4 Key Char \"g\"\n"
                                                       "Gone Item Key F1\nDesk Gone Key F1\n"
                                                       "Desk Count 7\nDesk Go\n@ Edit 1\n"
                                                       "Desk Go Key F2\nDesk Mode Key2 F3 back\n");
        EXPECT_TRUE(KeyFile::Load(file));
        EXPECT_EQ(Now.Count, 5); // a key file does not act
        EXPECT_EQ(Now.Runs + Now.MenuRuns, 0);
        EXPECT_EQ(said.Alerts, "");
        EXPECT_NE(said.Notes.find(": 6 lines passed over"), std::string::npos) << said.Notes;
        EXPECT_EQ(Menus::Shortcut(2, 3), 'G');
        ASSERT_TRUE(Dialogs::OpenDialog(desk.Dialog));
        EXPECT_EQ(desk.Item(Go).Key.Char, 65u);
        EXPECT_EQ(desk.Item(Mode).Key2.Char, 66u);
        // What was loaded is saved, and loads again to the same.
        ASSERT_TRUE(KeyFile::Save(file));
        const std::string saved = Support::ReadWhole(file);
        ASSERT_TRUE(KeyFile::Load(file) && KeyFile::Save(file));
        EXPECT_EQ(Support::ReadWhole(file), saved);
    }
}

TEST(KeyFile, OldFilesAreKept) {
    const MacroDesk desk;
    const Support::TempFolder folder;
    const std::string file = folder.Write("a.key", "old");
    ASSERT_TRUE(KeyFile::Save(file));
    EXPECT_EQ(Support::ReadWhole(folder.At("a.100y")), "old");
    (void)folder.Write("a.101y", "taken");
    ASSERT_TRUE(KeyFile::Save(file));
    EXPECT_EQ(Support::ReadWhole(folder.At("a.102y")), Support::ReadWhole(file));
    for (int number = 103; number <= 199; ++number)
        (void)folder.Write("a." + std::to_string(number) + "y", "");
    (void)folder.Write("a.key", "last");
    const Messages::Recorder said;
    EXPECT_FALSE(KeyFile::Save(file));
    EXPECT_EQ(said.Alerts, "Keys not saved. Could not rename old key file.\n");
    EXPECT_EQ(Support::ReadWhole(file), "last");
    EXPECT_FALSE(KeyFile::Save(folder.At("none/a.key")));
    EXPECT_NE(said.Alerts.find("Error saving key file"), std::string::npos);
}

TEST(KeyFile, WhatIsNoKeyFileIsNotLoaded) {
    const MacroDesk desk;
    const Support::TempFolder folder;
    const Messages::Recorder said;
    EXPECT_FALSE(KeyFile::Load(folder.At("none.key")));
    EXPECT_EQ(said.Alerts, ""); // there need be none
    EXPECT_FALSE(KeyFile::Load(folder.Write("a.key", "Desk Go Key F2\n")));
    EXPECT_NE(said.Alerts.find("Not a macro file"), std::string::npos);
    EXPECT_FALSE(KeyFile::Load(folder.Write("b.key", "MACRO-FILE 1\nDesk Go Key F2\n")));
    EXPECT_NE(said.Questions.find("Version conflict in Macro file: "), std::string::npos);
    EXPECT_FALSE(KeyFile::Load("/dev/zero"));
    EXPECT_FALSE(desk.Dialog.UserKeys.size() > 0);
}

TEST(MacroList, NamesWhatMacrosCanSay) {
    MacroDesk desk;
    desk.Item(Go).Executable = false;
    desk.Item(Tau).MacroEnabled = false;
    Messages::Recorder all;
    MacroList::ListFront(false);
    for (const char* const line :
         {";    MENU items:\n  @  Edit          \"Undo\"\n", ";    DIALOG items:\n",
          ";    DIALOG: \"Desk\" = \"The Desk\"\n", "\n  Desk  Tau                                 real\n",
          "\n  Desk  Count                               integer\n",
          "\n  Desk  Mask                                hex\n",
          "\n  Desk  Bits                                set16\n",
          "\n  Desk  \"Check Box\"                         boolean\n",
          "\n  Desk  Mode                                list index\n",
          "\n  Desk  Pair                                list index + 2. integer\n",
          "\n  Desk  Code                                char\n",
          "\n  Desk  Name                                string\n"})
        EXPECT_NE(all.Notes.find(line), std::string::npos) << line << all.Notes;
    EXPECT_EQ(all.Notes.find("  Desk  Go "), std::string::npos);
    EXPECT_EQ(all.Notes.find("Quit"), std::string::npos);
    const Messages::Recorder some;
    MacroList::ListItems(nullptr, true);
    EXPECT_NE(some.Notes.find(";    DIALOG macro items:\n"), std::string::npos);
    EXPECT_EQ(some.Notes.find("  Desk  Tau "), std::string::npos);
    const Messages::Recorder keys;
    MacroList::ListKeys();
    EXPECT_EQ(keys.Notes.substr(0, 17), "; @ -> Menu Keys\n");
}

}
