// The desktop in memory: no window, no library. Tests post events and look at what the logic asked for; a run
// without a display plays macros on it.
//
// Time stands still but for Wait, which moves the clock on at once, so that no test sleeps.
#pragma once
#include "platform/platform.h"

#include <deque>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace Headless {

[[nodiscard]] const Platform::Operations& Operations();

struct Layer {
    Platform::Area Bounds{};
    Platform::Drawing Drawing{};
};
struct Window {
    Platform::WindowSpec Spec{};
    std::string Title{}, Aside{};
    bool Shown = true, Iconized = false;
    Platform::Area Place{};
    std::map<int, Layer> Layers{};
};
struct TextBox {
    Platform::WindowId Window = 0;
    Platform::TextBoxSpec Spec{};
    int SelectedFrom = 0, SelectedCount = 0;
};

// Everything that the logic has asked for, to be read and changed by a test.
struct DesktopState {
    std::map<Platform::WindowId, Window> Windows{};
    std::map<Platform::TextBoxId, TextBox> TextBoxes{};
    std::map<Platform::BitmapId, Platform::Drawing> Bitmaps{};
    std::vector<Platform::Menu> Menus{};
    Platform::WindowId Front = 0;
    Platform::StatusBar Status{};
    Platform::Theme Theme{};
    bool Dark = false; // what DesktopIsDark answers
    std::string Arrangement{}, Clipboard{}, DroppedFile{}, Hint{};
    std::uint32_t Clock = 0, Modifiers = 0;
    Platform::Point Mouse{};
    std::uint32_t Last = 0; // number given out last

    // Where the mouse is at each further look, its button down, until the last one, where it comes up.
    std::deque<Platform::Point> MousePath{};
    // What the user answers, in order; without an answer an alert takes its default, and anything else is
    // turned away.
    std::deque<int> Answers{};            // of alerts (button from 0), of lists and menus (entry from 1)
    std::deque<std::string> Texts{};      // of prompts and file dialogs
    std::deque<Platform::Color> Colors{}; //
    // What was said: a line an entry, "alert: ...", "prompt: ...", "file: ...".
    std::vector<std::string> Said{};
    // Called by each Wait: lets a test act in the middle of a loop.
    std::function<void()> OnWait;
};
[[nodiscard]] DesktopState& Desktop();
void Reset();

// Posts what a hand does. Points are in a window's content.
void Click(Platform::WindowId window, Platform::Point at, std::uint32_t modifiers = 0);
// Presses at the first point, moves along, and lets go at the last one.
void Drag(Platform::WindowId window, std::vector<Platform::Point> path, std::uint32_t modifiers = 0);
void Key(Platform::WindowId window, std::uint32_t character, std::uint32_t modifiers = 0);
void Key(Platform::WindowId window, Platform::KeyCode code, std::uint32_t modifiers = 0);
// Puts a text into the text box of the window, as typing would.
void Type(std::string_view text);
void Notify(Platform::WindowId window, std::uint32_t detail, std::uint32_t first = 0,
            std::uint32_t second = 0);
void Resize(Platform::WindowId window, Platform::Size content);

// All texts that the window shows, a line a call.
[[nodiscard]] std::string ShownTexts(Platform::WindowId window);

}
