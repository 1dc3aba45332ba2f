// What the parts of the Qt backend share: its windows and text boxes by number, its fonts and colours.
// Only this folder includes Qt, and nothing here includes the logic: the module that it becomes gets the
// hooks by their address.
#pragma once
#include "platform/platform.h"

#include <QApplication>
#include <QColor>
#include <QFont>
#include <QPixmap>
#include <QPointer>
#include <QString>
#include <QWidget>

#include <map>
#include <memory>

namespace QtDesktop {

class Canvas;
class Frame;
class TextBox;

struct DesktopState {
    Platform::HookTable* Hooks = nullptr;
    std::unique_ptr<QApplication> App;
    std::unique_ptr<Frame> Main;
    std::map<Platform::WindowId, Canvas*> Canvases;
    std::map<Platform::TextBoxId, QPointer<QWidget>> TextBoxes;
    std::map<Platform::BitmapId, QPixmap> Bitmaps;
    std::uint32_t LastNumber = 0;
    Platform::WindowId Front = 0;
    Platform::Theme Theme;
    // Pointer: where it was last, and the button that is down.
    QPoint Mouse; // global
    std::uint32_t Button = 0;
    std::uint32_t Modifiers = 0;
    std::uint64_t Woken = 0; // counts what ends a Wait
    bool Ending = false;     // a signal came: questions answer themselves with what Escape means
    QString Dropped;
};
// Outlives the end of the process: its display may go away in the middle of an event, and what stands then is
// not to be taken apart.
extern DesktopState& Desktop;

[[nodiscard]] QString Text(std::string_view utf8);
[[nodiscard]] std::string Utf8(const QString& text);
[[nodiscard]] QColor Ink(Platform::Color color);

// A window has moved or has another size. Only the last place counts, and while a question is open nobody
// takes records out of their ring: they are posted when the logic looks the next time, one of each for a
// window.
void NoteMoved(Platform::WindowId window);
void NoteResized(Platform::WindowId window);
void PostChanges();

// Posts a record with the present time and pointer.
void Post(std::int32_t what, Platform::WindowId window, std::uint32_t detail, std::uint32_t message = 0,
          std::uint32_t parameter = 0);
[[nodiscard]] std::uint32_t ModifierBits(Qt::KeyboardModifiers modifiers);
// Nothing for a key that is none of ours, as a modifier by itself.
void PostKey(const class QKeyEvent& event, Platform::WindowId window);

[[nodiscard]] Canvas* FindCanvas(Platform::WindowId window);

}
