#include "ui/macro_recorder.h"

#include "base/files.h"
#include "base/messages.h"
#include "platform/platform.h"
#include "setup/settings.h"
#include "ui/item_value.h"
#include "ui/macro_file.h"
#include "ui/macro_line.h"
#include "ui/macros.h"
#include "ui/menus.h"

#include <vector>

namespace Macros {

bool (*ProtocolRuns)() = nullptr;

namespace {

using Dialogs::DialogItem;
using Dialogs::DialogRecord;

constexpr const char* Extension = ".mac";

// An activation whose procedure goes on.
struct Pending {
    DialogRecord* Dialog = nullptr;
    int Number = 0;
    bool ByHand = false, Written = false;
};

struct RecorderState {
    Files::File File;
    std::int64_t Length = 0;
    // Where the last line begins, and the text item with lines that it is of: typing on replaces it.
    std::int64_t LastStart = 0;
    const DialogRecord* LastTyped = nullptr;
    int LastTypedItem = 0;
    Dialogs::ActivationHooks FormerHooks;
    void (*FormerChosen)(int menu, int entry) = nullptr;
    std::vector<Pending> Going;
};
RecorderState State;

// replaces: what stands behind State.Length goes.
void Append(const std::string& line, bool replaces = false) {
    if (!IsRecording()) return;
    if (line.size() > MacroLine::LongestLine) {
        Messages::Note(line.substr(0, MacroLine::ValueColumn) + " ## too long to be recorded ## ");
        return;
    }
    const std::string text = line + Setup::EndOfLine();
    int error = Files::WriteAt(State.File, State.Length, std::as_bytes(std::span(text)));
    State.LastStart = State.Length;
    State.LastTyped = nullptr;
    State.Length += static_cast<std::int64_t>(text.size());
    if (error == 0 && replaces) error = Files::SetLength(State.File, State.Length);
    if (error == 0) return;
    const std::string reason =
        "Recording macros aborted. \n'" + State.File.Name + "':  " + Files::ErrorText(error);
    StopRecording();
    Messages::Alert(reason);
}

bool IsRecorded(const DialogRecord& dialog, int number) {
    if (!Dialogs::HasItem(dialog, number) || dialog.DialogIDName.empty()) return false;
    const DialogItem& item = Dialogs::Item(dialog, number);
    return item.MacroEnabled && !item.Password;
}

// The line of the item as it stands. Where its procedure makes none, there is none.
void AppendItem(DialogRecord& dialog, int number) {
    DialogItem& item = Dialogs::Item(dialog, number);
    if (item.MacroProc == nullptr) {
        const bool goesOn = item.Lines && State.LastTyped == &dialog && State.LastTypedItem == number;
        if (goesOn) State.Length = State.LastStart;
        Append(MacroLine::ValueLine(dialog, number), goesOn);
        if (item.Lines) State.LastTyped = &dialog;
        State.LastTypedItem = number;
        return;
    }
    std::string value;
    if (item.MacroProc(dialog, number, value)) Append(MacroLine::LineOf(dialog, number, value));
}

void WritePending(Pending& pending) {
    if (pending.Written || !pending.ByHand) return;
    pending.Written = true;
    if (IsRecorded(*pending.Dialog, pending.Number)) AppendItem(*pending.Dialog, pending.Number);
}

bool Before(DialogRecord& dialog, int number) {
    const Dialogs::Source source = Dialogs::Current.Source;
    if (State.FormerHooks.Before != nullptr && !State.FormerHooks.Before(dialog, number)) return false;
    const bool byHand = source == Dialogs::Source::Mouse || source == Dialogs::Source::Key;
    // By index: a line that cannot be written ends the recording, and this list with it.
    for (std::size_t i = 0; byHand && i < State.Going.size(); ++i) WritePending(State.Going[i]);
    State.Going.push_back({&dialog, number, byHand, false});
    return true;
}

// Those that began later have gone without an end, their dialogs with them.
void Ended(const DialogRecord& dialog, int number) {
    for (std::size_t i = State.Going.size(); i > 0; --i) {
        Pending each = State.Going[i - 1];
        if (each.Dialog != &dialog || each.Number != number) continue;
        State.Going.resize(i - 1);
        WritePending(each);
        return;
    }
}

void After(DialogRecord& dialog, int number) {
    const auto former = State.FormerHooks.After;
    Ended(dialog, number);
    if (former != nullptr) former(dialog, number);
}

void AfterKey(DialogRecord& dialog, const Events::Event& event) {
    if (State.FormerHooks.AfterKey != nullptr) State.FormerHooks.AfterKey(dialog, event);
    if (dialog.Procs.MacroKeyProc == nullptr || dialog.DialogIDName.empty()) return;
    Append(MacroLine::DialogKeyLine(dialog, {.Class = event.KeyClass,
                                             .Char = event.Char,
                                             .Modifiers = static_cast<std::uint8_t>(event.Modifiers)}));
}

// The program's own menu is out of a macro's reach.
void Chosen(int menu, int entry) {
    if (State.FormerChosen != nullptr) State.FormerChosen(menu, entry);
    if (menu > 1) Append(MacroLine::MenuLine(menu, entry));
}

// The head is on the disk under the file's name once the old content is safe under another.
int BeginFile(const std::string& file) {
    const std::string head = MacroFile::HeadLine(MacroFile::MacroVersion) + Setup::EndOfLine();
    Files::Replacement fresh;
    int error = fresh.Begin(file);
    if (error == 0) error = Files::WriteAt(fresh.Content, 0, std::as_bytes(std::span(head)));
    if (error == 0 && Files::Exists(file)) error = Files::CopyFile(file, file + ".bak");
    if (error == 0) error = fresh.Commit();
    if (error == 0) error = Files::Open(State.File, file, Files::Mode::ReadWrite);
    State.Length = static_cast<std::int64_t>(head.size());
    return error;
}

bool MayRecord() {
    if (ProtocolRuns != nullptr && ProtocolRuns()) {
        Messages::Alert("Cannot record a macro while executing a protocol !");
        return false;
    }
    if (IsPlaying()) {
        Messages::Alert("Cannot record a macro while playing one !");
        return false;
    }
    return true;
}

}

bool StartRecording(const std::string& file) {
    if (IsRecording() || !MayRecord()) return false;
    const int error = BeginFile(file);
    if (error != 0) {
        Messages::Alert("Recording macros aborted. \n'" + file + "':  " + Files::ErrorText(error));
        return false;
    }
    State.FormerHooks = Dialogs::ItemHooks;
    State.FormerChosen = Menus::Chosen;
    State.Going.clear();
    Dialogs::ItemHooks = {.Before = Before, .After = After, .AfterKey = AfterKey};
    Menus::Chosen = Chosen;
    return true;
}

void StopRecording() {
    if (!IsRecording()) return;
    Dialogs::ItemHooks = State.FormerHooks;
    Menus::Chosen = State.FormerChosen;
    (void)Files::Flush(State.File);
    Files::Close(State.File);
    State = {};
}

void RecordMacros() {
    if (IsRecording()) {
        const std::string file = RecordedFile();
        StopRecording();
        Messages::Log("Macros recorded: \"" + file + "\"");
        return;
    }
    if (!MayRecord()) return;
    std::string file;
    const Platform::FileDialogSpec spec{.Use = Platform::FileUse::Save,
                                        .Title = "Record macros to:",
                                        .Start = {},
                                        .Pattern = "*" + std::string(Extension),
                                        .Kind = "Macro file"};
    if (!Platform::Ops().FileDialog(spec, file)) {
        Messages::Note("Recording macros aborted. ");
        return;
    }
    (void)StartRecording(Files::ExtensionOf(file).empty() ? Files::WithExtension(file, Extension) : file);
}

const char* RecordLabel() {
    return IsRecording() ? "Stop Recording" : "Record Macros";
}

bool IsRecording() {
    return State.File.IsOpen();
}

const std::string& RecordedFile() {
    return State.File.Name;
}

void RecordKey(const DialogRecord& dialog, int number, bool second) {
    if (!IsRecorded(dialog, number)) return;
    const DialogItem& item = Dialogs::Item(dialog, number);
    if ((second ? item.Key2 : item.Key).IsSet()) Append(MacroLine::KeyLine(dialog, number, second));
}

}
