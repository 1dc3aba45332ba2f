#include "windows/open_files.h"

#include "base/messages.h"
#include "setup/settings.h"
#include "ui/dialog.h"
#include "ui/dialog_events.h"
#include "windows/data_files.h"

#include <algorithm>
#include <iterator>

namespace OpenFiles {

namespace {

using Dialogs::DialogRecord;
using Dialogs::ItemKind;
using Dialogs::Role;
using Dialogs::ToLeft;
using Dialogs::ToRight;
using Dialogs::ToTop;

enum Items : std::uint8_t {
    Heading = 1,
    FileH,
    File,
    GetFile,
    Line,
    Modify,
    ModifyH,
    Read,
    ReadH,
    Analysis,
    AnalysisH,
    Quit,
    QuitH,
    ItemTotal = QuitH
};

struct OpenState {
    DialogRecord Dialog;
    std::string FileName;
};
OpenState State;

void FindFile(DialogRecord& dialog, int) {
    if (!DataFiles::AskFile("Open Data File", State.FileName)) return;
    Dialogs::RedrawItem(dialog, File);
}

void OpenIn(DialogRecord& dialog, OpenMode mode) {
    if (State.FileName.empty() && !DataFiles::AskFile("Open Data File", State.FileName)) return;
    if (DataFiles::Open(State.FileName, mode)) {
        Dialogs::CloseDialog(dialog);
    } else {
        Dialogs::UpdateDialog(dialog); // the name stays, to be mended
    }
}

void OpenModify(DialogRecord& dialog, int) {
    OpenIn(dialog, OpenMode::Modify);
}
void OpenRead(DialogRecord& dialog, int) {
    OpenIn(dialog, OpenMode::Read);
}
void OpenAnalysis(DialogRecord& dialog, int) {
    OpenIn(dialog, OpenMode::Analysis);
}
void QuitDialog(DialogRecord& dialog, int) {
    Dialogs::CloseDialog(dialog);
}

// Return behind the name opens in the mode that changes nothing.
bool TakeKey(DialogRecord& dialog, const Events::Event& event) {
    const bool isReturn = event.KeyClass == Events::KeyClass::Special &&
                          (event.Char == static_cast<std::uint32_t>(Platform::KeyCode::Return) ||
                           event.Char == static_cast<std::uint32_t>(Platform::KeyCode::Enter));
    if (!isReturn || dialog.CurrentItem != File) return false;
    Dialogs::PressItem(dialog, Read, {.Source = Dialogs::Source::Key});
    return true;
}

const Dialogs::Row Rows[] = {
    {.Number = Heading,
     .Kind = ItemKind::Text,
     .Name = "Heading",
     .Text = "Open Data File",
     .At = {16, 14, 440, 24},
     .Role = Role::Heading},
    {.Number = FileH, .Kind = ItemKind::Text, .Name = "FileH", .Text = "File", .At = {16, 46, 40, 26}},
    {.Number = File,
     .Kind = ItemKind::FramedText,
     .Name = "File",
     .Text = "Name of a data file",
     .At = {60, 46, 320, 26},
     .Value = &State.FileName,
     .Tip = "Path of the data file (.dat)",
     .Anchor = ToLeft | ToRight | ToTop,
     .TextLength = 259},
    {.Number = GetFile,
     .Kind = ItemKind::Button,
     .Name = "Get File",
     .Text = "Get File",
     .At = {386, 46, 90, 26},
     .Proc = FindFile,
     .Tip = "Looks for the data file in the folders: F",
     .Key = Dialogs::LetterKey('F'),
     .Anchor = ToRight | ToTop},
    {.Number = Line,
     .Kind = ItemKind::Text,
     .Name = "Line",
     .At = {0, 88, 492, 1},
     .Anchor = ToLeft | ToRight | ToTop,
     .Role = Role::Card},
    {.Number = Modify,
     .Kind = ItemKind::Button,
     .Name = "Modify",
     .Text = "Modify",
     .At = {16, 102, 100, 28},
     .Proc = OpenModify,
     .Tip = "Data, trees and analysis may be changed: M",
     .Key = Dialogs::LetterKey('M')},
    {.Number = ModifyH,
     .Kind = ItemKind::Text,
     .Name = "ModifyH",
     .Text = "Open data file allowing changes",
     .At = {130, 102, 340, 28},
     .Role = Role::Secondary},
    {.Number = Read,
     .Kind = ItemKind::Button,
     .Name = "Read",
     .Text = "Read",
     .At = {16, 136, 100, 28},
     .Proc = OpenRead,
     .Tip = "Nothing is written, not even the analysis: R or Return",
     .Key = Dialogs::LetterKey('R'),
     .Role = Role::Primary},
    {.Number = ReadH,
     .Kind = ItemKind::Text,
     .Name = "ReadH",
     .Text = "Read data file preventing changes",
     .At = {130, 136, 340, 28},
     .Role = Role::Secondary},
    {.Number = Analysis,
     .Kind = ItemKind::Button,
     .Name = "Analysis",
     .Text = "Analysis",
     .At = {16, 170, 100, 28},
     .Proc = OpenAnalysis,
     .Tip = "The recording stays as it is, the analysis file may be stored: A",
     .Key = Dialogs::LetterKey('A')},
    {.Number = AnalysisH,
     .Kind = ItemKind::Text,
     .Name = "AnalysisH",
     .Text = "Create or modify analysis file only",
     .At = {130, 170, 340, 28},
     .Role = Role::Secondary},
    {.Number = Quit,
     .Kind = ItemKind::Button,
     .Name = "Quit",
     .Text = "Quit",
     .At = {16, 204, 100, 28},
     .Proc = QuitDialog,
     .Tip = "Closes this dialog and leaves everything as it is: Q or Escape",
     .Key = Dialogs::LetterKey('Q')},
    {.Number = QuitH,
     .Kind = ItemKind::Text,
     .Name = "QuitH",
     .Text = "Quit without change",
     .At = {130, 204, 340, 28},
     .Role = Role::Secondary},
};

void Define(DialogRecord& dialog) {
    Dialogs::DefineRows(dialog, Rows);
}

void Configure(DialogRecord& dialog) {
    Dialogs::ConfigureRows(dialog, Rows);
}

}

bool Initialise() {
    static const Dialogs::DialogSpec Spec{.Title = "Open Files",
                                          .IDName = "OpenFiles",
                                          .BufferName = "OpenFiles",
                                          .Count = ItemTotal,
                                          .Place = {-1, -1, 492, 248},
                                          .Window = Platform::WindowKind::Floating,
                                          .Growable = false,
                                          .Define = Define,
                                          .Configure = Configure,
                                          .Procs = {.KeyProc = TakeKey}};
    return Dialogs::SetupDialogBuffer(State.Dialog, Spec);
}

bool Show() {
    if (!State.Dialog.IsOpen) State.FileName = Setup::Settings.Files.DataFile;
    return Dialogs::OpenDialog(State.Dialog);
}

}
