#include "platform/qt/canvas.h"

#include "platform/qt/frame.h"
#include "platform/qt/paint.h"

#include <QHelpEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>

#include <cmath>

namespace QtDesktop {

namespace {

std::uint32_t ButtonNumber(Qt::MouseButton button) {
    return button == Qt::LeftButton     ? Platform::LeftButton
           : button == Qt::MiddleButton ? Platform::MiddleButton
           : button == Qt::RightButton  ? Platform::RightButton
                                        : 0;
}

QRect Outer(const Platform::Area& area) {
    return QRectF(area.Left, area.Top, area.Width, area.Height).toAlignedRect().adjusted(-1, -1, 1, 1);
}

void NoteMouse(const QMouseEvent& event) {
    Desktop.Mouse = event.globalPosition().toPoint();
    Desktop.Modifiers = ModifierBits(event.modifiers());
}

Qt::CursorShape ShapeOf(Platform::Cursor cursor) {
    switch (cursor) {
    case Platform::Cursor::Arrow: return Qt::ArrowCursor;
    case Platform::Cursor::Text: return Qt::IBeamCursor;
    case Platform::Cursor::Cross: return Qt::CrossCursor;
    case Platform::Cursor::Hand: return Qt::PointingHandCursor;
    case Platform::Cursor::SizeAll: return Qt::SizeVerCursor;
    case Platform::Cursor::SizeCorner: return Qt::SizeFDiagCursor;
    case Platform::Cursor::Wait: return Qt::WaitCursor;
    }
    return Qt::ArrowCursor;
}

}

Canvas::Canvas(Platform::WindowId id, QWidget* parent) : QWidget(parent), Id(id) {
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void Canvas::SetLayer(int number, const Platform::Area& bounds, Platform::Drawing drawing) {
    Layer& layer = Layers[number];
    if (layer.Bounds.Width > 0) update(Outer(layer.Bounds));
    layer = {bounds, std::move(drawing)};
    update(Outer(bounds));
}

void Canvas::DropLayer(int number) {
    const auto found = Layers.find(number);
    if (found == Layers.end()) return;
    update(Outer(found->second.Bounds));
    Layers.erase(found);
}

void Canvas::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    const QRect exposed = event->rect();
    // The logic may not have drawn for the present size yet.
    const bool covered = !Layers.empty() && Layers.begin()->first == 0 &&
                         Outer(Layers.begin()->second.Bounds).adjusted(1, 1, -1, -1).contains(exposed);
    if (!covered) painter.fillRect(exposed, Ink(Desktop.Theme.Panel));
    for (const auto& [number, layer] : Layers)
        if (Outer(layer.Bounds).intersects(exposed)) Play(painter, layer.Drawing);
}

void Canvas::mousePressEvent(QMouseEvent* event) {
    NoteMouse(*event);
    const std::uint32_t button = ButtonNumber(event->button());
    if (button == 0) return;
    Desktop.Button = button;
    Post(Platform::MouseDown, Id, button, Desktop.Modifiers);
}

void Canvas::mouseDoubleClickEvent(QMouseEvent* event) {
    mousePressEvent(event);
}

void Canvas::mouseReleaseEvent(QMouseEvent* event) {
    NoteMouse(*event);
    const std::uint32_t button = ButtonNumber(event->button());
    if (button == Desktop.Button) Desktop.Button = 0;
    if (button != 0) Post(Platform::MouseUp, Id, button, Desktop.Modifiers);
}

void Canvas::mouseMoveEvent(QMouseEvent* event) {
    NoteMouse(*event);
    if (Desktop.Button != 0) {
        ++Desktop.Woken;
        return;
    }
    if (!Desktop.Hooks->CursorAt) return;
    const QPointF at = event->position();
    setCursor(ShapeOf(Desktop.Hooks->CursorAt(Id, {at.x(), at.y()})));
}

void Canvas::wheelEvent(QWheelEvent* event) {
    Desktop.Mouse = event->globalPosition().toPoint();
    Desktop.Modifiers = ModifierBits(event->modifiers());
    Post(Platform::WindowEvent, Id, Platform::SystemEvent, Platform::SystemWheel,
         static_cast<std::uint32_t>(event->angleDelta().y()));
    event->ignore(); // a scroll bar around takes it as well
}

void Canvas::keyPressEvent(QKeyEvent* event) {
    PostKey(*event, Id);
}

void Canvas::resizeEvent(QResizeEvent*) {
    NoteResized(Id);
}

void Canvas::focusInEvent(QFocusEvent*) {
    CameToFront(Id);
}

void Canvas::focusOutEvent(QFocusEvent*) {
    Post(Platform::WindowEvent, Id, Platform::FocusLost);
}

bool Canvas::focusNextPrevChild(bool) {
    return false; // the tabulator is a key like others
}

bool Canvas::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip && Desktop.Hooks->TipAt) {
        const auto* const help = static_cast<QHelpEvent*>(event);
        Platform::Area place;
        const std::string tip = Desktop.Hooks->TipAt(
            Id, {static_cast<double>(help->pos().x()), static_cast<double>(help->pos().y())}, place);
        if (tip.empty()) {
            QToolTip::hideText();
        } else {
            QToolTip::showText(help->globalPos(),
                               QStringLiteral("<qt>") + Text(tip).toHtmlEscaped() + QStringLiteral("</qt>"),
                               this, Outer(place));
        }
        return true;
    }
    return QWidget::event(event);
}

void CameToFront(Platform::WindowId window) {
    if (Desktop.Front != window) {
        Desktop.Front = window;
        Desktop.Main->MarkFront();
    }
    Post(Platform::WindowEvent, window, Platform::FocusGained);
}

}
