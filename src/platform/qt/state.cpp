#include "platform/qt/state.h"

#include "platform/qt/frame.h"

#include <QElapsedTimer>
#include <QKeyEvent>

namespace QtDesktop {

DesktopState& Desktop = *new DesktopState;

namespace {

using Platform::KeyCode;

struct KeyRow {
    int Key;
    KeyCode Code;
};
constexpr KeyRow Keys[] = {
    {Qt::Key_Right, KeyCode::CursorRight},
    {Qt::Key_Left, KeyCode::CursorLeft},
    {Qt::Key_Down, KeyCode::CursorDown},
    {Qt::Key_Up, KeyCode::CursorUp},
    {Qt::Key_Enter, KeyCode::Enter},
    {Qt::Key_Return, KeyCode::Return},
    {Qt::Key_Escape, KeyCode::Escape},
    {Qt::Key_Tab, KeyCode::Tab},
    {Qt::Key_Backtab, KeyCode::Backtab},
    {Qt::Key_Home, KeyCode::Home},
    {Qt::Key_End, KeyCode::End},
    {Qt::Key_PageUp, KeyCode::PageUp},
    {Qt::Key_PageDown, KeyCode::PageDown},
    {Qt::Key_Help, KeyCode::Help},
    {Qt::Key_Insert, KeyCode::Insert},
    {Qt::Key_Backspace, KeyCode::DeleteLeft},
    {Qt::Key_Delete, KeyCode::DeleteRight},
    {Qt::Key_Clear, KeyCode::NumericClear},
};
constexpr KeyRow PadKeys[] = {
    {Qt::Key_Asterisk, KeyCode::NumericTimes}, {Qt::Key_Slash, KeyCode::NumericDivide},
    {Qt::Key_Equal, KeyCode::NumericEqual},    {Qt::Key_Period, KeyCode::NumericPoint},
    {Qt::Key_Comma, KeyCode::NumericPoint},    {Qt::Key_Plus, KeyCode::NumericPlus},
    {Qt::Key_Minus, KeyCode::NumericMinus},
};

std::uint32_t Special(KeyCode code, int offset = 0) {
    return Platform::SpecialKey + static_cast<std::uint32_t>(code) + static_cast<std::uint32_t>(offset);
}

QElapsedTimer StartedClock() {
    QElapsedTimer clock;
    clock.start();
    return clock;
}

}

QString Text(std::string_view utf8) {
    return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

std::string Utf8(const QString& text) {
    const QByteArray bytes = text.toUtf8();
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

QColor Ink(Platform::Color color) {
    return {color.Red, color.Green, color.Blue, color.Alpha};
}

std::uint32_t Milliseconds() {
    static const QElapsedTimer clock = StartedClock();
    return static_cast<std::uint32_t>(clock.elapsed());
}

void Post(std::int32_t what, Platform::WindowId window, std::uint32_t detail, std::uint32_t message,
          std::uint32_t parameter) {
    ++Desktop.Woken;
    if (Desktop.Hooks == nullptr || !Desktop.Hooks->Post) return;
    const QPoint at = Desktop.Main ? Desktop.Main->mapFromGlobal(Desktop.Mouse) : Desktop.Mouse;
    Desktop.Hooks->Post({.What = what,
                         .When = Milliseconds(),
                         .X = at.x(),
                         .Y = at.y(),
                         .Message = message,
                         .Char = parameter,
                         .Window = window,
                         .Detail = detail});
}

namespace {
struct WindowChange {
    bool Moved = false, Resized = false;
};
std::map<Platform::WindowId, WindowChange> Changes;
}

void NoteMoved(Platform::WindowId window) {
    Changes[window].Moved = true;
    ++Desktop.Woken;
}

void NoteResized(Platform::WindowId window) {
    Changes[window].Resized = true;
    ++Desktop.Woken;
}

void PostChanges() {
    const std::map<Platform::WindowId, WindowChange> changes = std::move(Changes);
    Changes.clear();
    for (const auto& [window, change] : changes) {
        if (FindCanvas(window) == nullptr) continue;
        if (change.Moved) Post(Platform::WindowEvent, window, Platform::Moved);
        if (change.Resized) Post(Platform::WindowEvent, window, Platform::Resized);
    }
}

std::uint32_t ModifierBits(Qt::KeyboardModifiers modifiers) {
    std::uint32_t bits = 0;
    if (modifiers.testFlag(Qt::MetaModifier)) bits |= Platform::Command;
    if (modifiers.testFlag(Qt::ShiftModifier)) bits |= Platform::Shift;
    if (modifiers.testFlag(Qt::AltModifier)) bits |= Platform::Option;
    if (modifiers.testFlag(Qt::ControlModifier)) bits |= Platform::Control;
    return bits;
}

namespace {
std::uint32_t CharOf(const QKeyEvent& event) {
    const int key = event.key();
    if (event.modifiers().testFlag(Qt::KeypadModifier)) {
        if (key >= Qt::Key_0 && key <= Qt::Key_9) return Special(KeyCode::Numeric0, key - Qt::Key_0);
        for (const KeyRow& row : PadKeys)
            if (row.Key == key) return Special(row.Code);
    }
    if (key >= Qt::Key_F1 && key <= Qt::Key_F15) return Special(KeyCode::F1, key - Qt::Key_F1);
    for (const KeyRow& row : Keys)
        if (row.Key == key) return Special(row.Code);
    const QString text = event.text();
    // With the control key the text is a control character; the key itself says which letter it was.
    if (key >= Qt::Key_A && key <= Qt::Key_Z && (text.isEmpty() || text[0].unicode() < 32))
        return static_cast<std::uint32_t>('a' + (key - Qt::Key_A));
    if (text.isEmpty()) return key >= 32 && key < 127 ? static_cast<std::uint32_t>(key) : 0;
    const QList<uint> characters = text.toUcs4();
    if (!characters.isEmpty() && characters[0] >= 32 && characters[0] != 127) return characters[0];
    return key >= 32 && key < 127 ? static_cast<std::uint32_t>(key) : 0;
}
}

void PostKey(const QKeyEvent& event, Platform::WindowId window) {
    Desktop.Modifiers = ModifierBits(event.modifiers());
    const std::uint32_t character = CharOf(event);
    if (character == 0) return;
    Post(Platform::KeyDown, window, Platform::KeyDetail,
         Desktop.Modifiers | (event.isAutoRepeat() ? Platform::Repeated : 0), character);
}

Canvas* FindCanvas(Platform::WindowId window) {
    const auto found = Desktop.Canvases.find(window);
    return found == Desktop.Canvases.end() ? nullptr : found->second;
}

}
