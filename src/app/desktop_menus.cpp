#include "app/desktop_menus.h"

#include "app/desktop.h"
#include "app/start.h"
#include "app/tools.h"
#include "setup/settings.h"
#include "ui/dia_file.h"
#include "ui/dialog.h"
#include "ui/dialog_events.h"
#include "ui/editing.h"
#include "ui/help.h"
#include "ui/key_file.h"
#include "ui/macro_list.h"
#include "ui/macro_recorder.h"
#include "ui/macros.h"
#include "ui/menus.h"
#include "ui/notebook.h"
#include "windows/configuration.h"
#include "windows/data_files.h"
#include "windows/open_files.h"

#include "base/messages.h"

namespace DesktopMenus {

namespace {

using Platform::EditCommand;

void About() {
    (void)Platform::Ops().Alert(
        {.Kind = Platform::AlertKind::Note,
         .Text = Start::VersionName() +
                 "\n\nAnalysis of electrophysiological recordings:\npatch-clamp, voltage and current clamp.",
         .Buttons = {"OK"}});
}
void ShowConfiguration() {
    (void)Configuration::Show();
}
void QuitProgram() {
    (void)Desktop::Quit();
}

// File
void OpenFile() {
    (void)OpenFiles::Show();
}
void UpdateFile() {
    (void)DataFiles::Update();
}
void CloseFile() {
    (void)DataFiles::Close();
}
void MergeFile() {
    (void)DataFiles::Merge();
}
void StoreAnalysis() {
    (void)DataFiles::SaveAnalysis();
}
bool AnalysisCanBeStored() {
    return DataFiles::IsOpen() && CurrentSession().AnalysisWritable;
}

// Edit
bool CanUndo() {
    return Editing::IsUnderWay() || Dialogs::CanUndoMove() || Notebook::CanUndoClear();
}
void Undo() {
    if (Platform::Ops().EditTextBox(EditCommand::Undo)) return;
    if (Dialogs::UndoMove()) return;
    Notebook::UndoClear();
}
template <EditCommand command>
void Edit() {
    (void)Platform::Ops().EditTextBox(command);
}

// Notebook
void SaveNotebook() {
    (void)Notebook::Save();
}
void SaveNotebookAs() {
    (void)Notebook::SaveAs();
}
void MergeNotebook() {
    (void)Notebook::Merge();
}
void PrintNotebook() {
    (void)Notebook::Print();
}
void ToggleClearWhenSaved() {
    Setup::Settings.Program.TermIOClear = !Setup::Settings.Program.TermIOClear;
}
bool ClearsWhenSaved() {
    return Setup::Settings.Program.TermIOClear;
}
void AskLength() {
    (void)Notebook::SetLength();
}
std::string LengthText() {
    return "Set Length... (" + std::to_string(Setup::Settings.Program.NotebookLength) + ")";
}
void ToggleLineNumbers() {
    Notebook::SetLineNumbers(!Notebook::State.LineNumbers);
}
bool HasLineNumbers() {
    return Notebook::State.LineNumbers;
}
void ToggleBuffered() {
    Setup::Settings.Program.TermIOBuffering = !Setup::Settings.Program.TermIOBuffering;
}
bool IsBuffered() {
    return Setup::Settings.Program.TermIOBuffering;
}
void AskFontSize() {
    (void)Notebook::AskFontSize();
}
void ZoomIn() {
    Notebook::Zoom(1);
}
void ZoomOut() {
    Notebook::Zoom(-1);
}
template <std::uint8_t mode>
void SetLineEnd() {
    Setup::Settings.Export.LineEndMode = mode;
}
template <std::uint8_t mode>
bool LineEndIs() {
    return Setup::Settings.Export.LineEndMode == mode;
}

// Windows
void ShowWindow(int index) {
    Tools::MenuOrder()[static_cast<std::size_t>(index)].Show();
}
void CloseFront() {
    Dialogs::DialogRecord* const front = Dialogs::FrontDialog();
    if (front == nullptr) return;
    if (front->Spec.Window == Platform::WindowKind::Panel) {
        Dialogs::ShowDialog(*front, false);
    } else if (front->Spec.CloseBox) {
        Dialogs::CloseDialog(*front);
    }
}
void ConfigureFront() {
    Dialogs::DialogRecord* const front = Dialogs::FrontDialog();
    if (front != nullptr && Dialogs::ConfigureItem != nullptr)
        Dialogs::ConfigureItem(*front, front->CurrentItem);
}
void StoreFront() {
    Dialogs::DialogRecord* const front = Dialogs::FrontDialog();
    if (front == nullptr) {
        Messages::Alert("Cannot store:  Front Window is not a Dialog!");
    } else if (DiaFile::Store(*front)) {
        Messages::Log("Dialog stored: \"" + DiaFile::PathOf(*front) + "\"");
    }
}

// Macros
std::string RecordText() {
    return Macros::RecordLabel();
}
bool RecordsMacros() {
    return Macros::IsRecording();
}
void PlayMacro() {
    std::string path;
    if (Platform::Ops().FileDialog({.Title = "Play Macro",
                                    .Start = Macros::RecordedFile(),
                                    .Pattern = "*.mac *.txt",
                                    .Kind = "Macro file"},
                                   path) &&
        !path.empty())
        (void)Macros::StartMacro(path);
}

// Help
void ToggleKeys() {
    Dialogs::ShowKeys = !Dialogs::ShowKeys;
    for (Dialogs::DialogRecord* dialog = Dialogs::FirstDialog(); dialog != nullptr;
         dialog = dialog->NextDialog)
        Dialogs::UpdateDialog(*dialog);
}
std::string KeysText() {
    return Dialogs::ShowKeys ? "Hide Keys" : "Show Keys";
}
void SaveKeys() {
    if (KeyFile::Save(KeyFile::Path())) Messages::Log("Keys saved: \"" + KeyFile::Path() + "\"");
}
void ListItems() {
    MacroList::ListFront(false);
}
void ListMacroItems() {
    MacroList::ListFront(true);
}
void ShowHelp() {
    Help::ShowForFront();
}
void ToggleTips() {
    Dialogs::ShowTooltips = !Dialogs::ShowTooltips;
}
bool ShowsTips() {
    return Dialogs::ShowTooltips;
}

const Menus::Row Program[] = {
    {.Text = "About Qorvanite", .Proc = About},
    {},
    {.Text = "Fit Configuration", .Proc = ShowConfiguration},
};
const Menus::Row File[] = {
    {.Text = "Open...", .Shortcut = 'O', .Proc = OpenFile},
    {.Text = "Update File", .Shortcut = 'U', .Proc = UpdateFile, .Enabled = DataFiles::CanModify},
    {.Text = "Merge...", .Proc = MergeFile, .Enabled = DataFiles::CanModify},
    {.Text = "Close", .Proc = CloseFile, .Enabled = DataFiles::IsOpen},
    {},
    {.Text = "Store Analysis", .Shortcut = 'S', .Proc = StoreAnalysis, .Enabled = AnalysisCanBeStored},
    {},
    {.Text = "Quit", .Shortcut = 'Q', .Proc = QuitProgram}, // here, where macros reach it
};
const Menus::Row EditRows[] = {
    {.Text = "Undo", .Shortcut = 'Z', .Proc = Undo, .Enabled = CanUndo},
    {},
    {.Text = "Cut", .Shortcut = 'X', .Proc = Edit<EditCommand::Cut>},
    {.Text = "Copy", .Shortcut = 'C', .Proc = Edit<EditCommand::Copy>},
    {.Text = "Paste", .Shortcut = 'V', .Proc = Edit<EditCommand::Paste>},
    {.Text = "Select All", .Shortcut = 'A', .Proc = Edit<EditCommand::SelectAll>},
};
const Menus::Row FileFormat[] = {
    {.Text = "end of line = CR (MacOS_9)", .Proc = SetLineEnd<0>, .Checked = LineEndIs<0>},
    {.Text = "end of line = CR+LF (Windows)", .Proc = SetLineEnd<1>, .Checked = LineEndIs<1>},
    {.Text = "end of line = LF (UNIX)", .Proc = SetLineEnd<2>, .Checked = LineEndIs<2>},
};
const Menus::Row NotebookRows[] = {
    {.Text = "Save", .Proc = SaveNotebook},
    {.Text = "Save As...", .Proc = SaveNotebookAs},
    {.Text = "Merge...", .Proc = MergeNotebook},
    {.Text = "Print...", .Shortcut = 'P', .Proc = PrintNotebook},
    {},
    {.Text = "Clear when Saved", .Proc = ToggleClearWhenSaved, .Checked = ClearsWhenSaved},
    {.Text = "Clear", .Proc = Notebook::Clear},
    {.Text = "Set Length...", .Proc = AskLength, .ShownText = LengthText},
    {},
    {.Text = "Line Numbers", .Proc = ToggleLineNumbers, .Checked = HasLineNumbers},
    {.Text = "Buffered Output", .Proc = ToggleBuffered, .Checked = IsBuffered},
    {.Text = "Font Size...", .Proc = AskFontSize},
    {.Text = "File Format", .SubMenu = "File Format"},
    {},
    {.Text = "Zoom In", .Proc = ZoomIn},
    {.Text = "Zoom Out", .Proc = ZoomOut},
    {.Text = "Show Notebook", .Proc = Notebook::Show},
};
const Menus::Row WindowRows[] = {
    {.Text = "Close Window", .Shortcut = 'W', .Proc = CloseFront},
    {.Text = "Configure Item...", .Proc = ConfigureFront},
    {.Text = "Store Front Dialog", .Proc = StoreFront},
    {},
};
const Menus::Row HelpRows[] = {
    {.Text = "Help", .Shortcut = 'H', .Proc = ShowHelp},
    {.Text = "Show Tooltips", .Proc = ToggleTips, .Checked = ShowsTips},
    {},
    {.Text = "Show Keys", .Proc = ToggleKeys, .ShownText = KeysText},
    {.Text = "List Keys", .Proc = MacroList::ListKeys},
    {.Text = "Save Keys", .Proc = SaveKeys},
    {},
    {.Text = "List All Items", .Proc = ListItems},
    {.Text = "List All Macro Items", .Proc = ListMacroItems},
    {},
    {.Text = "About Qorvanite", .Proc = About},
};
// What rules macros is no part of one.
const Menus::Row MacroRows[] = {
    {.Text = "Record Macros",
     .Proc = Macros::RecordMacros,
     .Checked = RecordsMacros,
     .ShownText = RecordText,
     .Macro = false},
    {.Text = "Play Macro...", .Shortcut = 'M', .Proc = PlayMacro, .Macro = false},
    {.Text = "Stop Macro", .Proc = Macros::StopMacro, .Enabled = Macros::IsPlaying, .Macro = false},
};

}

void Make() {
    Menus::Clear();
    Menus::Add("Qorvanite", Program);
    Menus::Add("File", File);
    Menus::Add("Edit", EditRows);
    Menus::Add("File Format", FileFormat, false);
    Menus::Add("Notebook", NotebookRows);
    Menus::Add("Macros", MacroRows);
    Menus::Add("Windows", WindowRows);
    int index = 0;
    for (const Tools::WindowRow& row : Tools::MenuOrder())
        Menus::AddEntry("Windows", row.Name, index++, ShowWindow);
    Menus::Add("Help", HelpRows);
    Menus::Install();
}

}
