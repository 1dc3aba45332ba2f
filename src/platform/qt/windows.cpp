// The operations on windows.
#include "platform/qt/frame.h"

#include <QScreen>
#include <QVBoxLayout>

#include <cmath>

namespace QtDesktop {

namespace {

using Platform::WindowKind;

QSize SizeOf(Platform::Size size) {
    return {static_cast<int>(std::ceil(size.Width)), static_cast<int>(std::ceil(size.Height))};
}

// The canvas in what shows scroll bars when the window is smaller than it may be.
QScrollArea* Scrolled(Canvas* canvas) {
    auto* const scroll = new QScrollArea;
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setWidget(canvas);
    return scroll;
}

void OpenPanel(Canvas* canvas, const Platform::WindowSpec& spec) {
    auto* const panel = new Panel(canvas, Scrolled(canvas), Desktop.Main.get());
    canvas->Shell = panel;
    panel->setObjectName(Text(spec.Name));
    panel->setWindowTitle(Text(spec.Title)); // of its tab, and while it floats
    panel->Bar->SetTexts(Text(spec.Title), {});
    QDockWidget::DockWidgetFeatures features =
        QDockWidget::DockWidgetMovable | QDockWidget::DockWidgetFloatable;
    if (spec.CloseBox) features |= QDockWidget::DockWidgetClosable;
    panel->setFeatures(features);
    const bool sideways = spec.Dock == Platform::Dock::Left || spec.Dock == Platform::Dock::Right;
    panel->widget()->setMinimumWidth(sideways ? std::min(SizeOf(spec.Least).width(), 420) : 160);
    panel->widget()->setMinimumHeight(80);
    Desktop.Main->AddPanel(panel, spec.Dock);
    const QSize wanted = SizeOf(spec.Content);
    Desktop.Main->resizeDocks({panel}, {sideways ? wanted.width() : wanted.height()},
                              sideways ? Qt::Horizontal : Qt::Vertical);
    panel->setVisible(spec.Shown);
    Desktop.Main->UpdateHint();
}

void OpenBox(Canvas* canvas, const Platform::WindowSpec& spec) {
    Qt::WindowFlags flags =
        Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint;
    if (spec.Kind == WindowKind::Start) flags = Qt::SplashScreen | Qt::FramelessWindowHint;
    if (spec.CloseBox && spec.Kind != WindowKind::Start) flags |= Qt::WindowCloseButtonHint;
    QWidget* const parent = spec.Kind == WindowKind::Start ? nullptr : Desktop.Main.get();
    auto* const box = new Box(canvas, parent, flags);
    canvas->Shell = box;
    auto* const column = new QVBoxLayout(box);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(Scrolled(canvas));
    box->setWindowTitle(Text(spec.Title));
    if (spec.Kind == WindowKind::Modal) box->setWindowModality(Qt::ApplicationModal);
    const QSize wanted = SizeOf(spec.Content);
    if (spec.Sizable) {
        box->resize(wanted);
    } else {
        box->setFixedSize(wanted);
    }
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    QPoint at(static_cast<int>(spec.At.X), static_cast<int>(spec.At.Y));
    const bool centered = spec.At.X < 0 || spec.At.Y < 0 || !screen.contains(at);
    if (centered) {
        const QRect around = parent != nullptr && parent->isVisible() ? parent->frameGeometry() : screen;
        at = around.center() - QPoint(wanted.width() / 2, wanted.height() / 2);
    }
    box->move(at);
    box->setVisible(spec.Shown);
    if (spec.Shown && spec.Kind != WindowKind::Start) {
        box->activateWindow();
        canvas->setFocus();
    }
}

// The frame's window or that of a canvas.
QWidget* Shell(Platform::WindowId window) {
    if (window == Platform::FrameWindow) return Desktop.Main.get();
    const Canvas* const canvas = FindCanvas(window);
    return canvas != nullptr ? canvas->Shell : nullptr;
}

}

Platform::WindowId OpenWindow(const Platform::WindowSpec& spec) {
    const Platform::WindowId id = ++Desktop.LastNumber;
    auto* const canvas = new Canvas(id, nullptr);
    canvas->Spec = spec;
    canvas->setMinimumSize(SizeOf(spec.Least));
    Desktop.Canvases[id] = canvas;
    if (spec.Kind == WindowKind::Panel) {
        OpenPanel(canvas, spec);
    } else {
        OpenBox(canvas, spec);
    }
    if (spec.Shown) Desktop.App->processEvents(QEventLoop::ExcludeUserInputEvents); // it has its size now
    return id;
}

void CloseWindow(Platform::WindowId window) {
    Canvas* const canvas = FindCanvas(window);
    if (canvas == nullptr) return;
    canvas->Closing = true;
    Desktop.Canvases.erase(window);
    std::erase_if(Desktop.TextBoxes, [canvas](const auto& box) {
        return box.second.isNull() || canvas->isAncestorOf(box.second);
    });
    Desktop.Button = 0; // what was pressed in it will not come up
    QWidget* const shell = canvas->Shell;
    shell->hide();
    shell->deleteLater();
    if (Desktop.Front != window) return;
    Desktop.Front = 0;
    if (Desktop.Main->isVisible() && dynamic_cast<Box*>(shell) != nullptr) Desktop.Main->activateWindow();
}

void ShowWindow(Platform::WindowId window, bool shown) {
    QWidget* const shell = Shell(window);
    if (shell == nullptr) return;
    shell->setVisible(shown);
    Desktop.Main->UpdateHint();
    if (shown) Desktop.App->processEvents(QEventLoop::ExcludeUserInputEvents);
    if (shown && window == Platform::FrameWindow) Desktop.Main->ShowWaiting();
}

bool IsShown(Platform::WindowId window) {
    const QWidget* const shell = Shell(window);
    return shell != nullptr && !shell->isHidden();
}

void BringToFront(Platform::WindowId window) {
    QWidget* const shell = Shell(window);
    if (shell == nullptr) return;
    shell->show();
    shell->raise();
    shell->window()->activateWindow();
    if (Canvas* const canvas = FindCanvas(window)) canvas->setFocus();
    Desktop.Main->UpdateHint();
}

Platform::WindowId FrontWindow() {
    return Desktop.Front;
}

void SetTitle(Platform::WindowId window, std::string_view title, std::string_view aside) {
    if (window == Platform::FrameWindow) {
        Desktop.Main->setWindowTitle(Text(title));
        Desktop.Main->SetAside(Text(aside));
        return;
    }
    QWidget* const shell = Shell(window);
    if (shell == nullptr) return;
    shell->setWindowTitle(Text(title));
    if (auto* const panel = dynamic_cast<Panel*>(shell)) panel->Bar->SetTexts(Text(title), Text(aside));
}

void SetContent(Platform::WindowId window, Platform::Size least) {
    if (Canvas* const canvas = FindCanvas(window)) canvas->setMinimumSize(SizeOf(least));
}

Platform::Size ContentSize(Platform::WindowId window) {
    const Canvas* const canvas = FindCanvas(window);
    const QSize size = canvas != nullptr ? canvas->size() : Desktop.Main->size();
    return {static_cast<double>(size.width()), static_cast<double>(size.height())};
}

Platform::Area WindowPlace(Platform::WindowId window) {
    const QWidget* const shell = Shell(window);
    if (shell == nullptr) return {};
    const QPoint at = shell->mapToGlobal(QPoint(0, 0));
    return {static_cast<double>(at.x()), static_cast<double>(at.y()), static_cast<double>(shell->width()),
            static_cast<double>(shell->height())};
}

void PlaceWindow(Platform::WindowId window, Platform::Area place) {
    QWidget* const shell = Shell(window);
    if (shell == nullptr) return;
    const auto* const dock = dynamic_cast<Panel*>(shell);
    if (dock != nullptr && !dock->isFloating()) return; // the frame decides
    if (shell->isMaximized()) shell->showNormal();
    shell->setGeometry(QRectF(place.Left, place.Top, place.Width, place.Height).toRect());
}

Platform::Point WindowOrigin(Platform::WindowId window) {
    const Canvas* const canvas = FindCanvas(window);
    if (canvas == nullptr) return {};
    const QPoint at = Desktop.Main->mapFromGlobal(canvas->mapToGlobal(QPoint(0, 0)));
    return {static_cast<double>(at.x()), static_cast<double>(at.y())};
}

void Iconize(Platform::WindowId window, bool iconized) {
    QWidget* const shell = Shell(window);
    if (shell == nullptr) return;
    if (iconized) {
        shell->showMinimized();
    } else {
        shell->showNormal();
    }
}

}
