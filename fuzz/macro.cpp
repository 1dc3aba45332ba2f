// Macro lines, macro files and key files act on a dialog and on menus; what a hand does is recorded and
// played.
//
//     byte 0   bits 0 and 1: lines one by one, a macro file, a key file, recording
//              bit 2: a head line is put ahead of the file; bit 3: Yes to questions
//              bits 4 to 7: the dialog closes, or items are locked, while lines play; how much a hand does;
//              whether saved keys are loaded again
//     rest     the lines, or what the hand does: item, action, length of a text, text
//
// Promises: values stay within their bounds, guards are down at the end, and files closed. What an item holds
// is written as a line that reads back to the same value. A recorded macro, played on a fresh dialog, leaves
// the values that the hand left. A key file that was saved loads, and is saved to the same bytes.
#include "desk.h"

#include "ui/key_file.h"
#include "ui/macro_file.h"
#include "ui/macro_list.h"
#include "ui/macro_recorder.h"

#include <tuple>

namespace {

using Fuzz::Promise;
using Support::Now;

Dialogs::DialogRecord& Dialog() {
    return Fuzz::Desk().Dialog;
}

// What the graph does when a line presses it.
std::uint8_t Mischief = 0;

void Disturb(Dialogs::DialogRecord& dialog, int number) {
    if ((Mischief & 1) != 0) Dialogs::LockItem(dialog, 1 + number % Support::LastItem, true);
    if ((Mischief & 2) != 0) (void)Macros::PlayStep();
    if ((Mischief & 4) != 0) Macros::RunToEnd();
    if ((Mischief & 8) != 0) Dialogs::CloseDialog(dialog);
}

void PlayAll() {
    for (int i = 0; i < 100'000 && Macros::IsPlaying(); ++i) (void)Macros::PlayStep();
    Promise(!Macros::IsPlaying(), "a macro does not end");
}

void PlayLines(std::string_view text) {
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        (void)Macros::ExecuteMacroLine(Texts::Utf8(text.substr(0, end)));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

std::string PutFile(std::string_view name, bool head, int version, std::span<const std::byte> rest) {
    std::string text = head ? MacroFile::HeadLine(version) + "\n" : "";
    text.append(reinterpret_cast<const char*>(rest.data()), rest.size());
    return MemoryDisk::Put(name, std::as_bytes(std::span(text)));
}

void PlayFile(bool head, std::span<const std::byte> rest) {
    const std::string file = PutFile("a.mac", head, MacroFile::MacroVersion, rest);
    Now.Started = file;
    if (Macros::StartMacro(file)) PlayAll();
}

void LoadKeys(bool head, std::span<const std::byte> rest) {
    const std::string file = PutFile("a.key", head, MacroFile::KeyVersion, rest);
    if (!KeyFile::Load(file)) return;
    Promise(Now.Runs == 0 && Now.MenuRuns == 0, "a key file acts");
    Promise(KeyFile::Save(file), "keys cannot be saved");
    const std::vector<std::byte> saved = MemoryDisk::Get(file);
    Promise(MemoryDisk::Now.Names.contains(MemoryDisk::Folder + "a.100y"), "the old key file is gone");
    if (Mischief == 0) return; // most of the time goes there
    Promise(KeyFile::Load(file) && KeyFile::Save(file), "saved keys do not load");
    Promise(MemoryDisk::Get(file) == saved, "a second save gives other bytes");
}

// -- recording ---------------------------------------------------------------------------------------------

void ByHand(Fuzz::Input& input) {
    const int number = 1 + input.Byte() % Support::LastItem;
    const std::uint8_t action = input.Byte();
    if (!Dialogs::HasItem(Dialog(), number)) return;
    Dialogs::DialogItem& item = Dialogs::Item(Dialog(), number);
    if (!Dialogs::IsTextItem(item)) {
        Dialogs::PressItem(Dialog(), number, {.Source = Dialogs::Source::Mouse}, (action & 1) != 0 ? 1 : -1);
        return;
    }
    const auto bytes = input.Bytes(action % 32);
    const std::string typed =
        MacroLine::WithoutControls(Texts::Utf8({reinterpret_cast<const char*>(bytes.data()), bytes.size()}));
    const bool bothQuotes = typed.find('"') != std::string::npos && typed.find('\'') != std::string::npos;
    if (item.Password || bothQuotes || !Dialogs::EnterText(item, typed)) return;
    Dialogs::Activate(Dialog(), number, {.Source = Dialogs::Source::Key});
}

auto Values() {
    return std::tuple(Now.On, Now.Low, Now.Middle, Now.Top, Now.Check, Now.Toggle, Now.Bits, Now.HexBits,
                      Now.Name, Now.Remarks, Now.Tau, Now.Amplitude, Now.Gain, Now.Count, Now.Pair,
                      Now.PairSecond, Now.Mask, Now.Level, Now.Mode, Now.Code,
                      Dialogs::Item(Dialog(), Support::Place).OwnValue, Dialog().CurrentPage);
}

void RecordAndPlay(Fuzz::Input& input, std::size_t actions) {
    const std::string file = MemoryDisk::Folder + "r.mac";
    Promise(Macros::StartRecording(file), "recording does not start");
    for (std::size_t i = 0; i < actions; ++i) ByHand(input);
    Promise(!Macros::ExecuteMacroLine("Desk Go"), "a line acts while a macro is recorded");
    Macros::StopRecording();
    const auto byHand = Values();
    Fuzz::ResetDesk();
    Promise(Macros::StartMacro(file), "a recorded macro does not start");
    PlayAll();
    if (Values() == byHand) return;
    const std::vector<std::byte> lines = MemoryDisk::Get(file);
    std::fprintf(stderr, "%.*s", static_cast<int>(lines.size()), reinterpret_cast<const char*>(lines.data()));
    MemoryDisk::Broken("a recorded macro leaves other values");
}

void CheckWriting(int number) {
    const Dialogs::DialogItem& item = Dialogs::Item(Dialog(), number);
    MacroLine::MacroRecord record;
    if (item.ValueKind == Dialogs::ValueKind::String || item.Kind == Dialogs::ItemKind::Pane) return;
    const std::string line = MacroLine::ValueLine(Dialog(), number);
    Promise(MacroLine::Read(line, false, record) == MacroLine::Failure::None, "a written line is not read");
    const bool acts = item.ValueKind == Dialogs::ValueKind::Boolean && !record.HasValue;
    Promise(acts || Dialogs::Kept(item.ValueKind, record.NumberValue) == Dialogs::NumberOf(item),
            "a written value reads as another one");
}

void Prepare() {
    MemoryDisk::PlugIn();
    Fuzz::InstallUser();
    Promise(Fuzz::Desk().Ready, "there is no desk");
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool ready = (Prepare(), true);
    if (!ready || size < 2) return 0;
    Fuzz::Input input(data, size);
    const std::uint8_t choice = input.Byte();
    Fuzz::AnswerYes = (choice & 8) != 0;
    MemoryDisk::Clear();
    Fuzz::ResetDesk();
    Mischief = 0;
    const bool head = (choice & 4) != 0;
    if ((choice & 3) == 3) {
        RecordAndPlay(input, choice >> 4);
    } else {
        Dialogs::Item(Dialog(), Support::Graph).ItemProc = Disturb;
        Mischief = choice >> 4;
        const auto rest = input.Rest();
        if ((choice & 3) == 0) PlayLines({reinterpret_cast<const char*>(rest.data()), rest.size()});
        if ((choice & 3) == 1) PlayFile(head, rest);
        if ((choice & 3) == 2) LoadKeys(head, rest);
        (void)Macros::ExecuteMacroLine("; what RELATIVE has left behind goes to the next");
        (void)Macros::ExecuteMacroLine("Desk Low 0", true);
        Macros::StopMacro();
    }
    Fuzz::CheckValues();
    Promise(!Editing::IsUnderWay(), "an entry is still under way");
    CheckWriting(1 + static_cast<int>(size) % Support::LastItem);
    Promise(Dialogs::Current.Item >= 0 && Dialogs::Current.Item <= Support::LastItem,
            "the current item is none");
    return 0;
}
