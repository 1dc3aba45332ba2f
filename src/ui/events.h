// Events: the ring of records between platform and logic, and the kinds of events that the logic sees.
//
// The ring has 256 places of which one stays free, so it holds 255 records; what comes in while it is full is
// dropped. A record of nothing goes in only when the ring is empty, and an update only when none for the same
// window waits already.
#pragma once
#include "platform/event_record.h"
#include "platform/platform.h"

#include <cstdint>
#include <string>

namespace Events {

inline constexpr int RingSlots = 256;

// The numbers stand in macro files.
enum class KeyKind : std::uint8_t {
    None = 0,
    KeyCharacter = 2,
    KeyMouse = 48,
    KeyDoubleMouse = 49,
    KeyTripleMouse = 50,
    KeyMouseStillDown = 51,
    KeyDeactivate = 52,
    KeyActivate = 53,
    KeyUpdate = 54,
    KeyWindow = 55,
    KeyMoved = 56,
    KeyIconize = 57,
    KeyResized = 58,
    KeyWindowClose = 59,
    KeyOSEvent = 61,
};

// What a key is: a printable character, or a KeyCode.
enum class KeyClass : std::uint8_t { None = 0, Unused = 1, Printable = 2, Special = 3 };

struct Event {
    KeyKind Kind = KeyKind::None;
    Events::KeyClass KeyClass = Events::KeyClass::None; // of KeyCharacter
    std::uint32_t Char = 0;                             // character, or KeyCode
    std::uint32_t Modifiers = 0;                        // bits of event_record.h
    std::uint32_t Button = 0;                           // of mouse events
    Platform::Point At{};                               // in the client area of the main window
    Platform::WindowId Window = 0;
    std::uint32_t Detail = 0;                     // of KeyWindow and KeyOSEvent: which notification,
    std::uint32_t Parameter1 = 0, Parameter2 = 0; // with its two parameters
    std::uint32_t When = 0;
};

// The ring comes up empty, and the platform's hook fills it. False, with "Out of memory.", when it cannot.
[[nodiscard]] bool Initialise();
void Clear();

// By the rules of the ring. False when the record was dropped.
bool Insert(const Platform::EventRecord& record);
[[nodiscard]] bool Next(Platform::EventRecord& record);
[[nodiscard]] int Waiting();

// The next record as an event, after the platform was asked for what is there. False when there is none.
// A key that is held down while others work counts once, however often it has repeated meanwhile.
// Two presses of a button within DoubleClick ms and 4 pixels make a KeyDoubleMouse, three a KeyTripleMouse.
[[nodiscard]] bool GetNextEvent(Event& event);
inline constexpr std::uint32_t DoubleClick = 400;

// Whether the user wants running work to stop: Escape, or the control key with a point, waits in the ring.
// It is taken out, with the keys and clicks before it; what windows have to say stays.
[[nodiscard]] bool TakeBreak();

// True while the button that was pressed last is down; takes in what the platform has.
[[nodiscard]] bool StillDown();
[[nodiscard]] Platform::Point GetMouse();

// "KeyCharacter  :    shift option Key: 2,   Char:a": the line of an event in the log.
[[nodiscard]] std::string LogText(const Event& event);
// Each event goes to the log; the switch of the file WriteKey.On.
extern bool WriteKeys;

// A timer that is asked, not one that calls: it has run out once After ms have gone since it was set.
struct Timer {
    std::uint32_t SetAt = 0;
    int After = -1; // off
    [[nodiscard]] bool RunOut() const;
    // ms until then, 0 when it has run out, -1 when it is off.
    [[nodiscard]] int Remaining() const;
};
void Set(Timer& timer, int after);

}
