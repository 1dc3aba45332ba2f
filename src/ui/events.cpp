#include "ui/events.h"

#include "base/messages.h"

#include <array>
#include <cmath>
#include <memory>
#include <new>
#include <vector>

namespace Events {

bool WriteKeys = false;

namespace {

using Platform::EventRecord;

struct RingState {
    std::unique_ptr<EventRecord[]> Slots;
    int Writer = 0, Reader = 0;
    // The last press, to tell double and triple presses.
    std::uint32_t PressedAt = 0, PressedButton = 0, PressedWindow = 0;
    Platform::Point PressedWhere;
    int Presses = 0;
};
RingState Ring;

int Following(int slot) {
    return slot + 1 == RingSlots ? 0 : slot + 1;
}

bool UpdateWaits(std::uint32_t window) {
    for (int slot = Ring.Reader; slot != Ring.Writer; slot = Following(slot)) {
        const EventRecord& record = Ring.Slots[static_cast<std::size_t>(slot)];
        if (record.What == Platform::Update && record.Window == window) return true;
    }
    return false;
}

KeyKind MouseKind(const EventRecord& record) {
    const Platform::Point where{static_cast<double>(record.X), static_cast<double>(record.Y)};
    const bool again = Ring.Presses > 0 && record.When - Ring.PressedAt <= DoubleClick &&
                       record.Detail == Ring.PressedButton && record.Window == Ring.PressedWindow &&
                       std::fabs(where.X - Ring.PressedWhere.X) <= 4 &&
                       std::fabs(where.Y - Ring.PressedWhere.Y) <= 4;
    Ring.Presses = again && Ring.Presses < 3 ? Ring.Presses + 1 : 1;
    Ring.PressedAt = record.When;
    Ring.PressedButton = record.Detail;
    Ring.PressedWindow = record.Window;
    Ring.PressedWhere = where;
    return Ring.Presses == 1   ? KeyKind::KeyMouse
           : Ring.Presses == 2 ? KeyKind::KeyDoubleMouse
                               : KeyKind::KeyTripleMouse;
}

struct DetailRow {
    std::uint32_t Detail;
    KeyKind Kind;
};
constexpr DetailRow WindowDetails[] = {
    {Platform::Moved, KeyKind::KeyMoved},          {Platform::Resized, KeyKind::KeyResized},
    {Platform::Iconized, KeyKind::KeyIconize},     {Platform::CloseRequested, KeyKind::KeyWindowClose},
    {Platform::MenuChosen, KeyKind::KeyWindow},    {Platform::TextBoxChanged, KeyKind::KeyWindow},
    {Platform::SystemEvent, KeyKind::KeyOSEvent},  {Platform::FocusGained, KeyKind::KeyActivate},
    {Platform::FocusLost, KeyKind::KeyDeactivate},
};

KeyKind WindowKindOf(std::uint32_t detail) {
    for (const DetailRow& row : WindowDetails)
        if (row.Detail == detail) return row.Kind;
    return KeyKind::None;
}

Event Derived(const EventRecord& record) {
    Event event;
    event.At = {static_cast<double>(record.X), static_cast<double>(record.Y)};
    event.Window = record.Window;
    event.When = record.When;
    switch (record.What) {
    case Platform::MouseDown:
        event.Kind = MouseKind(record);
        event.Button = record.Detail;
        event.Modifiers = record.Message;
        break;
    case Platform::KeyDown:
        event.Kind = KeyKind::KeyCharacter;
        event.Modifiers = record.Message & ~Platform::Repeated;
        event.KeyClass = record.Char >= Platform::SpecialKey ? KeyClass::Special : KeyClass::Printable;
        event.Char = record.Char >= Platform::SpecialKey ? record.Char - Platform::SpecialKey : record.Char;
        break;
    case Platform::Update: event.Kind = KeyKind::KeyUpdate; break;
    case Platform::WindowEvent:
        event.Kind = WindowKindOf(record.Detail);
        event.Detail = record.Detail;
        event.Parameter1 = record.Message;
        event.Parameter2 = record.Char;
        break;
    default: break; // a button that came up ends a tracking, and is no event of its own
    }
    return event;
}

// The same key waits behind it, held down all the while.
bool IsRepeatedAgain(const EventRecord& record) {
    if (record.What != Platform::KeyDown || (record.Message & Platform::Repeated) == 0 ||
        Ring.Reader == Ring.Writer)
        return false;
    const EventRecord& next = Ring.Slots[static_cast<std::size_t>(Ring.Reader)];
    return next.What == record.What && next.Message == record.Message && next.Char == record.Char &&
           next.Window == record.Window;
}

bool IsInput(const EventRecord& record) {
    return record.What == Platform::KeyDown || record.What == Platform::MouseDown ||
           record.What == Platform::MouseUp;
}

// Takes keys and clicks out of the ring ahead of the slot.
void DropInput(int end) {
    std::vector<EventRecord> kept;
    bool ahead = true;
    for (int slot = Ring.Reader; slot != Ring.Writer; slot = Following(slot)) {
        const EventRecord& record = Ring.Slots[static_cast<std::size_t>(slot)];
        if (slot == end) ahead = false;
        if (!ahead || !IsInput(record)) kept.push_back(record);
    }
    Ring.Writer = Ring.Reader;
    for (const EventRecord& record : kept) {
        Ring.Slots[static_cast<std::size_t>(Ring.Writer)] = record;
        Ring.Writer = Following(Ring.Writer);
    }
}

struct LabelRow {
    KeyKind Kind;
    const char* Label;
};
constexpr LabelRow Labels[] = {
    {KeyKind::KeyCharacter, "KeyCharacter  :   "},      {KeyKind::KeyMouse, "KeyMouse      :   "},
    {KeyKind::KeyDoubleMouse, "KeyDoubleMouse:   "},    {KeyKind::KeyTripleMouse, "KeyTripleMouse:   "},
    {KeyKind::KeyMouseStillDown, "KeyMouseStillDown:"}, {KeyKind::KeyDeactivate, "KeyDeactivate :   "},
    {KeyKind::KeyActivate, "KeyActivate   :   "},       {KeyKind::KeyUpdate, "KeyUpdate     :   "},
    {KeyKind::KeyWindow, "KeyWindow     :   "},         {KeyKind::KeyMoved, "KeyMoved      :   "},
    {KeyKind::KeyIconize, "KeyIconize    :   "},        {KeyKind::KeyResized, "KeyResized    :   "},
    {KeyKind::KeyWindowClose, "KeyWindowClose:   "},    {KeyKind::KeyOSEvent, "KeyOSEvent    :   "},
};

struct ModifierRow {
    std::uint32_t Bit;
    const char* Word;
};
constexpr ModifierRow ModifierWords[] = {{Platform::Command, " command"},
                                         {Platform::Shift, " shift"},
                                         {Platform::Caps, " caps"},
                                         {Platform::Option, " option"},
                                         {Platform::Control, " control"}};

}

bool Initialise() {
    Ring = {};
    Ring.Slots.reset(new (std::nothrow) EventRecord[RingSlots]);
    if (!Ring.Slots) {
        Messages::Alert("Out of memory.");
        return false;
    }
    Platform::Hooks.Post = [](const EventRecord& record) { Insert(record); };
    return true;
}

void Clear() {
    Ring.Reader = Ring.Writer;
    Ring.Presses = 0;
}

bool Insert(const EventRecord& record) {
    if (!Ring.Slots) return false;
    if (record.What == Platform::NoEvent && Ring.Reader != Ring.Writer) return false;
    if (record.What == Platform::Update && UpdateWaits(record.Window)) return false;
    const int next = Following(Ring.Writer);
    if (next == Ring.Reader) return false;
    Ring.Slots[static_cast<std::size_t>(Ring.Writer)] = record;
    Ring.Writer = next;
    return true;
}

bool Next(EventRecord& record) {
    if (Ring.Reader == Ring.Writer) return false;
    record = Ring.Slots[static_cast<std::size_t>(Ring.Reader)];
    Ring.Reader = Following(Ring.Reader);
    return true;
}

int Waiting() {
    return (Ring.Writer - Ring.Reader + RingSlots) % RingSlots;
}

bool GetNextEvent(Event& event) {
    Platform::Ops().Pump();
    EventRecord record;
    while (Next(record)) {
        if (IsRepeatedAgain(record)) continue;
        event = Derived(record);
        if (event.Kind == KeyKind::None) continue;
        if (WriteKeys) Messages::Log(LogText(event));
        return true;
    }
    event = {};
    return false;
}

bool TakeBreak() {
    Platform::Ops().Pump();
    for (int slot = Ring.Reader; slot != Ring.Writer; slot = Following(slot)) {
        const EventRecord& record = Ring.Slots[static_cast<std::size_t>(slot)];
        if (record.What != Platform::KeyDown) continue;
        const bool escape =
            record.Char == Platform::SpecialKey + static_cast<std::uint32_t>(Platform::KeyCode::Escape);
        const bool point = record.Char == '.' && (record.Message & Platform::Control) != 0;
        if (!escape && !point) continue;
        DropInput(Following(slot));
        return true;
    }
    return false;
}

bool StillDown() {
    Platform::Ops().Pump();
    return Platform::Ops().StillDown();
}

Platform::Point GetMouse() {
    return Platform::Ops().MousePosition();
}

std::string LogText(const Event& event) {
    std::string text;
    for (const LabelRow& row : Labels)
        if (row.Kind == event.Kind) text = row.Label;
    for (const ModifierRow& row : ModifierWords)
        if ((event.Modifiers & row.Bit) != 0) text += row.Word;
    const bool shown = event.KeyClass == KeyClass::Printable && event.Char > ' ' && event.Char < 127;
    text += " Key: " + std::to_string(event.KeyClass == KeyClass::None
                                          ? static_cast<std::uint32_t>(event.Kind)
                                          : static_cast<std::uint32_t>(event.KeyClass));
    text += ",   Char:";
    text += shown ? std::string(1, static_cast<char>(event.Char)) : std::to_string(event.Char);
    return text;
}

bool Timer::RunOut() const {
    return Remaining() == 0;
}

int Timer::Remaining() const {
    if (After < 0) return -1;
    const std::uint32_t gone = Platform::Ops().Milliseconds() - SetAt;
    return gone >= static_cast<std::uint32_t>(After) ? 0 : After - static_cast<int>(gone);
}

void Set(Timer& timer, int after) {
    timer = {Platform::Ops().Milliseconds(), after};
}

}
