#include "platform/qt/menus.h"

#include "platform/qt/frame.h"

#include <QActionGroup>
#include <QMenu>
#include <QMenuBar>
#include <QScreen>

namespace QtDesktop {

namespace {

struct MenuState {
    std::vector<QMenu*> Menus;
    std::vector<std::vector<QAction*>> Entries;
};
MenuState State;

QString EntryText(const std::string& text) {
    return Text(text).replace(QLatin1Char('&'), QStringLiteral("&&"));
}

void Dress(QAction& action, const Platform::MenuEntry& entry) {
    action.setText(EntryText(entry.Text));
    action.setEnabled(entry.Enabled);
    action.setShortcutContext(Qt::ApplicationShortcut); // also from floating panels and dialogs
    if (entry.Checked) action.setCheckable(true);
    action.setChecked(entry.Checked);
    action.setShortcut(
        entry.Shortcut != 0
            ? QKeySequence(Qt::CTRL | static_cast<Qt::Key>(static_cast<unsigned char>(entry.Shortcut)))
            : QKeySequence());
}

// Under the place, or over it where the screen ends.
QPoint PopupPlace(const Canvas& canvas, Platform::Area place, QSize size) {
    const QPoint under =
        canvas.mapToGlobal(QPoint(static_cast<int>(place.Left), static_cast<int>(place.Bottom()) + 2));
    const QScreen* const screen = canvas.screen();
    if (screen == nullptr || under.y() + size.height() <= screen->availableGeometry().bottom()) return under;
    const int over = canvas.mapToGlobal(QPoint(0, static_cast<int>(place.Top))).y() - 2 - size.height();
    return over >= screen->availableGeometry().top() ? QPoint(under.x(), over) : under;
}

void FillMenu(std::size_t number, const Platform::Menu& menu) {
    QMenu* const widget = State.Menus[number];
    for (std::size_t i = 0; i < menu.Entries.size(); ++i) {
        const Platform::MenuEntry& entry = menu.Entries[i];
        QAction* action = nullptr;
        if (entry.Text == "-") {
            action = widget->addSeparator();
        } else if (entry.SubMenu > 0 && static_cast<std::size_t>(entry.SubMenu) <= State.Menus.size()) {
            QMenu* const sub = State.Menus[static_cast<std::size_t>(entry.SubMenu) - 1];
            action = widget->addMenu(sub);
            action->setText(EntryText(entry.Text));
        } else {
            action = widget->addAction(QString());
            Dress(*action, entry);
            QObject::connect(action, &QAction::triggered, widget, [number, i, action] {
                // Whether it is checked is the logic's to say.
                if (action->isCheckable()) action->setChecked(!action->isChecked());
                Post(Platform::WindowEvent, Platform::FrameWindow, Platform::MenuChosen,
                     static_cast<std::uint32_t>(number + 1), static_cast<std::uint32_t>(i + 1));
            });
        }
        State.Entries[number].push_back(action);
    }
}

}

void SetMenus(std::span<const Platform::Menu> menus) {
    QMenuBar* const bar = Desktop.Main->menuBar();
    bar->clear();
    for (QMenu* const menu : State.Menus) menu->deleteLater();
    State = {};
    for (const Platform::Menu& menu : menus) {
        auto* const widget = new QMenu(EntryText(menu.Title), Desktop.Main.get());
        State.Menus.push_back(widget);
        State.Entries.emplace_back();
        if (!menu.InBar) continue;
        QAction* const title = bar->addMenu(widget);
        if (State.Menus.size() == 1) { // the program's own stands out
            QFont font = bar->font();
            font.setBold(true);
            title->setFont(font);
        }
    }
    for (std::size_t number = 0; number < menus.size(); ++number) FillMenu(number, menus[number]);
}

void SetMenuEntry(int menu, int entry, const Platform::MenuEntry& state) {
    if (menu < 1 || static_cast<std::size_t>(menu) > State.Entries.size()) return;
    const std::vector<QAction*>& entries = State.Entries[static_cast<std::size_t>(menu) - 1];
    if (entry < 1 || static_cast<std::size_t>(entry) > entries.size() || state.Text == "-") return;
    Dress(*entries[static_cast<std::size_t>(entry) - 1], state);
}

int PopupMenu(Platform::WindowId window, Platform::Area place, std::span<const Platform::MenuEntry> entries,
              int current) {
    Canvas* const canvas = FindCanvas(window);
    if (canvas == nullptr || Desktop.Ending) return 0;
    QMenu menu(canvas);
    QAction* marked = nullptr;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (entries[i].Text == "-") {
            menu.addSeparator();
            continue;
        }
        QAction* const action = menu.addAction(EntryText(entries[i].Text));
        action->setData(static_cast<int>(i + 1));
        action->setEnabled(entries[i].Enabled);
        action->setCheckable(true);
        action->setChecked(static_cast<int>(i + 1) == current || entries[i].Checked);
        if (static_cast<int>(i + 1) == current) marked = action;
    }
    menu.setMinimumWidth(static_cast<int>(place.Width));
    if (marked != nullptr) menu.setActiveAction(marked);
    const QAction* const chosen = menu.exec(PopupPlace(*canvas, place, menu.sizeHint()));
    // The click that closed the menu came up in it, not here.
    Desktop.Button = 0;
    return chosen != nullptr ? chosen->data().toInt() : 0;
}

}
