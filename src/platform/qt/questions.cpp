#include "platform/qt/questions.h"

#include "platform/qt/frame.h"

#include <QColorDialog>
#include <QFileDialog>
#include <QInputDialog>
#include <QMessageBox>
#include <QPushButton>

namespace QtDesktop {

namespace {

// The window that a question belongs to: above it, it stands.
QWidget* Parent() {
    if (QWidget* const modal = QApplication::activeModalWidget()) return modal;
    if (QWidget* const active = QApplication::activeWindow()) return active;
    return Desktop.Main->isVisible() ? Desktop.Main.get() : nullptr;
}

// A question takes the pointer: the button that opened it is no longer ours.
struct PointerGuard {
    ~PointerGuard() { Desktop.Button = 0; }
};

QMessageBox::Icon IconOf(Platform::AlertKind kind) {
    return kind == Platform::AlertKind::Note       ? QMessageBox::Information
           : kind == Platform::AlertKind::Question ? QMessageBox::Question
                                                   : QMessageBox::Warning;
}

}

int Alert(const Platform::AlertSpec& spec) {
    const PointerGuard guard;
    QMessageBox box(Parent());
    box.setIcon(IconOf(spec.Kind));
    box.setWindowTitle(QApplication::applicationName());
    box.setTextFormat(Qt::PlainText);
    box.setText(Text(spec.Text));
    box.setTextInteractionFlags(Qt::TextSelectableByMouse);
    std::vector<QPushButton*> buttons;
    for (std::size_t i = 0; i < spec.Buttons.size(); ++i) {
        // The roles decide nothing but the order: the buttons stand as they are named.
        QPushButton* const button = box.addButton(Text(spec.Buttons[i]), QMessageBox::ActionRole);
        buttons.push_back(button);
        if (static_cast<int>(i) == spec.Default) box.setDefaultButton(button);
        if (static_cast<int>(i) == spec.Escape) box.setEscapeButton(button);
    }
    box.exec();
    for (std::size_t i = 0; i < buttons.size(); ++i)
        if (box.clickedButton() == buttons[i]) return static_cast<int>(i);
    return spec.Escape;
}

bool Prompt(const std::string& question, std::string& text) {
    const PointerGuard guard;
    bool taken = false;
    const QString answer = QInputDialog::getText(Parent(), QApplication::applicationName(), Text(question),
                                                 QLineEdit::Normal, Text(text), &taken);
    if (taken) text = Utf8(answer);
    return taken;
}

bool FileDialog(const Platform::FileDialogSpec& spec, std::string& path) {
    const PointerGuard guard;
    const QString start = Text(spec.Start);
    QString filter;
    if (!spec.Pattern.empty()) {
        filter = QStringLiteral("%1 (%2)").arg(spec.Kind.empty() ? QStringLiteral("Files") : Text(spec.Kind),
                                               Text(spec.Pattern));
        if (spec.Pattern != "*") filter += QStringLiteral(";;All files (*)");
    }
    QString chosen;
    switch (spec.Use) {
    case Platform::FileUse::Open:
        chosen = QFileDialog::getOpenFileName(Parent(), Text(spec.Title), start, filter);
        break;
    case Platform::FileUse::Save:
        chosen = QFileDialog::getSaveFileName(Parent(), Text(spec.Title), start, filter);
        break;
    case Platform::FileUse::Folder:
        chosen = QFileDialog::getExistingDirectory(Parent(), Text(spec.Title), start);
        break;
    }
    if (chosen.isEmpty()) return false;
    path = Utf8(chosen);
    return true;
}

bool ColorDialog(Platform::Color& color) {
    const PointerGuard guard;
    const QColor chosen = QColorDialog::getColor(Ink(color), Parent());
    if (!chosen.isValid()) return false;
    const auto byte = [](int part) { return static_cast<std::uint8_t>(part); };
    color = {byte(chosen.red()), byte(chosen.green()), byte(chosen.blue()), 255};
    return true;
}

}
