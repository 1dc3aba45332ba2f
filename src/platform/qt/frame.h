// The main frame: menus on top, panels that can be moved, floated and closed, the status line below.
#pragma once
#include "platform/qt/canvas.h"

#include <QDockWidget>
#include <QLabel>
#include <QMainWindow>
#include <QProgressBar>
#include <QScrollArea>
#include <QToolButton>

namespace QtDesktop {

// A line of text that is cut with an ellipsis where it has no room, and then shown whole as a tip.
class Caption final : public QLabel {
public:
    Caption(QWidget* parent, const char* name);
    [[nodiscard]] QSize minimumSizeHint() const override { return {0, QLabel::minimumSizeHint().height()}; }

protected:
    void paintEvent(QPaintEvent* event) override;
};

// The bar on top of a panel.
class TitleBar final : public QWidget {
public:
    explicit TitleBar(QDockWidget* dock);
    void SetTexts(const QString& title, const QString& aside);
    void SetFront(bool front);
    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Caption *Title, *Aside;
    QToolButton *Float, *Close;
    bool Front = false;
};

class Panel final : public QDockWidget {
public:
    Panel(Canvas* canvas, QWidget* content, QWidget* parent);
    Canvas* const Content;
    TitleBar* const Bar;

protected:
    void closeEvent(QCloseEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
};

// A window outside of the frame: a dialog, or the start window.
class Box final : public QWidget {
public:
    Box(Canvas* canvas, QWidget* parent, Qt::WindowFlags flags);
    Canvas* const Content;

protected:
    void closeEvent(QCloseEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void changeEvent(QEvent* event) override;
};

class Frame final : public QMainWindow {
public:
    Frame();

    void AddPanel(Panel* panel, Platform::Dock dock);
    void MarkFront();
    void SetStatus(const Platform::StatusBar& bar);
    void SetAside(const QString& aside);
    void SetHint(const QString& hint) { Hint->setText(hint); }
    void UpdateHint(); // the middle tells what to do as long as no panel fills it
    [[nodiscard]] std::string Arrangement() const;
    [[nodiscard]] bool Arrange(const std::string& arrangement);
    // Floating panels of an arrangement come up with the frame, not before it.
    void ShowWaiting();
    void ApplyTheme();

protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void PlaceAtFirst();
    void MakeStatusBar();
    QLabel* Hint;
    Caption *AsideLabel, *StatusWord, *StatusLeft, *StatusRight;
    QProgressBar* StatusProgress;
    QToolButton* StatusBreak;
    std::map<Platform::Dock, QList<Panel*>> Placed;
    QList<QPointer<Panel>> Waiting;
    bool StatusBusy = false;
};

// The operations on windows.
Platform::WindowId OpenWindow(const Platform::WindowSpec& spec);
void CloseWindow(Platform::WindowId window);
void ShowWindow(Platform::WindowId window, bool shown);
bool IsShown(Platform::WindowId window);
void BringToFront(Platform::WindowId window);
Platform::WindowId FrontWindow();
void SetTitle(Platform::WindowId window, std::string_view title, std::string_view aside);
void SetContent(Platform::WindowId window, Platform::Size least);
Platform::Size ContentSize(Platform::WindowId window);
Platform::Area WindowPlace(Platform::WindowId window);
void PlaceWindow(Platform::WindowId window, Platform::Area place);
Platform::Point WindowOrigin(Platform::WindowId window);
void Iconize(Platform::WindowId window, bool iconized);

}
