#include "app/desktop.h"

#include "app/start.h"
#include "app/tell_tale.h"
#include "base/messages.h"
#include "data/session.h"
#include "platform/headless/headless.h"
#include "setup/settings_file.h"
#include "support/fixtures.h"
#include "ui/dia_file.h"
#include "ui/dialog.h"
#include "ui/dialog_events.h"
#include "ui/editing.h"
#include "ui/item_value.h"
#include "ui/macros.h"
#include "ui/menus.h"
#include "ui/notebook.h"
#include "ui/theme.h"
#include "windows/data_files.h"
#include "windows/equation_editor.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>

namespace {

using Platform::KeyCode;

// The whole desktop program, in memory.
struct DesktopTest : testing::Test {
    DesktopTest() {
        ::setenv("XDG_CONFIG_HOME", Folder.At("config").c_str(), 1);
        ::setenv("XDG_STATE_HOME", Folder.At("state").c_str(), 1);
        ::setenv("XDG_CONFIG_DIRS", Folder.At("none").c_str(), 1);
        TellTale::Folder = Folder.At("program");
        std::filesystem::create_directory(TellTale::Folder);
        Start::SetProductDefaults();
        Headless::Reset();
        Notebook::State = {};
    }
    ~DesktopTest() override {
        (void)CloseDataFile(CurrentSession());
        Desktop::ShutDown();
        Messages::Install({});
        TellTale::Folder.clear();
        Setup::SetDefaults();
    }

    static Headless::DesktopState& Screen() { return Headless::Desktop(); }

    bool Start(Desktop::StartOptions options = {}) {
        options.Visible = false;
        const bool started = Desktop::StartUp(options);
        if (started) {
            Notebook::Clear();
            Desktop::OpenFirstFile(options);
            Settle();
        }
        return started;
    }
    static void Settle() {
        while (Desktop::EventStep()) {
        }
    }

    std::string Copy(const char* name) {
        const std::string path = Folder.At("copy.dat");
        std::filesystem::copy_file(Support::Recording(name), path,
                                   std::filesystem::copy_options::overwrite_existing);
        return path;
    }

    static Dialogs::DialogRecord& Dialog(const char* idName) {
        Dialogs::DialogRecord* const dialog = Dialogs::FindDialog(idName);
        EXPECT_NE(dialog, nullptr) << idName;
        return *dialog;
    }
    static Platform::Point Middle(const Dialogs::DialogRecord& dialog, int item) {
        const Platform::Area place = Dialogs::Item(dialog, item).ItemRect.Area();
        return {place.Left + place.Width / 2, place.Top + place.Height / 2};
    }
    static void Click(const char* idName, const char* item) {
        Dialogs::DialogRecord& dialog = Dialog(idName);
        const int number = Dialogs::FindItem(dialog, item);
        ASSERT_NE(number, 0) << item;
        Headless::Click(dialog.WindowHandle, Middle(dialog, number));
        Settle();
    }
    static void Enter(const char* idName, const char* item, const char* text) {
        Click(idName, item);
        Headless::Type(text);
        Headless::Key(Dialog(idName).WindowHandle, KeyCode::Return);
        Settle();
    }
    static void Choose(const char* menu, const char* entry) {
        const int number = Menus::FindMenu(menu);
        Headless::Notify(Platform::FrameWindow, Platform::MenuChosen, static_cast<std::uint32_t>(number),
                         static_cast<std::uint32_t>(Menus::FindEntry(number, entry)));
        Settle();
    }
    static bool Was(const std::string& said) {
        for (const std::string& line : Screen().Said)
            if (line.find(said) != std::string::npos) return true;
        return false;
    }

    Support::TempFolder Folder;
};

}

TEST_F(DesktopTest, ComesUpWithItsWindowsAndGoesDownWithoutAQuestion) {
    ASSERT_TRUE(Start());
    EXPECT_TRUE(Dialog("Notebook").IsOpen && !Dialog("Configuration").IsOpen);
    const int windows = Menus::FindMenu("Windows");
    EXPECT_LT(Menus::FindEntry(windows, "Control Window"), Menus::FindEntry(windows, "Configuration"));
    EXPECT_LT(Menus::FindEntry(windows, "Configuration"), Menus::FindEntry(windows, "Notebook"));
    EXPECT_EQ(Dialogs::FrontDialog(), &Dialog("Control"));
    EXPECT_EQ(Screen().Status.Word, "idle");
    EXPECT_EQ(Screen().Hint, "Open a data file: Ctrl+O");
    Headless::Notify(Platform::FrameWindow, Platform::CloseRequested);
    Settle();
    EXPECT_TRUE(Desktop::QuitFlag);
    EXPECT_TRUE(Screen().Said.empty());
    Desktop::ShutDown();
    EXPECT_TRUE(std::filesystem::exists(Folder.At("config/qorvanite/Qorvanite.frame")));
    EXPECT_TRUE(Screen().Windows.empty());
}

TEST_F(DesktopTest, EveryItemOfEveryWindowHasATipAndFitsIntoIt) {
    ASSERT_TRUE(Start({.DataFile = Copy("bigtree.dat")}));
    for (const char* const window : {"Configuration", "Equation Editor"}) Choose("Windows", window);
    Choose("File", "Open...");
    Choose("Help", "Help");
    Dialogs::ConfigureItem(Dialog("Control"), 1);
    for (Dialogs::DialogRecord* dialog = Dialogs::FirstDialog(); dialog != nullptr;
         dialog = dialog->NextDialog) {
        EXPECT_TRUE(dialog->IsOpen) << dialog->DialogName;
        const Platform::Size size = Platform::Ops().ContentSize(dialog->WindowHandle);
        for (int number = 1; number <= dialog->ItemCount; ++number) {
            if (!Dialogs::HasItem(*dialog, number)) continue;
            const Dialogs::DialogItem& item = Dialogs::Item(*dialog, number);
            const std::string where = dialog->DialogIDName + "." + item.ItemName;
            EXPECT_FALSE(item.ItemName.empty()) << dialog->DialogName << " " << number;
            const bool needsTip = item.Kind != Dialogs::ItemKind::Text && !item.Lines;
            EXPECT_FALSE(needsTip && item.Tip.empty()) << where;
            EXPECT_TRUE(item.ItemRect.Right <= size.Width && item.ItemRect.Bottom <= size.Height) << where;
        }
    }
}

TEST_F(DesktopTest, OpensInEachModeAndSaysSo) {
    const struct {
        const char* Button;
        bool Modify, Analysis;
        const char* Words;
    } cases[] = {{"Read", false, false, "read-only"},
                 {"Analysis", false, true, "analysis only"},
                 {"Modify", true, true, "open for changes"}};
    const std::string path = Folder.At("set.dat");
    for (const char* const ending : {".dat", ".vnc", ".pgf"})
        std::filesystem::copy_file(Support::Recording("plain" + std::string(ending)),
                                   Folder.At("set" + std::string(ending)));
    ASSERT_TRUE(Start());
    for (const auto& one : cases) {
        Choose("File", "Open...");
        Enter("OpenFiles", "File", path.c_str());
        Click("OpenFiles", one.Button);
        ASSERT_TRUE(DataFiles::IsOpen()) << one.Button;
        EXPECT_FALSE(Dialog("OpenFiles").IsOpen);
        EXPECT_EQ(CurrentSession().Modify, one.Modify);
        EXPECT_EQ(CurrentSession().AnalysisWritable, one.Analysis);
        EXPECT_NE(Headless::ShownTexts(Dialog("Control").WindowHandle).find(one.Words), std::string::npos);
        Click("Control", "CloseFile");
        EXPECT_FALSE(DataFiles::IsOpen());
    }
    Choose("File", "Open...");
    Enter("OpenFiles", "File", Folder.At("none.dat").c_str());
    Headless::Key(Dialog("OpenFiles").WindowHandle, 'a');
    Settle();
    EXPECT_TRUE(Dialog("OpenFiles").IsOpen); // the name can be mended
    EXPECT_TRUE(Was("none.dat"));
    Screen().Texts = {"cell.txt", "/" + std::string(300, 'x'), Folder.At("set")};
    Click("OpenFiles", "Get File"); // asks until the name will do
    EXPECT_TRUE(Was("The file \"cell.txt\" has the wrong extension.\nEnter no extension or \".dat\" !"));
    EXPECT_TRUE(Was("Filename too long (max. 259 characters):"));
    Enter("OpenFiles", "File", Folder.At("set").c_str());
    Headless::Key(Dialog("OpenFiles").WindowHandle, KeyCode::Return);
    Settle();
    EXPECT_TRUE(DataFiles::IsOpen() && !CurrentSession().AnalysisWritable);
    Choose("File", "Open...");
    Headless::Key(Dialog("OpenFiles").WindowHandle, KeyCode::Escape);
    Settle();
    EXPECT_FALSE(Dialog("OpenFiles").IsOpen);
}

TEST_F(DesktopTest, SettingsAreEditedCancelledAndSaved) {
    Setup::FitParams& params = Setup::Settings.FitParams;
    ASSERT_TRUE(Start());
    params.SGExport[10] = 0x82; // a bit that the dialog does not know
    Choose("Windows", "Configuration");
    Click("Configuration", "PaneTraceFit");
    Enter("Configuration", "SweepEpsilon", "1u");
    EXPECT_EQ(params.Sweep.Epsilon, 1E-6);
    Enter("Configuration", "SweepDisplayUpdate", "-5"); // the nearest bound
    EXPECT_EQ(params.Sweep.DisplayUpdate, 0);
    Click("Configuration", "LinLeakOn");
    Screen().Answers = {6};
    Click("Configuration", "FitZoom");
    Click("Configuration", "PaneExport");
    Click("Configuration", "ScrapTree");
    Click("Configuration", "ScrapUnits");
    EXPECT_EQ(params.SGExport[10], 0x81);
    Click("Configuration", "Save");
    params.SweepFitType = 5; // a tool's, meanwhile
    Click("Configuration", "Cancel");
    EXPECT_EQ(params.Sweep.Epsilon, 1E-8);
    EXPECT_FALSE(params.LinLeakOn);
    EXPECT_EQ(params.SGExport[10], 0x82);
    EXPECT_EQ(params.SweepFitType, 5);
    ASSERT_TRUE(Setup::LoadConfiguration(Setup::State.SettingsFile));
    EXPECT_EQ(params.Sweep.Epsilon, 1E-6);
    EXPECT_TRUE(params.LinLeakOn);
    EXPECT_EQ(params.FitZoom, 5);
}

TEST_F(DesktopTest, TheEquationEditorShowsWhereAnErrorIsAndStoresWhatIsRight) {
    ASSERT_TRUE(Start());
    Enter("Control", "Value-1", "2.5m");
    Choose("Windows", "Equation Editor");
    Enter("EquationEditor", "String0", "v[1]+x*");
    Dialogs::DialogRecord& editor = Dialog("EquationEditor");
    const auto item = [&](const char* name) { return Dialogs::FindItem(editor, name); };
    EXPECT_TRUE(Dialogs::IsVisible(editor, item("Error")));
    EXPECT_EQ(Dialogs::Item(editor, item("Error")).ItemText, "Error parsing at pos. 7");
    Click("EquationEditor", "Done");
    EXPECT_TRUE(editor.IsOpen);
    // Closed with the wrong text, it comes up anew.
    Click("EquationEditor", "String0");
    Headless::Type("v[1]+*");
    Headless::Notify(editor.WindowHandle, Platform::CloseRequested);
    Settle();
    EXPECT_FALSE(editor.IsOpen || Editing::IsUnderWay());
    Choose("Windows", "Equation Editor");
    Enter("EquationEditor", "String0", "v[1]+x");
    Enter("EquationEditor", "String1", "1");
    Enter("EquationEditor", "String2", "7");
    EXPECT_FALSE(Dialogs::IsVisible(editor, item("Error")));
    for (const auto& [x, total] : {std::pair{"2", 7.0}, {"1", 1.0025}}) {
        Enter("EquationEditor", "X", x);
        EXPECT_EQ(Dialogs::NumberOf(Dialogs::Item(editor, item("TotResult"))), total);
    }
    Click("EquationEditor", "Done");
    EXPECT_FALSE(editor.IsOpen);
    EXPECT_NE(Notebook::Text().find("v[1]+x {1} 7 = 1.00250000"), std::string::npos) << Notebook::Text();
}

TEST_F(DesktopTest, AnEditorOfOneRowGivesBackWhatWasThereOrStoresAtDone) {
    ASSERT_TRUE(Start());
    std::string text = "1+1";
    double value = 5;
    ASSERT_TRUE(
        EquationEditor::Open({.Text = &text, .Value = &value, .Words = {}, .Done = {}, .Ranged = false}));
    for (const char* const name : {"X", "TotResult", "String1"}) {
        const int number = Dialogs::FindItem(Dialog("EquationEditor"), name);
        EXPECT_FALSE(Dialogs::IsVisible(Dialog("EquationEditor"), number)) << name;
    }
    Enter("EquationEditor", "String0", "3*4");
    Click("EquationEditor", "Undo");
    Click("EquationEditor", "Cancel");
    EXPECT_EQ(text, "1+1");
    EXPECT_EQ(value, 5);
    ASSERT_TRUE(
        EquationEditor::Open({.Text = &text, .Value = &value, .Words = {}, .Done = {}, .Ranged = false}));
    Enter("EquationEditor", "String0", "3*4");
    Click("EquationEditor", "Done");
    EXPECT_EQ(text, "3*4");
    EXPECT_EQ(value, 12);
    // More than the rows hold is not lost.
    text = "1 {1} 2 {2} 3 {3} 4 {4} 5 {5} 6";
    ASSERT_TRUE(EquationEditor::Open({.Text = &text, .Words = {}, .Done = {}}));
    Click("EquationEditor", "Done");
    const Dialogs::DialogRecord& editor = Dialog("EquationEditor");
    EXPECT_TRUE(editor.IsOpen);
    EXPECT_EQ(Dialogs::TextOf(Dialogs::Item(editor, Dialogs::FindItem(editor, "String8"))), "5 {5} 6");
    Enter("EquationEditor", "String8", "5");
    Click("EquationEditor", "Done");
    EXPECT_EQ(text, "1 {1} 2 {2} 3 {3} 4 {4} 5");
}

TEST_F(DesktopTest, QuittingAsksForWhatIsNotStored) {
    ASSERT_TRUE(Start({.DataFile = Copy("bigtree.dat")}));
    Notebook::WriteLine("worth keeping");
    Dialogs::KeepLayout(Dialog("Control")); // something was moved there
    Setup::Settings.Program.VerifyExit = true;
    Screen().Answers = {1};
    Choose("File", "Quit");
    EXPECT_TRUE(Was("Quit Qorvanite ?"));
    Screen().Answers = {0, 2}; // Cancel
    Choose("File", "Quit");
    EXPECT_TRUE(Was("Quitting Qorvanite \n\nSave Modified Text ?"));
    EXPECT_TRUE(DataFiles::IsOpen());
    Setup::Settings.Program.VerifyExit = false;
    Screen().Answers = {0, 1}; // Yes, but no file is named; then: not anyway
    Choose("File", "Quit");
    EXPECT_TRUE(Was("An error occurred while saving files. QUIT anyway ?"));
    EXPECT_FALSE(Desktop::QuitFlag);
    Screen().Answers = {0};
    Screen().Texts = {Folder.At("kept.txt")};
    Setup::Settings.Program.StoreOnExit = true;
    Setup::Settings.Files.Username = "Anna";
    EXPECT_TRUE(Macros::ExecuteMacroLine("@ File Quit"));
    EXPECT_TRUE(Desktop::QuitFlag);
    EXPECT_NE(Support::ReadWhole(Folder.At("kept.txt")).find("worth keeping"), std::string::npos);
    EXPECT_NE(Support::ReadWhole(Setup::State.SettingsFile).find("Username \"Anna\""), std::string::npos);
    EXPECT_TRUE(std::filesystem::exists(DiaFile::PathOf(Dialog("Control"))));
}

TEST_F(DesktopTest, AStartThatFailsLeavesTheArrangementOfTheWindows) {
    const std::string frame = Folder.At("config/qorvanite/Qorvanite.frame");
    std::filesystem::create_directories(Folder.At("config/qorvanite"));
    Support::WriteWhole(frame, "QORVANITE-FRAME 1\nTHEME 2\nNOTEBOOKSIZE 20\n");
    EXPECT_FALSE(Start({.SettingsFile = Folder.At("none.set")}));
    Desktop::ShutDown();
    EXPECT_NE(Support::ReadWhole(frame).find("NOTEBOOKSIZE 20"), std::string::npos);
}

TEST_F(DesktopTest, KeysOfAllDialogsAreThereAgainAtTheNextStart) {
    const char* const dialogs[] = {"Control", "Configuration", "OpenFiles", "EquationEditor", "Help"};
    ASSERT_TRUE(Start());
    for (const char* const id : dialogs)
        EXPECT_TRUE(Macros::ExecuteMacroLine(id + std::string(" 6 KEY F7 shift"))) << id;
    Choose("Help", "Save Keys");
    Desktop::ShutDown();
    ASSERT_TRUE(Start());
    Choose("Windows", "Equation Editor");
    for (const char* const id : dialogs) {
        const std::vector<Dialogs::UserKey>& keys = Dialog(id).UserKeys;
        EXPECT_TRUE(std::ranges::any_of(keys, [](const auto& key) { return key.Number == 6; })) << id;
    }
    EXPECT_TRUE(Dialogs::Item(Dialog("EquationEditor"), 6).Key.IsSet());
}

TEST_F(DesktopTest, TheHelpKeyBelongsToAnItemThatHasIt) {
    ASSERT_TRUE(Start());
    const auto press = [] {
        Headless::Key(Dialog("Control").WindowHandle, KeyCode::F1);
        Settle();
    };
    EXPECT_TRUE(Macros::ExecuteMacroLine("Control \"OpenFile\" KEY F1"));
    press();
    EXPECT_TRUE(Dialog("OpenFiles").IsOpen);
    EXPECT_FALSE(Dialog("Help").IsOpen);
    Enter("OpenFiles", "File", "typed.dat");
    Choose("File", "Open..."); // comes to the front with what was typed
    EXPECT_NE(Headless::ShownTexts(Dialog("OpenFiles").WindowHandle).find("typed.dat"), std::string::npos);
    EXPECT_TRUE(Macros::ExecuteMacroLine("Control \"OpenFile\" KEY F2"));
    press();
    EXPECT_TRUE(Dialog("Help").IsOpen);
}

TEST_F(DesktopTest, SwitchFilesBesideTheProgramCount) {
    const auto inkOfTheSettings = [] {
        Setup::Settings.Colors.Text = {0x1200, 0x3400, 0x5600};
        Themes::Apply(Themes::Choice::Light);
        return Themes::Colors().Text == Platform::Color{0x12, 0x34, 0x56, 255};
    };
    ASSERT_TRUE(Start());
    EXPECT_TRUE(inkOfTheSettings());
    Desktop::ShutDown();
    Support::WriteWhole(Folder.At("program/Win32Col.On"), "");
    Support::WriteWhole(Folder.At("program/ReadDataFile.On"), Support::Recording("plain.dat") + "\r\nmore");
    Support::WriteWhole(Folder.At("program/ShowMemory.On"), "");
    ASSERT_TRUE(Start());
    EXPECT_TRUE(DataFiles::IsOpen());
    EXPECT_FALSE(CurrentSession().Modify);
    Dialogs::DialogRecord& control = Dialog("Control");
    EXPECT_TRUE(Dialogs::IsVisible(control, Dialogs::FindItem(control, "Memory")));
    EXPECT_NE(Notebook::Text().find("TellTaleFile: \"ReadDataFile.On\""), std::string::npos);
    EXPECT_FALSE(inkOfTheSettings());
}

TEST_F(DesktopTest, LongWorkIsStoppedByEscape) {
    ASSERT_TRUE(Start());
    Messages::Progress progress("Working", 1000);
    bool stopped = false;
    int steps = 0;
    for (; steps < 1000 && !stopped; ++steps) {
        Screen().Clock += 10;
        if (steps == 500) Headless::Key(Dialog("Control").WindowHandle, KeyCode::Escape);
        stopped = !progress.Add(1);
        EXPECT_GE(Screen().Status.Progress, 0);
    }
    EXPECT_TRUE(stopped);
    EXPECT_GE(steps, 500);
    EXPECT_LT(steps, 510);
}
