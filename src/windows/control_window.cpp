#include "windows/control_window.h"

#include "base/buffer.h"
#include "base/number_text.h"
#include "data/file_info.h"
#include "setup/settings.h"
#include "ui/dialog.h"
#include "ui/item_value.h"
#include "ui/theme.h"
#include "windows/data_files.h"
#include "windows/open_files.h"

#include <array>

namespace ControlWindow {

bool ShowMemory = false;

namespace {

using Dialogs::DialogRecord;
using Dialogs::ItemKind;
using Dialogs::Role;
using Dialogs::ToLeft;
using Dialogs::ToRight;
using Dialogs::ToTop;

constexpr int ShownValues = 8;
constexpr std::uint8_t Wide = ToLeft | ToRight | ToTop;

enum Items : std::uint8_t {
    Status = 1,
    Timer,
    FileName,
    FileMode,
    Open,
    Update_,
    Close,
    SaveAnalysis,
    Line1,
    UserH,
    User,
    ThemeH,
    Theme,
    Line2,
    ValuesH,
    FirstValue, // name and number of each by turns
    Memory = FirstValue + 2 * ShownValues,
    ItemTotal = Memory
};

struct ControlState {
    DialogRecord Dialog;
    std::string Word = "idle";
    bool Busy = false;
    std::string TimerText;
    std::uint32_t StartedAt = 0;
    std::uint8_t Theme = 0;
};
ControlState State;

void ShowOpen(DialogRecord&, int) {
    (void)OpenFiles::Show();
}
void UpdateFile(DialogRecord&, int) {
    (void)DataFiles::Update();
}
void CloseFile(DialogRecord&, int) {
    (void)DataFiles::Close();
}
void StoreAnalysis(DialogRecord&, int) {
    (void)DataFiles::SaveAnalysis();
    Update();
}
void RestartTimer(DialogRecord&, int) {
    State.StartedAt = Platform::Ops().Milliseconds();
    State.TimerText.clear();
}
void ThemeChosen(DialogRecord&, int) {
    Themes::Apply(static_cast<Themes::Choice>(State.Theme));
    Dialogs::UpdateAll();
}

constexpr std::array<const char*, 3> ThemeNames = {"As the desktop", "Light", "Dark"};

const Dialogs::Row Rows[] = {
    {.Number = Status,
     .Kind = ItemKind::Text,
     .Name = "Status",
     .Text = "idle",
     .At = {16, 12, 150, 24},
     .Tip = "What the program is doing",
     .Anchor = Wide,
     .Role = Role::Good},
    {.Number = Timer,
     .Kind = ItemKind::Text,
     .Name = "Timer",
     .At = {170, 12, 94, 24},
     .Proc = RestartTimer,
     .Tip = "Time since the start of the program; a click begins anew",
     .Anchor = ToRight | ToTop,
     .Role = Role::Secondary,
     .Justify = Platform::Align::Right},
    {.Number = FileName,
     .Kind = ItemKind::Text,
     .Name = "FileName",
     .At = {16, 40, 248, 24},
     .Tip = "The open data file",
     .Anchor = Wide,
     .Role = Role::Heading},
    {.Number = FileMode,
     .Kind = ItemKind::Text,
     .Name = "FileMode",
     .At = {16, 62, 248, 20},
     .Tip = "How the data file is open",
     .Anchor = Wide,
     .Role = Role::Secondary},
    {.Number = Open,
     .Kind = ItemKind::Button,
     .Name = "OpenFile",
     .Text = "Open\u2026",
     .At = {16, 90, 121, 26},
     .Proc = ShowOpen,
     .Tip = "Opens a data file: Ctrl+O"},
    {.Number = Update_,
     .Kind = ItemKind::Button,
     .Name = "UpdateFile",
     .Text = "Update File",
     .At = {143, 90, 121, 26},
     .Proc = UpdateFile,
     .Tip = "Stores what was changed and leaves the data file open",
     .Anchor = ToRight | ToTop},
    {.Number = Close,
     .Kind = ItemKind::Button,
     .Name = "CloseFile",
     .Text = "Close File",
     .At = {16, 122, 121, 26},
     .Proc = CloseFile,
     .Tip = "Ends the session in an orderly way"},
    {.Number = SaveAnalysis,
     .Kind = ItemKind::Button,
     .Name = "SaveAnalysis",
     .Text = "Store Analysis",
     .At = {143, 122, 121, 26},
     .Proc = StoreAnalysis,
     .Tip = "Stores the analysis file (.ana) beside the data",
     .Anchor = ToRight | ToTop},
    {.Number = Line1,
     .Kind = ItemKind::Text,
     .Name = "Line1",
     .At = {0, 160, 280, 1},
     .Anchor = Wide,
     .Role = Role::Card},
    {.Number = UserH,
     .Kind = ItemKind::Text,
     .Name = "UserH",
     .Text = "User",
     .At = {16, 172, 60, 24},
     .Role = Role::Secondary},
    {.Number = User,
     .Kind = ItemKind::FramedText,
     .Name = "User",
     .Text = "Your name",
     .At = {84, 172, 180, 24},
     .Value = &Setup::Settings.Files.Username,
     .Tip = "Your name, as the logbook and new files have it",
     .Anchor = Wide},
    {.Number = ThemeH,
     .Kind = ItemKind::Text,
     .Name = "ThemeH",
     .Text = "Theme",
     .At = {16, 202, 60, 24},
     .Role = Role::Secondary},
    {.Number = Theme,
     .Kind = ItemKind::List,
     .Name = "Theme",
     .At = {84, 202, 180, 24},
     .Value = &State.Theme,
     .Entries = ThemeNames,
     .Proc = ThemeChosen,
     .Tip = "Light or dark, or as the desktop has it",
     .Anchor = Wide},
    {.Number = Line2,
     .Kind = ItemKind::Text,
     .Name = "Line2",
     .At = {0, 238, 280, 1},
     .Anchor = Wide,
     .Role = Role::Card},
    {.Number = ValuesH,
     .Kind = ItemKind::Text,
     .Name = "ValuesH",
     .Text = "Values",
     .At = {16, 246, 120, 24},
     .Tip = "Numbers that equations (V[1], V[2], ...) and protocols share",
     .Role = Role::Heading},
    {.Number = Memory,
     .Kind = ItemKind::Text,
     .Name = "Memory",
     .At = {143, 246, 121, 24},
     .Tip = "Memory that the program's heaps hold",
     .Anchor = ToRight | ToTop,
     .Role = Role::Secondary,
     .Justify = Platform::Align::Right},
};

// Names are items like others, so that a user can give them; the macro names count as the values do.
std::array<std::string, ShownValues> ValueNames, NameNames;

void DefineValues(DialogRecord& dialog) {
    for (int i = 0; i < ShownValues; ++i) {
        const auto at = static_cast<std::size_t>(i);
        ValueNames[at] = "Value-" + std::to_string(i + 1);
        NameNames[at] = "ValueName" + std::to_string(i + 1);
        const double top = 274 + 28 * i;
        const Dialogs::Row rows[] = {
            {.Number = FirstValue + 2 * i,
             .Kind = ItemKind::FramedText,
             .Name = NameNames[at].c_str(),
             .Text = ValueNames[at].c_str(),
             .At = {16, top, 118, 24},
             .Value = &Setup::Settings.Protocol.ValueName[at],
             .Tip = "A name of your own for the value"},
            {.Number = FirstValue + 2 * i + 1,
             .Kind = ItemKind::FramedNumber,
             .Name = ValueNames[at].c_str(),
             .At = {140, top, 124, 24},
             .Value = Setup::ValueOf(i + 1),
             .Form = {.Format = NumberText::Format::Engineering, .Columns = 7},
             .Tip = "A number that equations read as V[n]; prefixes such as m and p may be typed",
             .Anchor = Wide}};
        Dialogs::DefineRows(dialog, rows);
        Dialogs::ConfigureRows(dialog, rows);
    }
}

void Define(DialogRecord& dialog) {
    Dialogs::DefineRows(dialog, Rows);
    DefineValues(dialog);
}

void Configure(DialogRecord& dialog) {
    Dialogs::ConfigureRows(dialog, Rows);
    DefineValues(dialog);
    Dialogs::Item(dialog, Memory).Visible = ShowMemory;
}

// "1:02:03".
std::string TimerText(std::uint32_t milliseconds) {
    const std::uint32_t seconds = milliseconds / 1000;
    const auto two = [](std::uint32_t n) { return (n < 10 ? "0" : "") + std::to_string(n); };
    return std::to_string(seconds / 3600) + ":" + two(seconds / 60 % 60) + ":" + two(seconds % 60);
}

}

bool Initialise() {
    static const Dialogs::DialogSpec Spec{.Title = "Control Window",
                                          .IDName = "Control",
                                          .BufferName = "Control",
                                          .Count = ItemTotal,
                                          .Place = {-1, -1, 280, 506},
                                          .Least = {280, 300},
                                          .Window = Platform::WindowKind::Panel,
                                          .Dock = Platform::Dock::Left,
                                          .Define = Define,
                                          .Configure = Configure};
    State.StartedAt = Platform::Ops().Milliseconds();
    State.Theme = static_cast<std::uint8_t>(Themes::Chosen());
    if (!Dialogs::SetupDialogBuffer(State.Dialog, Spec) || !Dialogs::OpenDialog(State.Dialog)) return false;
    DataFiles::OnChange(Update);
    Update();
    return true;
}

void Show() {
    Dialogs::ShowDialog(State.Dialog, true);
    Dialogs::BringToFront(State.Dialog);
}

void SetStatus(const std::string& word, bool busy) {
    if (!State.Dialog.IsOpen) return;
    if (State.Busy != busy) {
        State.Busy = busy;
        Dialogs::Item(State.Dialog, Status).Role = busy ? Role::Warning : Role::Good;
        Dialogs::RedrawItem(State.Dialog, Status);
    }
    Dialogs::SetItemText(State.Dialog, Status, word);
    Dialogs::SetItemText(State.Dialog, Timer, TimerText(Platform::Ops().Milliseconds() - State.StartedAt));
    if (ShowMemory)
        Dialogs::SetItemText(State.Dialog, Memory,
                             std::string(NumberText::Trimmed(
                                 NumberText::Engineering(static_cast<double>(Buffer::TotalBytes()), 8))) +
                                 "B");
}

void Update() {
    if (!State.Dialog.IsOpen) return;
    const bool open = DataFiles::IsOpen();
    Dialogs::SetItemText(State.Dialog, FileName, open ? DataFiles::BaseName() : "No data file");
    Dialogs::SetItemText(State.Dialog, FileMode, open ? DataFiles::ModeWords() : "Open one: Ctrl+O");
    Dialogs::EnableItem(State.Dialog, Update_, DataFiles::CanModify());
    Dialogs::EnableItem(State.Dialog, Close, open);
    Dialogs::EnableItem(State.Dialog, SaveAnalysis, open && CurrentSession().AnalysisWritable);
}

}
