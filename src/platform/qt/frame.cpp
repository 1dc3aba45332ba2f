#include "platform/qt/frame.h"

#include "platform/qt/theme.h"

#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QHBoxLayout>
#include <QMenuBar>
#include <QMimeData>
#include <QPainter>
#include <QScreen>
#include <QStatusBar>
#include <QStyle>
#include <QUrl>

namespace QtDesktop {

namespace {

constexpr int TitleHeight = 30, StatusHeight = 26, MenuHeight = 28;
constexpr int FloatBorder = 4; // as the style sheet has it
constexpr int ArrangementVersion = 1;

// A small button of a title bar, with a sign of a few lines.
class QuietButton final : public QToolButton {
public:
    enum class Sign : std::uint8_t { Float, Close };

    QuietButton(Sign sign, const QString& tip, QWidget* parent) : QToolButton(parent), Shown(sign) {
        setToolTip(tip);
        setAccessibleName(tip);
        setFixedSize(24, 24);
        setFocusPolicy(Qt::NoFocus);
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        if (underMouse() || isDown()) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(Ink(isDown() ? Desktop.Theme.Line : Desktop.Theme.Soft));
            painter.drawRoundedRect(rect(), 4, 4);
        }
        painter.setPen(QPen(Ink(underMouse() ? Desktop.Theme.Text : Desktop.Theme.Secondary), 1.3));
        painter.setBrush(Qt::NoBrush);
        if (Shown == Sign::Close) {
            painter.drawLine(QPointF(8, 8), QPointF(16, 16));
            painter.drawLine(QPointF(16, 8), QPointF(8, 16));
        } else {
            painter.drawRect(QRectF(7.5, 10.5, 6, 6));
            painter.drawPolyline(QPolygonF({{10.5, 8}, {10.5, 7.5}, {16.5, 7.5}, {16.5, 13.5}, {16, 13.5}}));
        }
    }

private:
    const Sign Shown;
};

Qt::DockWidgetArea AreaOf(Platform::Dock dock) {
    switch (dock) {
    case Platform::Dock::Left: return Qt::LeftDockWidgetArea;
    case Platform::Dock::Right: return Qt::RightDockWidgetArea;
    case Platform::Dock::Bottom: return Qt::BottomDockWidgetArea;
    default: return Qt::TopDockWidgetArea;
    }
}

}

Caption::Caption(QWidget* parent, const char* name) : QLabel(parent) {
    setTextFormat(Qt::PlainText);
    setObjectName(QLatin1String(name));
}

void Caption::paintEvent(QPaintEvent*) {
    const QRect room = contentsRect();
    const bool cut = fontMetrics().horizontalAdvance(text()) > room.width();
    if (cut != !toolTip().isEmpty()) setToolTip(cut ? text() : QString());
    QPainter painter(this);
    painter.setPen(palette().color(foregroundRole()));
    painter.drawText(room, static_cast<int>(alignment()) | Qt::TextSingleLine,
                     cut ? fontMetrics().elidedText(text(), Qt::ElideRight, room.width()) : text());
}

namespace {

// A panel is as high as the frame; floating it needs no more than its content.
void FloatOrDock(QDockWidget& dock) {
    dock.setFloating(!dock.isFloating());
    const auto* const panel = dynamic_cast<Panel*>(&dock);
    if (!dock.isFloating() || panel == nullptr) return;
    const Platform::Size content = panel->Content->Spec.Content;
    const QSize wanted(static_cast<int>(content.Width) + 2 * FloatBorder,
                       static_cast<int>(content.Height) + TitleHeight + 2 * FloatBorder);
    const QRect room = dock.screen()->availableGeometry();
    dock.resize(wanted.boundedTo(room.size()));
    dock.move(std::clamp(dock.x(), room.left(), room.right() + 1 - dock.width()),
              std::clamp(dock.y(), room.top(), room.bottom() + 1 - dock.height()));
}

}

TitleBar::TitleBar(QDockWidget* dock) : QWidget(dock) {
    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(10, 0, 4, 1);
    row->setSpacing(2);
    Title = new Caption(this, "title");
    Aside = new Caption(this, "aside");
    Aside->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    Aside->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    Float = new QuietButton(QuietButton::Sign::Float, QStringLiteral("Float or dock this panel"), this);
    Close = new QuietButton(QuietButton::Sign::Close,
                            QStringLiteral("Close this panel; the Windows menu opens it again"), this);
    row->addWidget(Title);
    row->addWidget(Aside, 1);
    row->addSpacing(4);
    row->addWidget(Float);
    row->addWidget(Close);
    setFixedHeight(TitleHeight);
    connect(Float, &QToolButton::clicked, dock, [dock] { FloatOrDock(*dock); });
    connect(Close, &QToolButton::clicked, dock, [dock] { dock->close(); });
}

QSize TitleBar::sizeHint() const {
    return {120, TitleHeight};
}

void TitleBar::SetTexts(const QString& title, const QString& aside) {
    Title->setText(title);
    Aside->setText(aside);
}

void TitleBar::SetFront(bool front) {
    if (Front == front) return;
    Front = front;
    update();
}

void TitleBar::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Ink(Desktop.Theme.Panel));
    painter.fillRect(0, height() - 1, width(), 1, Ink(Front ? Desktop.Theme.Accent : Desktop.Theme.Line));
}

Panel::Panel(Canvas* canvas, QWidget* content, QWidget* parent)
    : QDockWidget(parent), Content(canvas), Bar(new TitleBar(this)) {
    setTitleBarWidget(Bar);
    setWidget(content);
}

void Panel::closeEvent(QCloseEvent* event) {
    if (Content->Closing) return;
    event->ignore();
    Post(Platform::WindowEvent, Content->Id, Platform::CloseRequested);
}

void Panel::moveEvent(QMoveEvent* event) {
    QDockWidget::moveEvent(event);
    NoteMoved(Content->Id);
}

// A floating panel has no frame of the window system around it.
void Panel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Ink(Desktop.Theme.Panel));
    if (!isFloating()) return;
    painter.setPen(Ink(Desktop.Theme.Secondary));
    painter.drawRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5));
}

Box::Box(Canvas* canvas, QWidget* parent, Qt::WindowFlags flags) : QWidget(parent, flags), Content(canvas) {}

void Box::closeEvent(QCloseEvent* event) {
    if (Content->Closing) return;
    event->ignore();
    Post(Platform::WindowEvent, Content->Id, Platform::CloseRequested);
}

void Box::moveEvent(QMoveEvent* event) {
    QWidget::moveEvent(event);
    NoteMoved(Content->Id);
}

void Box::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::WindowStateChange)
        Post(Platform::WindowEvent, Content->Id, Platform::Iconized, isMinimized() ? 1 : 0);
}

Frame::Frame() {
    setObjectName(QStringLiteral("frame"));
    setDockNestingEnabled(true);
    setTabPosition(Qt::AllDockWidgetAreas, QTabWidget::North);
    setCorner(Qt::TopLeftCorner, Qt::LeftDockWidgetArea);
    setCorner(Qt::BottomLeftCorner, Qt::LeftDockWidgetArea);
    setCorner(Qt::TopRightCorner, Qt::RightDockWidgetArea);
    setCorner(Qt::BottomRightCorner, Qt::RightDockWidgetArea);
    setAcceptDrops(true);
    Hint = new QLabel(this);
    Hint->setTextFormat(Qt::PlainText);
    Hint->setObjectName(QStringLiteral("hint"));
    Hint->setMinimumSize(1, 1);
    Hint->setAlignment(Qt::AlignCenter);
    setCentralWidget(Hint);
    AsideLabel = new Caption(menuBar(), "frameaside");
    AsideLabel->setContentsMargins(0, 0, 12, 0);
    AsideLabel->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    AsideLabel->setMinimumHeight(MenuHeight);
    menuBar()->setCornerWidget(AsideLabel, Qt::TopRightCorner);
    menuBar()->setNativeMenuBar(false);
    MakeStatusBar();
    PlaceAtFirst();
}

// Where the user has not placed it yet: in the middle of a large screen, all over a small one.
void Frame::PlaceAtFirst() {
    constexpr QSize Wanted(1440, 876);
    constexpr QSize Around(24, 64); // more than the decorations of a window take
    const QScreen* const screen = QGuiApplication::primaryScreen();
    const QRect room = screen != nullptr ? screen->availableGeometry() : QRect(QPoint(0, 0), Wanted + Around);
    const QSize most = room.size() - Around;
    const QSize size = Wanted.boundedTo(most);
    setGeometry(QRect(room.topLeft() + QPoint((room.width() - size.width()) / 2,
                                              (room.height() - size.height()) / 2 + Around.height() / 4),
                      size));
    if (size != Wanted) setWindowState(Qt::WindowMaximized);
}

void Frame::MakeStatusBar() {
    auto* const bar = new QWidget(this);
    auto* const row = new QHBoxLayout(bar);
    row->setContentsMargins(12, 0, 12, 0);
    row->setSpacing(18);
    StatusWord = new Caption(bar, "statusword");
    StatusLeft = new Caption(bar, "status");
    StatusRight = new Caption(bar, "status");
    StatusProgress = new QProgressBar(bar);
    StatusProgress->setTextVisible(false);
    StatusProgress->setRange(0, 1000);
    StatusProgress->setFixedSize(180, 5);
    StatusBreak = new QToolButton(bar);
    StatusBreak->setText(QStringLiteral("Break"));
    StatusBreak->setToolTip(QStringLiteral("Stop what is running: Escape"));
    StatusBreak->setObjectName(QStringLiteral("break"));
    StatusBreak->setFixedHeight(24);
    row->addWidget(StatusWord);
    row->addWidget(StatusLeft, 1);
    row->addWidget(StatusProgress);
    row->addWidget(StatusBreak);
    row->addWidget(StatusRight);
    StatusLeft->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    StatusProgress->hide();
    StatusBreak->hide();
    connect(StatusBreak, &QToolButton::clicked, this, [] {
        if (Desktop.Hooks->BreakPressed) Desktop.Hooks->BreakPressed();
    });
    statusBar()->setSizeGripEnabled(false);
    statusBar()->setFixedHeight(StatusHeight);
    statusBar()->addWidget(bar, 1);
    statusBar()->layout()->setContentsMargins(0, 0, 0, 0);
}

void Frame::SetStatus(const Platform::StatusBar& bar) {
    StatusWord->setText(Text(bar.Word));
    StatusLeft->setText(Text(bar.Left));
    StatusRight->setText(Text(bar.Right));
    if (bar.Busy != StatusBusy) {
        StatusBusy = bar.Busy;
        QPalette palette = StatusWord->palette();
        palette.setColor(QPalette::WindowText, Ink(bar.Busy ? Desktop.Theme.Warning : Desktop.Theme.Good));
        StatusWord->setPalette(palette);
    }
    StatusProgress->setVisible(bar.Progress >= 0);
    StatusBreak->setVisible(bar.Progress >= 0);
    if (bar.Progress >= 0) StatusProgress->setValue(static_cast<int>(bar.Progress * 1000));
}

void Frame::SetAside(const QString& aside) {
    AsideLabel->setText(aside);
    menuBar()->adjustSize();
    // The corner keeps the width it had when the bar was laid out last.
    menuBar()->setCornerWidget(AsideLabel, Qt::TopRightCorner);
    AsideLabel->show();
}

void Frame::AddPanel(Panel* panel, Platform::Dock dock) {
    if (dock == Platform::Dock::Float) {
        addDockWidget(Qt::RightDockWidgetArea, panel);
        panel->setFloating(true);
        return;
    }
    QList<Panel*>& placed = Placed[dock];
    addDockWidget(AreaOf(dock), panel, dock == Platform::Dock::Bottom ? Qt::Horizontal : Qt::Vertical);
    // Several tools of the right share its place; those of the other sides stand below each other.
    if (dock == Platform::Dock::Right || dock == Platform::Dock::Center)
        if (!placed.isEmpty()) tabifyDockWidget(placed.last(), panel);
    placed.append(panel);
}

void Frame::UpdateHint() {
    bool filled = false;
    for (const Panel* const panel : Placed[Platform::Dock::Center])
        filled = filled || (!panel->isHidden() && !panel->isFloating());
    Hint->setVisible(!filled);
}

void Frame::MarkFront() {
    for (const auto& [id, canvas] : Desktop.Canvases)
        if (auto* const panel = dynamic_cast<Panel*>(canvas->Shell))
            panel->Bar->SetFront(id == Desktop.Front);
}

std::string Frame::Arrangement() const {
    return std::to_string(ArrangementVersion) + " " + saveGeometry().toBase64().toStdString() + " " +
           saveState(ArrangementVersion).toBase64().toStdString();
}

bool Frame::Arrange(const std::string& arrangement) {
    const QStringList parts = QString::fromStdString(arrangement).split(QLatin1Char(' '));
    if (parts.size() != 3 || parts[0].toInt() != ArrangementVersion) return false;
    if (!restoreGeometry(QByteArray::fromBase64(parts[1].toLatin1()))) return false;
    const bool done = restoreState(QByteArray::fromBase64(parts[2].toLatin1()), ArrangementVersion);
    if (!isVisible())
        for (const auto& [id, canvas] : Desktop.Canvases) {
            auto* const panel = dynamic_cast<Panel*>(canvas->Shell);
            if (panel == nullptr || !panel->isFloating() || panel->isHidden()) continue;
            panel->hide();
            Waiting.append(panel);
        }
    UpdateHint();
    return done;
}

void Frame::ShowWaiting() {
    for (const QPointer<Panel>& panel : Waiting)
        if (panel) panel->show();
    Waiting.clear();
}

void Frame::ApplyTheme() {
    StatusBusy = !StatusBusy; // colours its word anew
    for (const auto& [id, canvas] : Desktop.Canvases) canvas->update();
    QPalette palette = StatusWord->palette();
    palette.setColor(QPalette::WindowText, Ink(Desktop.Theme.Good));
    StatusWord->setPalette(palette);
    StatusBusy = false;
}

void Frame::closeEvent(QCloseEvent* event) {
    event->ignore();
    Post(Platform::WindowEvent, Platform::FrameWindow, Platform::CloseRequested);
}

void Frame::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::WindowStateChange)
        Post(Platform::WindowEvent, Platform::FrameWindow, Platform::Iconized, isMinimized() ? 1 : 0);
    if (event->type() == QEvent::ActivationChange && isActiveWindow() && ThemeOfDesktopChanged())
        Post(Platform::WindowEvent, Platform::FrameWindow, Platform::SystemEvent, Platform::SystemTheme);
}

void Frame::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasUrls()) event->acceptProposedAction();
}

void Frame::dropEvent(QDropEvent* event) {
    for (const QUrl& url : event->mimeData()->urls()) {
        if (!url.isLocalFile()) continue;
        Desktop.Dropped = url.toLocalFile();
        Post(Platform::WindowEvent, Platform::FrameWindow, Platform::SystemEvent,
             Platform::SystemFileDropped);
        event->acceptProposedAction();
        return;
    }
}

}
