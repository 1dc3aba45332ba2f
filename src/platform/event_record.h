// The event record: 32 bytes, all that a backend tells the logic of the user and of the window system.
#pragma once
#include <cstdint>

namespace Platform {

// EventRecord.What
inline constexpr std::int32_t NoEvent = 0, MouseDown = 1, MouseUp = 2, KeyDown = 3, Update = 6,
                              WindowEvent = 10;

// EventRecord.Detail: the button of a mouse event, KeyDetail of a key, the notification of a window event.
inline constexpr std::uint32_t LeftButton = 1, MiddleButton = 2, RightButton = 3;
inline constexpr std::uint32_t KeyDetail = 11;
inline constexpr std::uint32_t Moved = 5, Resized = 6, Iconized = 7, CloseRequested = 8;
inline constexpr std::uint32_t MenuChosen = 9;      // Message: menu, Char: entry, both from 1
inline constexpr std::uint32_t TextBoxChanged = 10; // Message: text box; the user has edited it
inline constexpr std::uint32_t SystemEvent = 12;    // Message: one of the System... numbers, Char: parameter
inline constexpr std::uint32_t FocusGained = 13, FocusLost = 14;

inline constexpr std::uint32_t SystemWheel = 1;       // Char: 120ths of a step, as int32; positive is up
inline constexpr std::uint32_t SystemTheme = 2;       // the desktop changed between light and dark
inline constexpr std::uint32_t SystemFileDropped = 3; // DroppedFile tells which
// The desktop session ends. Char 1: at once, as a signal to the process asks; no question is answered any
// more.
inline constexpr std::uint32_t SystemQuit = 4;

// Modifier bits, in Message of mouse and key events. The control key of a keyboard is Control, its alt key
// Option, and its logo key Command.
inline constexpr std::uint32_t Command = 1, Shift = 2, Caps = 4, Option = 8, Control = 16;
// With the modifiers of a key: it is held down, and comes once more for it.
inline constexpr std::uint32_t Repeated = 256;

// Char of a key: the character (Unicode), or SpecialKey plus one of the codes below.
inline constexpr std::uint32_t SpecialKey = 0x110000;
enum class KeyCode : std::uint8_t {
    None = 0,
    CursorRight,
    CursorLeft,
    CursorDown,
    CursorUp,
    Enter,
    Return,
    Escape,
    Tab,
    Backtab,
    Home,
    End,
    PageUp,
    PageDown,
    Help,
    Insert,
    DeleteLeft,
    DeleteRight,
    Numeric0 = 32, // to 9
    NumericTimes = 42,
    NumericDivide,
    NumericEqual,
    NumericClear,
    NumericPoint,
    NumericPlus,
    NumericMinus,
    F1 = 64, // to F15
    F15 = 78,
};

struct EventRecord {
    std::int32_t What = NoEvent;
    std::uint32_t When = 0;    // ms, wraps
    std::int32_t X = 0;        // of the pointer, in the client area of the main window, logical pixels
    std::int32_t Y = 0;        //
    std::uint32_t Message = 0; // modifier bits, or the first parameter
    std::uint32_t Char = 0;    // character, or the second parameter
    std::uint32_t Window = 0;  // the target
    std::uint32_t Detail = 0;
};
static_assert(sizeof(EventRecord) == 32);

}
