#include "platform/qt/theme.h"

#include "platform/qt/frame.h"
#include "platform/qt/paint.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QPalette>
#include <QStyle>
#include <QToolTip>

namespace QtDesktop {

namespace {

constexpr int PortalTimeout = 150; // ms

struct DesktopTheme {
    bool Known = false, Dark = false;
    bool PaletteIsDark = false; // before ours was set
};
DesktopTheme Found;

// The setting that desktops share (XDG desktop portal, org.freedesktop.appearance): 1 dark, 2 light.
int PortalScheme() {
    if (qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS")) return 0;
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.portal.Desktop"), QStringLiteral("/org/freedesktop/portal/desktop"),
        QStringLiteral("org.freedesktop.portal.Settings"), QStringLiteral("Read"));
    call << QStringLiteral("org.freedesktop.appearance") << QStringLiteral("color-scheme");
    const QDBusMessage answer = QDBusConnection::sessionBus().call(call, QDBus::Block, PortalTimeout);
    if (answer.type() != QDBusMessage::ReplyMessage || answer.arguments().isEmpty()) return 0;
    QVariant value = answer.arguments().constFirst();
    for (int depth = 0; depth < 3 && value.canConvert<QDBusVariant>(); ++depth)
        value = value.value<QDBusVariant>().variant();
    return value.toInt();
}

bool AskDesktop() {
    const int scheme = PortalScheme();
    return scheme == 1 || (scheme != 2 && Found.PaletteIsDark);
}

QPalette PaletteOf(const Platform::Theme& theme) {
    QPalette palette;
    const auto set = [&palette](QPalette::ColorRole role, Platform::Color color) {
        palette.setColor(role, Ink(color));
    };
    set(QPalette::Window, theme.Panel);
    set(QPalette::WindowText, theme.Text);
    set(QPalette::Base, theme.Panel);
    set(QPalette::AlternateBase, theme.Soft);
    set(QPalette::Text, theme.Text);
    set(QPalette::PlaceholderText, theme.Secondary);
    set(QPalette::Button, theme.Soft);
    set(QPalette::ButtonText, theme.Text);
    set(QPalette::ToolTipBase, theme.Soft);
    set(QPalette::ToolTipText, theme.Text);
    set(QPalette::Highlight, theme.Accent);
    set(QPalette::HighlightedText, theme.OnAccent);
    set(QPalette::Link, theme.Accent);
    set(QPalette::Light, theme.Panel);
    set(QPalette::Midlight, theme.Soft);
    set(QPalette::Mid, theme.Line);
    set(QPalette::Dark, theme.Line);
    set(QPalette::Shadow, theme.Line);
    QColor faint = Ink(theme.Text);
    faint.setAlphaF(0.45F);
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, faint);
    return palette;
}

QString Name(Platform::Color color) {
    return Ink(color).name();
}

QString SheetOf(const Platform::Theme& t) {
    QString sheet = QStringLiteral(
        "QMainWindow { background: %window; }"
        "QMainWindow::separator { width: 5px; height: 5px; }"
        "QMainWindow::separator:vertical { background: qlineargradient(x1:0, y1:0, x2:1, y2:0,"
        "  stop:0 %panel, stop:0.39 %panel, stop:0.4 %line, stop:0.6 %line, stop:0.61 %panel, stop:1 "
        "%panel); }"
        "QMainWindow::separator:horizontal { background: qlineargradient(x1:0, y1:0, x2:0, y2:1,"
        "  stop:0 %panel, stop:0.39 %panel, stop:0.4 %line, stop:0.6 %line, stop:0.61 %panel, stop:1 "
        "%panel); }"
        "QMainWindow::separator:hover { background: %accent; }"
        "QDockWidget { border: 4px solid %panel; }" // of a floating one: where it is resized
        "QLabel#title { font-weight: bold; }"
        "QLabel#aside, QLabel#status, QLabel#frameaside { color: %second; font-size: 12px; }"
        "QLabel#statusword { font-weight: bold; font-size: 12px; }"
        "QLabel#hint { color: %second; background: %window; font-size: 15px; }"
        "QMenuBar { background: %panel; border-bottom: 1px solid %line; padding: 2px 4px; }"
        "QMenuBar::item { padding: 4px 8px; border-radius: 5px; background: transparent; }"
        "QMenuBar::item:selected { background: %soft; }"
        "QMenu { background: %panel; border: 1px solid %line; padding: 4px; }"
        "QMenu::item { padding: 5px 28px 5px 12px; border-radius: 4px; }"
        "QMenu::item:selected { background: %accent; color: %onaccent; }"
        "QMenu::item:disabled { color: %faint; background: transparent; }"
        "QMenu::separator { height: 1px; background: %line; margin: 4px 8px; }"
        "QMenu::indicator { width: 13px; height: 13px; left: 7px; }"
        "QStatusBar { background: %panel; border-top: 1px solid %line; }"
        "QStatusBar::item { border: none; }"
        "QPushButton, QToolButton { background: %soft; border: 1px solid %line; border-radius: 5px;"
        "  color: %text; }"
        "QPushButton, QToolButton#break { padding: 3px 14px; }"
        "QToolButton { padding: 3px; }"
        "QDialogButtonBox { dialogbuttonbox-buttons-have-icons: 0; }"
        "QPushButton { min-height: 20px; min-width: 60px; }"
        "QPushButton:default { background: %accent; color: %onaccent; border-color: %accent; }"
        "QPushButton:focus { border: 2px solid %accent; }"
        "QPushButton:pressed, QToolButton:pressed { background: %line; }"
        "QPushButton:disabled { color: %faint; background: %soft; border-color: %line; }"
        "QProgressBar { background: %soft; border: none; border-radius: 2px; }"
        "QProgressBar::chunk { background: %accent; border-radius: 2px; }"
        "QLineEdit#entry, QPlainTextEdit#entry { border: none; selection-background-color: %accent;"
        "  selection-color: %onaccent; }"
        "QToolTip { background: %soft; color: %text; border: 1px solid %line; padding: 4px 6px; }"
        "QScrollBar:vertical { background: transparent; width: 11px; margin: 0; }"
        "QScrollBar:horizontal { background: transparent; height: 11px; margin: 0; }"
        "QScrollBar::handle { background: %line; border-radius: 4px; min-height: 24px; min-width: 24px;"
        "  margin: 2px; }"
        "QScrollBar::handle:hover { background: %second; }"
        "QAbstractScrollArea::corner { background: transparent; border: none; }"
        "QScrollBar::add-line, QScrollBar::sub-line { width: 0; height: 0; }"
        "QScrollBar::add-page, QScrollBar::sub-page { background: transparent; }"
        "QTabBar::tab { background: %window; color: %second; padding: 6px 12px; border: none;"
        "  border-bottom: 2px solid transparent; }"
        "QTabBar::tab:selected { background: %panel; color: %text; border-bottom: 2px solid %accent; }");
    // The longer name first: one begins with the other.
    const std::pair<const char*, Platform::Color> names[] = {
        {"%window", t.Window}, {"%panel", t.Panel},      {"%soft", t.Soft},     {"%line", t.Line},
        {"%text", t.Text},     {"%second", t.Secondary}, {"%accent", t.Accent}, {"%onaccent", t.OnAccent}};
    for (const auto& [name, color] : names) sheet.replace(QLatin1String(name), Name(color));
    QColor faint = Ink(t.Text);
    faint.setAlphaF(0.45F);
    return sheet.replace(QLatin1String("%faint"), faint.name(QColor::HexArgb));
}

}

void SetTheme(const Platform::Theme& theme) {
    Desktop.Theme = theme;
    const QPalette palette = PaletteOf(theme);
    QApplication::setPalette(palette);
    QToolTip::setPalette(palette);
    Desktop.App->setStyleSheet(SheetOf(theme));
    Desktop.Main->ApplyTheme();
}

bool DesktopIsDark() {
    if (!Found.Known) {
        Found.PaletteIsDark = QApplication::palette().color(QPalette::Window).lightness() < 128;
        Found.Dark = AskDesktop();
        Found.Known = true;
    }
    return Found.Dark;
}

bool ThemeOfDesktopChanged() {
    if (!Found.Known) return false;
    const bool dark = AskDesktop();
    const bool changed = dark != Found.Dark;
    Found.Dark = dark;
    return changed;
}

}
