#include "ui/key_file.h"

#include "base/messages.h"
#include "support/macro_desk.h"
#include "support/temp_folder.h"
#include "ui/macro_list.h"

#include <gtest/gtest.h>

namespace {

using namespace Support; // the desk, and the numbers of its items

TEST(KeyFile, IsWrittenInItsForm) {
    MacroDesk desk;
    const Support::TempFolder folder;
    using enum Events::KeyClass;
    Dialogs::SetItemKey(desk.Dialog, Go, {.Class = Special, .Char = 64});
    Dialogs::SetItemKey(desk.Dialog, Mode, {.Class = Special, .Char = 3, .Modifiers = 2});
    Dialogs::SetItemKey2(desk.Dialog, Mode, {.Class = Special, .Char = 4, .Modifiers = 2});
    Dialogs::SetItemKey(desk.Dialog, Ticked, {.Class = Printable, .Char = 'c', .AnyModifier = true});
    const std::string lines[] = {"MACRO-FILE        900",
                                 "",
                                 "",
                                 "; @ -> Menu Keys",
                                 ";     the standard keys should not be changed:",
                                 "; @  Edit          \"Undo\"                   Key Char  \"Z\"",
                                 "  @  Edit          'Find \"it\"'              Key Char  \"F\"",
                                 "  @  \"File Format\" \"CR\"                     Key Char  \"1\"",
                                 "",
                                 "; Desk -> The Desk",
                                 "",
                                 "  Desk             Go                       Key F1",
                                 "  Desk             \"Check Box\"              Key Char  \"C\" any",
                                 "  Desk             Mode                     Key CursorDown shift",
                                 "  Desk             Mode                     Key2 CursorUp shift back"};
    for (const auto& [mode, end] : {std::pair{1, "\r\n"}, {2, "\n"}}) {
        Setup::Settings.Export.LineEndMode = static_cast<std::uint8_t>(mode);
        std::string wanted;
        for (const std::string& line : lines) wanted += line + end;
        ASSERT_TRUE(KeyFile::Save(folder.At("a.key")));
        EXPECT_EQ(Support::ReadWhole(folder.At("a.key")), wanted);
    }
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
    (void)folder.Write("a.100y", "taken");
    ASSERT_TRUE(KeyFile::Save(file));
    EXPECT_EQ(Support::ReadWhole(folder.At("a.101y")), "old");
    for (int number = 102; number <= 198; ++number)
        (void)folder.Write("a." + std::to_string(number) + "y", "");
    EXPECT_TRUE(KeyFile::Save(file));
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
    EXPECT_FALSE(KeyFile::Load(folder.Write("b.key", "MACRO-FILE 1\nDesk Go Key F2\n")));
    EXPECT_NE(said.Questions.find("Version conflict in Macro file: "), std::string::npos);
    EXPECT_FALSE(KeyFile::Load("/dev/zero"));
    EXPECT_TRUE(desk.Dialog.UserKeys.empty());
}

TEST(MacroList, NamesWhatMacrosCanSay) {
    MacroDesk desk;
    desk.Item(Go).Executable = false;
    desk.Item(Tau).MacroEnabled = false;
    const auto listed = [](bool recordedOnly) {
        const Messages::Recorder said;
        MacroList::ListFront(recordedOnly);
        return said.Notes;
    };
    const std::string all = listed(false), some = listed(true);
    for (const char* const line :
         {";    MENU items:\n  @  Edit          \"Undo\"\n", ";    DIALOG items:\n",
          ";    DIALOG: \"Desk\" = \"The Desk\"\n", "\n  Desk  Tau                                 real\n",
          "  Count                               integer\n", "  Mask                                hex\n",
          "  Bits                                set16\n",
          "  \"Check Box\"                         boolean\n",
          "  Mode                                list index\n",
          "  Pair                                list index + 2. integer\n",
          "  Code                                char\n", "  Name                                string\n"})
        EXPECT_NE(all.find(line), std::string::npos) << line << all;
    EXPECT_EQ(all.find("  Desk  Go "), std::string::npos);
    EXPECT_EQ(all.find("Quit"), std::string::npos);
    EXPECT_NE(some.find(";    DIALOG macro items:\n"), std::string::npos);
    EXPECT_EQ(some.find("  Desk  Tau "), std::string::npos);
}

}
