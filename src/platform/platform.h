// What is asked of a desktop: windows, text boxes, menus, questions, drawing, pointer, clipboard, time.
//
// A backend is one table of procedures; all of them must be filled. Two stand beside this header: headless/
// (in memory, no library: tests, and runs that play macros without a display) and qt/ (the desktop; a module
// that is loaded when a window is wanted, so that a run without one never sees the library). What happens on
// the desktop comes up as records through Hooks.Post; a backend never calls the logic in any other way, but
// for the two hooks that answer a question on the spot.
//
// One thread. Windows, text boxes, bitmaps and menus are named by numbers from 1; 0 is none, and an unknown
// number is ignored. Places are in logical pixels; those of windows in the frame are the frame's to decide.
#pragma once
#include "platform/drawing.h"
#include "platform/event_record.h"

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Platform {

using WindowId = std::uint32_t;
using TextBoxId = std::uint32_t;
using BitmapId = std::uint32_t;

// The frame itself, where a window's number is asked for: title, close, place and picture of the whole.
inline constexpr WindowId FrameWindow = 0xFFFF;

enum class WindowKind : std::uint8_t {
    Panel,    // a tool: lives in the frame, can be moved there, floated, closed
    Floating, // a dialog of its own above the frame, that does not hold up the others
    Modal,    // a dialog that must be answered: input of all other windows waits
    Start,    // a plain box in the middle of the screen, without title
};

// Where a panel stands in the frame as long as the user has not moved it.
enum class Dock : std::uint8_t { Left, Center, Right, Bottom, Float };

struct WindowSpec {
    WindowKind Kind = WindowKind::Panel;
    std::string Title{};
    std::string Name{}; // unique; what the frame knows a panel by from start to start
    Size Content{};     // wanted
    Size Least{};       // a smaller window shows scroll bars
    Point At{-1, -1};   // of the upper left corner on the screen; negative: the platform's choice
    Platform::Dock Dock = Dock::Left;
    bool Sizable = true;
    bool CloseBox = true;
    bool Shown = true;
};

struct TextBoxSpec {
    Area Place{}; // in the window
    std::string Text{};
    Platform::Font Font{};
    Align Justify = Align::Left;
    Color Ink{}, Paper{};
    std::size_t Longest = 0; // characters; 0: no limit
    bool Lines = false;      // more than one; Return makes a new one
    bool ReadOnly = false;
    bool Password = false;
    bool LineNumbers = false;
    bool SelectAll = false; // and take the focus
};

struct MenuEntry {
    std::string Text{}; // "-" is a separator
    char Shortcut = 0;  // 'A' to 'Z', '0' to '9' with the menu key; 0 none
    bool Enabled = true;
    bool Checked = false;
    int SubMenu = 0; // number of the menu that opens here, 0 none
};
struct Menu {
    std::string Title{};
    std::vector<MenuEntry> Entries{};
    bool InBar = true; // false: only reached as SubMenu
};

enum class EditCommand : std::uint8_t { Undo, Redo, Cut, Copy, Paste, SelectAll };

enum class AlertKind : std::uint8_t { Note, Warning, Question };
struct AlertSpec {
    AlertKind Kind = AlertKind::Warning;
    std::string Text{};
    std::vector<std::string> Buttons{"OK"};
    int Default = 0; // what Return presses
    int Escape = 0;  // what Escape and the close box press
};

enum class FileUse : std::uint8_t { Open, Save, Folder };
struct FileDialogSpec {
    FileUse Use = FileUse::Open;
    std::string Title{};
    std::string Start{};   // folder or file to begin with
    std::string Pattern{}; // "*.dat"; more than one parted by blanks
    std::string Kind{};    // of the files, in words: "Data file"
};

enum class PictureFormat : std::uint8_t { Png, Svg, Pdf, Wmf };

enum class Cursor : std::uint8_t { Arrow, Text, Cross, Hand, SizeAll, SizeCorner, Wait };

// The roles of colours in the parts that the platform draws itself.
struct Theme {
    bool Dark = false;
    Color Window{}, Panel{}, Soft{}, Line{}, Text{}, Secondary{}, Accent{}, OnAccent{}, Warning{}, Good{};
};

struct StatusBar {
    std::string Word{}; // "idle"
    bool Busy = false;
    std::string Left{}, Right{};
    double Progress = -1; // 0 to 1; below 0: none, and no Break
};

// What a backend may call, each optional. Post is called in the middle of anything: it only keeps the record.
struct HookTable {
    std::function<void(const EventRecord& record)> Post;
    std::function<Cursor(WindowId window, Point at)> CursorAt;
    // Text and place of the tip for a point; an empty text is none.
    std::function<std::string(WindowId window, Point at, Area& place)> TipAt;
    std::function<void()> BreakPressed; // of the status bar
};
extern HookTable Hooks; // of the logic; a backend that is a module gets its address

struct Operations {
    // Brings the backend up: the frame exists, hidden. False with the reason, and nothing is left of it.
    bool (*Start)(const std::string& programName, std::string& reason);
    void (*End)();

    // Time and events. Pump takes in what is there; Wait sleeps until something comes in, at most so long
    // (negative: for ever). Both call Hooks.Post.
    std::uint32_t (*Milliseconds)();
    void (*Pump)();
    void (*Wait)(int milliseconds);

    // Windows
    WindowId (*OpenWindow)(const WindowSpec& spec);
    void (*CloseWindow)(WindowId window);
    void (*ShowWindow)(WindowId window, bool shown);
    bool (*IsShown)(WindowId window);
    void (*BringToFront)(WindowId window);
    WindowId (*FrontWindow)(); // the one with the focus; 0 when another program has it
    // aside: what the title bar tells at its other end ("Sweep 5 of 10").
    void (*SetTitle)(WindowId window, std::string_view title, std::string_view aside);
    void (*SetContent)(WindowId window, Size least);
    Size (*ContentSize)(WindowId window);             // what is there to draw in: at least the least size
    Area (*WindowPlace)(WindowId window);             // on the screen
    void (*PlaceWindow)(WindowId window, Area place); //
    // The upper left corner of its content in client coordinates of the main window.
    Point (*WindowOrigin)(WindowId window);
    void (*Iconize)(WindowId window, bool iconized);
    std::string (*Arrangement)();                  // of the frame and its panels, as plain text
    bool (*Arrange)(std::string_view arrangement); // false: not understood, nothing changed
    void (*SetTheme)(const Theme& theme);
    bool (*DesktopIsDark)();
    void (*SetStatusBar)(const StatusBar& bar);
    void (*SetHint)(std::string_view text); // in the middle of the frame, as long as no panel fills it

    // Drawing. A window shows its layers in the order of their numbers; a layer that is drawn again replaces
    // what it was, and only the old and the new bounds are painted.
    void (*DrawLayer)(WindowId window, int layer, Area bounds, Drawing drawing);
    void (*DropLayer)(WindowId window, int layer);
    Size (*MeasureText)(const Font& font, std::string_view text);
    std::vector<std::string> (*FontNames)();
    BitmapId (*MakeBitmap)(Size size);
    void (*DrawOnBitmap)(BitmapId bitmap, const Drawing& drawing); // on top of what is there
    void (*DropBitmap)(BitmapId bitmap);
    bool (*SavePicture)(const std::string& path, PictureFormat format, Size size, const Drawing& drawing,
                        std::string& reason);
    // The window as it looks on the screen, as PNG.
    bool (*SaveWindowPicture)(WindowId window, const std::string& path, std::string& reason);
    // Pages of the size, fitted to the paper. Shows the printer dialog, unless toPdf names a file. False with
    // an empty reason when the user turned away.
    bool (*Print)(const std::string& title, Size page, const std::vector<Drawing>& pages,
                  const std::string& toPdf, std::string& reason);

    // Text boxes: the platform's own editing, over the window's drawing. Return, Tab and Escape of a box of
    // one line, and Tab and Escape of one with more, come up as keys.
    TextBoxId (*OpenTextBox)(WindowId window, const TextBoxSpec& spec);
    void (*CloseTextBox)(TextBoxId box);
    std::string (*TextBoxText)(TextBoxId box);
    void (*SetTextBoxText)(TextBoxId box, std::string_view text);
    void (*AppendToTextBox)(TextBoxId box, std::string_view text); // at the end, which is then in view
    void (*DropTextBoxLines)(TextBoxId box, int lines);            // the first ones
    void (*ChangeTextBox)(TextBoxId box, const TextBoxSpec& spec); // all but text and focus
    void (*SelectInTextBox)(TextBoxId box, int from, int count);   // characters; takes the focus
    bool (*FindInTextBox)(TextBoxId box, std::string_view text);   // from the cursor on, any case
    // On the text box that has the focus. False when there is none.
    bool (*EditTextBox)(EditCommand command);

    // Menus
    void (*SetMenus)(std::span<const Menu> menus); // numbers are positions from 1
    void (*SetMenuEntry)(int menu, int entry, const MenuEntry& state);
    // Shows the entries under (or over) the place, the current one checked. The position chosen, from 1, or
    // 0.
    int (*PopupMenu)(WindowId window, Area place, std::span<const MenuEntry> entries, int current);

    // Questions, each of them answered when the procedure returns.
    int (*Alert)(const AlertSpec& spec);
    bool (*Prompt)(const std::string& question, std::string& text); // false: cancelled
    bool (*FileDialog)(const FileDialogSpec& spec, std::string& path);
    bool (*ColorDialog)(Color& color);

    // Pointer and keys
    Point (*MousePosition)(); // in client coordinates of the main window
    bool (*StillDown)();      // the button that went down last has not come up
    std::uint32_t (*Modifiers)();
    std::string (*DroppedFile)();

    void (*SetClipboardText)(std::string_view text);
    std::string (*ClipboardText)();
    void (*SetClipboardPicture)(Size size, const Drawing& drawing);
};

// The backend in use. The headless one, until another is taken.
[[nodiscard]] const Operations& Ops();
void Use(const Operations& operations);

}
