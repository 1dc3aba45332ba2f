#include "app/desktop.h"

#include "app/frame_file.h"
#include "app/start.h"
#include "app/tell_tale.h"
#include "app/tools.h"
#include "base/files.h"
#include "base/messages.h"
#include "base/places.h"
#include "data/file_info.h"
#include "data/recovery_copy.h"
#include "platform/headless/headless.h"
#include "platform/module.h"
#include "setup/settings_file.h"
#include "trees/tree.h"
#include "ui/dia_file.h"
#include "ui/dialog.h"
#include "ui/dialog_events.h"
#include "ui/editing.h"
#include "ui/help.h"
#include "ui/item_config.h"
#include "ui/macro_recorder.h"
#include "ui/macros.h"
#include "ui/menus.h"
#include "ui/notebook.h"
#include "ui/theme.h"
#include "windows/control_window.h"
#include "windows/data_files.h"
#include "windows/open_files.h"
#include "windows/start_window.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <limits>

namespace Desktop {

bool QuitFlag = false;

namespace {

constexpr int SettleMost = 1000;          // events
constexpr int TickTime = 1000;            // ms between two looks at timers while nothing happens
constexpr int FileLineTime = 5000;        // ms that the line of the file counts
constexpr std::uint32_t BreakPeriod = 30; // ms between two looks for a Break in running work

struct RunState {
    bool Started = false, Down = false, NormalMode = false, Attended = true;
    bool BreakPressed = false;
    std::uint32_t BreakLookedAt = 0;
    std::string StatusLine; // of running work; empty at rest
    double Share = -1;
    std::string ShownBar;
    std::string FileLine;
    Events::Timer FileLineFor; // how long it counts
};
RunState State;

// -- messages ----------------------------------------------------------------------------------------------

void ShowAlert(std::string_view text) {
    Notebook::Flush();
    (void)Platform::Ops().Alert({.Text = std::string(text)});
}

bool AskYesNo(std::string_view text, bool defaultAnswer) {
    return Platform::Ops().Alert({.Kind = Platform::AlertKind::Question,
                                  .Text = std::string(text),
                                  .Buttons = {"Yes", "No"},
                                  .Default = defaultAnswer ? 0 : 1,
                                  .Escape = defaultAnswer ? 0 : 1}) == 0;
}

int AskChoice(std::string_view text, const Messages::Choice& choice) {
    Platform::AlertSpec spec{.Kind = Platform::AlertKind::Question,
                             .Text = std::string(text),
                             .Buttons = {},
                             .Default = choice.Default,
                             .Escape = choice.No};
    // A third button stays out of it altogether: that is what Escape means.
    for (const char* const button : choice.Buttons) spec.Buttons.emplace_back(button);
    if (spec.Buttons.size() > 2) spec.Escape = static_cast<int>(spec.Buttons.size()) - 1;
    return Platform::Ops().Alert(spec);
}

// In the order in which they are asked for.
std::string StatusWord() {
    if (Macros::IsRecording()) return "recording";
    if (Macros::IsPlaying()) return "run macro";
    if (Macros::IsWaiting()) return "waiting";
    return State.Share >= 0 ? "busy" : "idle";
}

// The file and its disk are asked now and then, not at each event.
const std::string& FileLine() {
    if (State.FileLineFor.RunOut() || State.FileLine.empty()) {
        State.FileLine = NumberText::Trimmed(FileInfoLine(CurrentSession()));
        Events::Set(State.FileLineFor, FileLineTime);
    }
    return State.FileLine;
}

void ShowBar() {
    const std::string word = StatusWord();
    Platform::StatusBar bar{.Word = word,
                            .Busy = word != "idle",
                            .Left = State.StatusLine,
                            .Right = "MaxSamplePoints " + std::to_string(Setup::Settings.MaxSamplePoints),
                            .Progress = State.Share};
    if (State.StatusLine.empty()) bar.Left = FileLine();
    const std::string shown = bar.Word + bar.Left + bar.Right + std::to_string(bar.Progress);
    if (shown == State.ShownBar) return;
    State.ShownBar = shown;
    Platform::Ops().SetStatusBar(bar);
}

void ShowStatus(std::string_view line) {
    if (!State.NormalMode) {
        if (!line.empty()) StartWindow::SetLine(line);
        return;
    }
    State.StatusLine = line;
    ShowBar();
    Platform::Ops().Pump();
}

void ShowShare(double share) {
    if (State.Share < 0) State.BreakPressed = false;
    State.Share = share;
    if (State.NormalMode) ShowBar();
}

bool BreakWanted() {
    const std::uint32_t now = Platform::Ops().Milliseconds();
    if (!State.BreakPressed && now - State.BreakLookedAt >= BreakPeriod) {
        State.BreakLookedAt = now;
        State.BreakPressed = Events::TakeBreak();
    }
    return State.BreakPressed || QuitFlag;
}

// Of a run that nobody attends: the program's words go where those of other commands go, and into the
// notebook, and no question stands there for ever.
void InstallConsole() {
    static Messages::HookTable console;
    console = Messages::Install({});
    Messages::HookTable hooks = console;
    hooks.Note = [](std::string_view line) {
        Notebook::WriteLine(line);
        if (console.Note) console.Note(line);
    };
    hooks.Log = [](std::string_view line) {
        Notebook::WriteLog(line);
        if (console.Log) console.Log(line);
    };
    Messages::Install(std::move(hooks));
}

void InstallMessages() {
    Messages::HookTable hooks;
    hooks.Alert = ShowAlert;
    hooks.Note = Notebook::WriteLine;
    hooks.Log = Notebook::WriteLog;
    hooks.Status = ShowStatus;
    hooks.Share = ShowShare;
    hooks.AskYesNo = AskYesNo;
    hooks.AskChoice = AskChoice;
    hooks.Break = BreakWanted;
    Messages::Install(std::move(hooks));
}

// -- start -------------------------------------------------------------------------------------------------

bool StartPlatform(const StartOptions& options) {
    std::string reason;
    if (options.Visible && !Platform::UseDesktop(reason)) {
        Messages::Alert(reason);
        return false;
    }
    if (!options.Visible) Platform::Use(Headless::Operations());
    if (!Platform::Ops().Start(Start::Program().ProgramName, reason)) {
        Messages::Alert(reason);
        Platform::Use(Headless::Operations());
        return false;
    }
    Platform::Hooks.TipAt = Dialogs::TipAt;
    Platform::Hooks.CursorAt = Dialogs::CursorAt;
    Platform::Hooks.BreakPressed = [] { State.BreakPressed = true; };
    return Events::Initialise();
}

bool LoadConfiguration(const StartOptions& options) {
    Messages::Status("Loading Configuration ...");
    Setup::Hooks.FindFile = [](std::string_view kind, std::string_view extension) {
        std::string path;
        const bool found = Platform::Ops().FileDialog({.Title = std::string(kind),
                                                       .Start = {},
                                                       .Pattern = "*" + std::string(extension),
                                                       .Kind = std::string(kind)},
                                                      path);
        return found ? path : std::string();
    };
    // On the very first start nobody can be expected to have settings; from then on there is a file.
    const bool firstStart = !Files::Exists(Places::ConfigFolder());
    const bool ask = options.Visible && !firstStart;
    if (!Setup::LoadSettings({.NamedFile = options.SettingsFile, .Ask = ask})) return false;
    if (Setup::State.State >= Setup::SettingsState::Ended) return false;
    if (options.Visible && options.Attended && Setup::State.State == Setup::SettingsState::BuiltIn)
        (void)Setup::SaveConfiguration(true);
    return true;
}

bool InitTools() {
    for (const Tools::Tool& tool : Tools::StartOrder()) {
        if (tool.StatusLine != nullptr) Messages::Status(tool.StatusLine);
        if (!tool.Initialise()) return false;
    }
    return true;
}

std::string Counted(int count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

// What the middle says while no tool fills it.
std::string HintText() {
    if (!DataFiles::IsOpen()) return "Open a data file: Ctrl+O";
    void* const root = Tree::Root(CurrentSession().Vennic.Handle);
    int series = 0;
    for (int group = 1; group <= Tree::ChildCount(root); ++group)
        series += Tree::ChildCount(Tree::Child(root, group));
    return DataFiles::BaseName() + "\n" + Counted(Tree::ChildCount(root), "group", "groups") + ", " +
           Counted(series, "series", "series") + "\n\nTools open from the Windows menu";
}

void ShowTitle() {
    const std::string name = Start::Program().ProgramName;
    Platform::Ops().SetHint(HintText());
    if (!DataFiles::IsOpen()) {
        Platform::Ops().SetTitle(Platform::FrameWindow, name, "no data file");
        return;
    }
    Platform::Ops().SetTitle(Platform::FrameWindow, DataFiles::BaseName() + " - " + name,
                             DataFiles::BaseName() + "  \u00b7  " + DataFiles::ModeWords());
}

void DataFileChanged() {
    ShowTitle();
    State.ShownBar.clear();
    State.FileLine.clear();
    ShowBar();
}

// -- events ------------------------------------------------------------------------------------------------

// The end is not an orderly one: the copy tells all that has not been stored.
void KeepUnsaved() {
    if (DataFiles::IsOpen()) RecoveryCopy::Keep(CurrentSession(), std::numeric_limits<double>::infinity());
}

// A loop that waits for the answer of a dialog ends with it.
void EndWaiting() {
    for (Dialogs::DialogRecord* dialog = Dialogs::FirstDialog(); dialog != nullptr;
         dialog = dialog->NextDialog)
        if (dialog->Modal && dialog->IsOpen) Dialogs::CloseDialog(*dialog);
}

// Nobody can be asked: what is unsaved stays in the recovery copy, which the next start offers.
void QuitAtOnce() {
    Editing::LeaveAny();
    QuitFlag = true;
}

void HandleFrame(const Events::Event& event) {
    if (event.Kind == Events::KeyKind::KeyWindowClose) (void)Quit();
    if (event.Kind != Events::KeyKind::KeyOSEvent) return;
    switch (event.Parameter1) {
    case Platform::SystemTheme:
        if (Themes::Chosen() != Themes::Choice::Desktop) return;
        Themes::Apply(Themes::Choice::Desktop);
        Dialogs::UpdateAll();
        return;
    case Platform::SystemFileDropped:
        (void)DataFiles::Open(Platform::Ops().DroppedFile(), OpenMode::Analysis);
        return;
    case Platform::SystemQuit:
        if (event.Parameter2 == 1) {
            QuitAtOnce();
        } else {
            (void)Quit();
        }
        return;
    default: return;
    }
}

bool IsHelpKey(const Events::Event& event) {
    return event.Kind == Events::KeyKind::KeyCharacter && event.KeyClass == Events::KeyClass::Special &&
           (event.Char == static_cast<std::uint32_t>(Platform::KeyCode::Help) ||
            event.Char == static_cast<std::uint32_t>(Platform::KeyCode::F1));
}

void Dispatch(const Events::Event& event) {
    if (Menus::HandleEvent(event)) return;
    if (event.Window == Platform::FrameWindow && !IsHelpKey(event)) {
        HandleFrame(event);
        return;
    }
    // A user may have given the help key to an item.
    if (!Dialogs::HandleEvent(event) && IsHelpKey(event)) Help::ShowForFront();
}

enum class TextAnswer : std::uint8_t { Save, Drop, Cancel };

// In a run that nobody attends, the text has been printed as well.
TextAnswer AskAboutText() {
    static constexpr const char* Buttons[] = {"Yes", "No", "Cancel"};
    if (!State.Attended || !Notebook::State.Modified) return TextAnswer::Drop;
    return static_cast<TextAnswer>(
        AskChoice("Quitting " + Start::Program().ProgramName + " \n\nSave Modified Text ?",
                  {.Buttons = Buttons, .Default = 0, .Yes = 0, .No = 1}));
}

bool TextIsSettled(TextAnswer answer) {
    if (answer == TextAnswer::Drop || Notebook::Save()) return true;
    Platform::Ops().Wait(20);
    return AskYesNo("An error occurred while saving files. QUIT anyway ?", false);
}

// Escape stays in the program.
bool QuitIsMeant() {
    static constexpr const char* Buttons[] = {"Yes", "No"};
    return AskChoice("Quit " + Start::Program().ProgramName + " ?",
                     {.Buttons = Buttons, .Default = 0, .Yes = 0, .No = 1}) == 0;
}

// The process is ending out of the event loop, with windows in use all the way up to it: what is unsaved is
// kept, and nothing is taken apart.
void EndInTheMidst() {
    if (!State.Started || State.Down) return;
    Start::Shutdown();
    std::_Exit(1);
}

}

bool StartUp(const StartOptions& options) {
    State = {};
    State.Attended = options.Attended;
    QuitFlag = false;
    if (!StartPlatform(options)) return false;
    State.Started = true;
    // The platform ends the process when its display goes away. Registered behind it, so that it still
    // stands.
    if (options.Visible) std::atexit(EndInTheMidst);
    FrameFile::InUse = options.Attended;
    FrameFile::RestoreTheme();
    StartWindow::Open(Start::Program().ProgramName, Start::Program().ProgramVersion);
    if (options.Attended) {
        InstallMessages();
    } else {
        InstallConsole();
    }
    Dialogs::EventStep = [] { (void)EventStep(); };
    Messages::Status("Initializing Qorvanite ...");
    if (!LoadConfiguration(options)) return false;
    Themes::SettingsCount = !TellTale::Check("Win32Col.On");
    Themes::Apply(Themes::Chosen()); // with the colours of the settings
    if (!ItemConfig::Initialise()) return false;
    ControlWindow::ShowMemory = TellTale::Check("ShowMemory.On");
    if (!InitTools()) return false;
    Messages::Status("Updating Windows ...");
    DataFiles::OnChange(DataFileChanged);
    ControlWindow::Update();
    Platform::Ops().ShowWindow(Platform::FrameWindow, true);
    StartWindow::Close();
    State.NormalMode = true;
    Settle(); // a question may come before the first event, over windows that have their size by then
    DataFileChanged();
    Messages::Log("Welcome to " + Start::Program().ProgramName + ", " + Start::Program().ProgramVersion);
    if (!Setup::State.ReadFile.empty()) Messages::Log("Startup file: \"" + Setup::State.ReadFile + "\"");
    return true;
}

void OpenFirstFile(const StartOptions& options) {
    std::string told;
    if (TellTale::Read("ReadDataFile.On", told) && !told.empty()) {
        if (told.find('/') == std::string::npos)
            told = (std::filesystem::path(Setup::Settings.Files.CommonPath) / told).string();
        if (DataFiles::Open(told, OpenMode::Analysis)) return;
    } else if (!options.DataFile.empty()) {
        if (DataFiles::Open(options.DataFile, OpenMode::Analysis)) return;
    } else if (!Setup::Settings.Files.AskForData) {
        return;
    }
    (void)OpenFiles::Show();
}

void Settle() {
    Events::Event event;
    for (int count = 0; count < SettleMost && Events::GetNextEvent(event); ++count) Dispatch(event);
    IdleStep(false);
}

bool EventStep() {
    if (QuitFlag) EndWaiting();
    Events::Event event;
    const bool had = Events::GetNextEvent(event);
    if (had) Dispatch(event);
    IdleStep(had);
    if (!had && !QuitFlag && Events::Waiting() == 0) Platform::Ops().Wait(IdleTime());
    return had;
}

void RunEventLoop() {
    Events::WriteKeys = TellTale::Check("WriteKey.On");
    while (!QuitFlag) EventStep();
}

void IdleStep(bool) {
    Notebook::Flush();
    const std::string word = StatusWord();
    ControlWindow::SetStatus(word, word != "idle");
    ShowBar();
    (void)Macros::PlayStep();
    if (DataFiles::IsOpen()) RecoveryCopy::Keep(CurrentSession());
    Menus::Refresh();
}

int IdleTime() {
    return Macros::IsPlaying() ? 0 : TickTime;
}

bool Quit() {
    Editing::LeaveAny();
    if (State.Attended && Setup::Settings.Program.VerifyExit && !QuitIsMeant()) return false;
    if (Setup::Settings.Program.StoreOnExit && !Setup::SaveConfiguration(false) &&
        !AskYesNo("The configuration was not saved. QUIT anyway ?", false))
        return false;
    if (!DiaFile::StoreArranged() && !AskYesNo("A dialog was not stored. QUIT anyway ?", false)) return false;
    // Asked ahead of the close: who stays keeps the data file open.
    const TextAnswer answer = AskAboutText();
    if (answer == TextAnswer::Cancel || !DataFiles::Close() || !TextIsSettled(answer)) return false;
    Macros::StopMacro();
    Macros::StopRecording();
    QuitFlag = true;
    return true;
}

void Abandon() {
    if (!State.Started || State.Down) return;
    State.Down = true;
    Messages::Install({}); // no window shows anything any more
    KeepUnsaved();
    FrameFile::Store();
}

void ShutDown() {
    if (!State.Started || State.Down) return;
    State.Down = true;
    KeepUnsaved();
    FrameFile::Store();
    Macros::StopRecording();
    StartWindow::Close();
    Dialogs::DisposeAll();
    Menus::Clear();
    Platform::Ops().End();
    Platform::Hooks = {};
    Platform::Use(Headless::Operations());
}

int Run(const StartOptions& options) {
    const bool started = StartUp(options);
    if (started) {
        OpenFirstFile(options);
        RunEventLoop();
    }
    ShutDown();
    return started ? 0 : 1;
}

}
