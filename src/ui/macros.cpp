#include "ui/macros.h"

#include "base/messages.h"
#include "base/text.h"
#include "ui/dialog_events.h"
#include "ui/editing.h"
#include "ui/item_value.h"
#include "ui/macro_file.h"
#include "ui/macro_recorder.h"
#include "ui/menus.h"
#include "ui/tracking.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

namespace Macros {

namespace {

using Dialogs::DialogItem;
using Dialogs::DialogRecord;
using Dialogs::ItemKind;
using Dialogs::ValueKind;
using MacroLine::Failure;
using MacroLine::MacroRecord;

constexpr const char* WhileRecording = " ## Cannot start macro interpreter while a macro is recording ## ";
constexpr double LeastByteChange = 0, MostByteChange = 173; // of a byte that is changed, not set

struct Playing {
    MacroFile::Source Source;
    bool Relative = false;
    bool Busy = false; // one of its lines is being done
    bool Ended = false;
};
struct PlayerState {
    std::vector<std::unique_ptr<Playing>> Files; // the last one plays
    bool Relative = false;                       // of lines that come alone
    int Depth = 0;                               // of steps that go on inside of one another
    int Failed = 0;                              // lines that were not taken
};
PlayerState State;

struct Nesting {
    explicit Nesting(int& depth) : Depth(++depth) {}
    ~Nesting() { --Depth; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;
    int& Depth;
};

// -- items -------------------------------------------------------------------------------------------------

Failure NewListEntry(DialogItem& item, const MacroRecord& record, double& value) {
    if (record.Relative) {
        const double former = Dialogs::NumberOf(item);
        (void)Dialogs::StepList(item, static_cast<int>(record.NumberValue));
        value = Dialogs::NumberOf(item);
        Dialogs::SetNumber(item, former);
        return Failure::None;
    }
    value = record.NumberValue;
    return Dialogs::EntryEnabled(item, static_cast<int>(value)) ? Failure::None : Failure::EntryOfListUnknown;
}

double NewSet(const MacroRecord& record, double former) {
    if (!record.Relative) return record.NumberValue;
    const unsigned bit = 1u << static_cast<unsigned>(record.NumberValue);
    const auto set = static_cast<unsigned>(former);
    return record.ClearsBit ? set & ~bit : set | bit;
}

// A number out of bounds goes to the nearest one, or is refused where the item is strict.
Failure Bounded(const DialogItem& item, double& value) {
    const bool toggle = Dialogs::IsToggle(item);
    const double low = toggle ? 0 : item.ValueLow, high = toggle ? 1 : item.ValueHigh;
    const bool fits = item.ValueKind == ValueKind::Real32 || Dialogs::Kept(item.ValueKind, value) == value;
    if (value >= low && value <= high && fits) return Failure::None;
    if (item.Strict || !std::isfinite(value)) {
        Messages::Note(Dialogs::BoundsText(low, high, item.ValueScale, item.NumberFormat));
        return Failure::OutOfBounds;
    }
    value = std::min(std::max(value, low), high);
    return Failure::None;
}

// What the item will hold; the record's text where it is of that kind.
Failure NewValue(DialogItem& item, const MacroRecord& record, double& value) {
    if (Dialogs::IsList(item)) return NewListEntry(item, record, value);
    const double former = Dialogs::NumberOf(item);
    value = record.NumberValue;
    switch (item.ValueKind) {
    case ValueKind::String: return Failure::None;
    case ValueKind::Set16: value = NewSet(record, former); return Failure::None;
    case ValueKind::Boolean:
        if (record.Relative) value = former == 0 ? 1 : 0;
        return Failure::None;
    case ValueKind::Byte:
        if (record.Relative) value = std::clamp(former + value, LeastByteChange, MostByteChange);
        return Bounded(item, value);
    default:
        if (record.Relative) value += former;
        return Bounded(item, value);
    }
}

// With what a click on it would change along.
void SetValue(DialogRecord& dialog, int number, const MacroRecord& record, double value) {
    DialogItem& item = Dialogs::Item(dialog, number);
    if (item.ValueKind == ValueKind::String) {
        Dialogs::SetText(item, record.TextValue);
    } else if (item.Kind == ItemKind::Pane && item.PaneSelects != 0) {
        if (!record.HasValue || value != 0) Dialogs::SelectPage(dialog, item.PaneSelects);
    } else if (item.Kind == ItemKind::RadioButton && value != 0) {
        Dialogs::ChooseRadio(dialog, number);
    } else {
        Dialogs::SetNumber(item, value);
    }
    if (record.HasSecond && item.ListSecond != nullptr) *item.ListSecond = record.Second;
}

bool Flashes(const DialogItem& item) {
    return item.Kind == ItemKind::Button || item.Kind == ItemKind::Switch;
}

Failure SetItemValue(DialogRecord& dialog, const MacroRecord& record, bool execute) {
    const int number = record.TargetItem;
    Editing::Leave(dialog);
    if (!dialog.IsOpen) return Failure::DialogClosed;
    if (!Dialogs::HasItem(dialog, number)) return Failure::ItemUnknown;
    DialogItem& item = Dialogs::Item(dialog, number);
    if (!item.Executable || !item.Enabled || item.UserLevel > Dialogs::UserLevel ||
        Dialogs::ItemIsLocked(dialog, number))
        return Failure::ItemLocked;
    double value = 0;
    const Failure failure = NewValue(item, record, value);
    if (failure != Failure::None) return failure;
    const Dialogs::Activation how{.KeyClass = record.Key.Class,
                                  .Char = record.Key.Char,
                                  .Modifiers = record.Key.Modifiers,
                                  .Source = Dialogs::Source::Macro};
    if (!Dialogs::BeginActivation(dialog, number, how)) return Failure::Refused;
    if (!dialog.IsOpen || !Dialogs::HasItem(dialog, number)) return Failure::DialogClosed;
    SetValue(dialog, number, record, value);
    if (execute && Flashes(Dialogs::Item(dialog, number))) Dialogs::Flash(dialog, number);
    Dialogs::FinishActivation(dialog, number, execute);
    return Failure::None;
}

Failure SetItemKey(DialogRecord& dialog, const MacroRecord& record) {
    if (!Dialogs::HasItem(dialog, record.TargetItem)) return Failure::ItemUnknown;
    const DialogItem& item = Dialogs::Item(dialog, record.TargetItem);
    if (record.IsKey2 && !Dialogs::IsToggle(item) && !Dialogs::IsList(item)) return Failure::NoSecondKey;
    Dialogs::AssignKey(dialog, record.TargetItem, record.Key, record.IsKey2);
    return Failure::None;
}

Failure SendKey(DialogRecord& dialog, const MacroRecord& record) {
    if (!dialog.IsOpen) return Failure::DialogClosed;
    const Events::Event event{.Kind = Events::KeyKind::KeyCharacter,
                              .KeyClass = record.Key.Class,
                              .Char = record.Key.Char,
                              .Modifiers = record.Key.Modifiers,
                              .Window = dialog.WindowHandle};
    const bool taken = dialog.Procs.MacroKeyProc != nullptr && dialog.Procs.MacroKeyProc(dialog, event);
    return taken ? Failure::None : Failure::KeyUnknown;
}

Failure ExecuteMenu(const MacroRecord& record, bool execute) {
    const int menu = Menus::FindMenu(record.TextValue);
    if (menu == 0) return Failure::MenuUnknown;
    if (record.IsKeyLine) {
        const bool letter = record.Key.Class == Events::KeyClass::Printable && record.Key.Char < 128;
        const char key = letter ? static_cast<char>(record.Key.Char) : '?';
        return Menus::AssignKey(menu, record.MenuEntry, key) ? Failure::None : Failure::KeyUnknown;
    }
    if (!Menus::IsEnabled(menu, record.MenuEntry)) return Failure::EntryDisabled;
    if (execute && !Menus::Select(menu, record.MenuEntry)) return Failure::EntryDisabled;
    return Failure::None;
}

// -- lines -------------------------------------------------------------------------------------------------

bool Report(std::string_view text, Failure failure, bool silent) {
    if (failure == Failure::None) return true;
    ++State.Failed;
    // Not all of a line that is too long.
    const std::string shown = Texts::CutUtf8(MacroLine::WithoutControls(text), MacroLine::LongestLine);
    if (!silent) Messages::Note(shown + MacroLine::Words(failure));
    return false;
}

// relative is taken and cleared ahead of what the line does, which may play further lines.
bool ExecuteWith(bool& relative, std::string_view text, bool silent) {
    if (MacroLine::IsComment(text)) return true;
    if (MacroLine::IsRelative(text)) return relative = true;
    MacroRecord record;
    Failure failure = MacroLine::Read(text, relative, record);
    if (!record.IsKeyLine) relative = false;
    if (failure == Failure::None) failure = Execute(record, true);
    return Report(text, failure, silent);
}

bool MayPlay() {
    if (!IsRecording()) return true;
    Messages::Note(WhileRecording);
    return false;
}

void PlayLine(Playing& playing) {
    std::string line;
    switch (MacroFile::NextLine(playing.Source, line)) {
    case MacroFile::Next::Line: (void)ExecuteWith(playing.Relative, line, false); return;
    case MacroFile::Next::TooLong: (void)Report(line, Failure::LineTooLong, false); return;
    case MacroFile::Next::More: return;
    case MacroFile::Next::End:
    case MacroFile::Next::Failed: playing.Ended = true; return;
    }
}

void DropEnded() {
    std::erase_if(State.Files, [](const auto& each) { return each->Ended && !each->Busy; });
}

}

Failure SetItemFromMacro(DialogRecord& dialog, const MacroRecord& record, bool execute) {
    if (Dialogs::Tracking) return Failure::Tracking;
    if (record.TargetItem == MacroLine::WholeDialog) return SendKey(dialog, record);
    return record.IsKeyLine ? SetItemKey(dialog, record) : SetItemValue(dialog, record, execute);
}

Failure Execute(const MacroRecord& record, bool execute) {
    if (record.TargetItem == MacroLine::MenuTarget) return ExecuteMenu(record, execute);
    DialogRecord* const dialog = Dialogs::FindDialog(record.TargetDialog);
    return dialog != nullptr ? SetItemFromMacro(*dialog, record, execute) : Failure::DialogUnknown;
}

bool ExecuteMacroLine(std::string_view text, bool silent) {
    if (!MayPlay()) return false;
    return ExecuteWith(State.Relative, text, silent);
}

bool StartMacro(const std::string& file) {
    if (!MayPlay()) return false;
    const bool waits = std::ranges::any_of(
        State.Files, [&](const auto& each) { return !each->Ended && each->Source.Path == file; });
    if (waits || State.Files.size() >= MostNested) {
        Messages::Note(waits ? " ## a macro cannot start itself ## "
                             : " ## too many macros wait for one another ## ");
        return false;
    }
    auto playing = std::make_unique<Playing>();
    if (!MacroFile::Open(playing->Source, file, MacroFile::MacroVersion, MacroFile::Report::Loud))
        return false;
    State.Files.push_back(std::move(playing));
    return true;
}

bool IsPlaying() {
    return std::ranges::any_of(State.Files, [](const auto& each) { return !each->Ended; });
}

bool IsWaiting() {
    return !State.Files.empty() && !IsPlaying();
}

void StopMacro() {
    if (!IsPlaying()) return;
    for (const auto& each : State.Files) each->Ended = true;
    DropEnded();
    Messages::Note("Macros playback aborted.");
}

bool PlayStep() {
    if (Dialogs::Tracking || State.Depth >= MostNested) return false;
    DropEnded();
    if (!IsPlaying()) return false;
    const Nesting nesting(State.Depth);
    Playing& playing = *State.Files.back();
    if (playing.Ended) return false; // the line that it ended with still goes on
    const bool wasBusy = playing.Busy;
    playing.Busy = true;
    PlayLine(playing);
    playing.Busy = wasBusy;
    DropEnded();
    return true;
}

int FailedLines() {
    return State.Failed;
}

void RunToEnd() {
    std::size_t waiting = State.Files.size();
    while (waiting > 0 && !State.Files[waiting - 1]->Busy) --waiting;
    while (State.Files.size() > waiting) {
        if (Dialogs::EventStep != nullptr) Dialogs::EventStep();
        if (State.Files.size() > waiting && !PlayStep()) return;
    }
}

}
