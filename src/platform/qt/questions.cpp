#include "platform/qt/questions.h"

#include "platform/qt/frame.h"
#include "platform/qt/paint.h"

#include <QColorDialog>
#include <QFileDialog>
#include <QFileInfo>
#include <QHeaderView>
#include <QInputDialog>
#include <QMessageBox>
#include <QPainter>
#include <QPushButton>
#include <QTreeView>

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

// "i", "?" or "!" in a disc: crisp at any scale, and of the theme's colours.
QPixmap SignOf(Platform::AlertKind kind, double scale) {
    constexpr int Side = 36;
    QPixmap sign(QSize(Side, Side) * scale);
    sign.setDevicePixelRatio(scale);
    sign.fill(Qt::transparent);
    QPainter painter(&sign);
    painter.setRenderHint(QPainter::Antialiasing);
    const bool warns = kind == Platform::AlertKind::Warning;
    const QColor color = Ink(warns ? Desktop.Theme.Warning : Desktop.Theme.Accent);
    painter.setPen(QPen(color, 2));
    painter.drawEllipse(QRectF(1, 1, Side - 2, Side - 2));
    painter.setFont(FontOf({.Size = 21, .Bold = true}));
    const char* const letter = warns ? "!" : kind == Platform::AlertKind::Question ? "?" : "i";
    painter.drawText(QRectF(0, 0, Side, Side), Qt::AlignCenter, QLatin1String(letter));
    return sign;
}

}

int Alert(const Platform::AlertSpec& spec) {
    if (Desktop.Ending) return spec.Escape;
    const PointerGuard guard;
    QMessageBox box(Parent());
    box.setIconPixmap(SignOf(spec.Kind, box.devicePixelRatioF()));
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
    if (Desktop.Ending) return false;
    const PointerGuard guard;
    bool taken = false;
    const QString answer = QInputDialog::getText(Parent(), QApplication::applicationName(), Text(question),
                                                 QLineEdit::Normal, Text(text), &taken);
    if (taken) text = Utf8(answer);
    return taken;
}

bool FileDialog(const Platform::FileDialogSpec& spec, std::string& path) {
    if (Desktop.Ending) return false;
    const PointerGuard guard;
    const QString start = Text(spec.Start);
    QString filter;
    if (!spec.Pattern.empty()) {
        filter = QStringLiteral("%1 (%2)").arg(spec.Kind.empty() ? QStringLiteral("Files") : Text(spec.Kind),
                                               Text(spec.Pattern));
        if (spec.Pattern != "*") filter += QStringLiteral(";;All files (*)");
    }
    QFileDialog dialog(Parent(), Text(spec.Title), start, filter);
    dialog.setAcceptMode(spec.Use == Platform::FileUse::Save ? QFileDialog::AcceptSave
                                                             : QFileDialog::AcceptOpen);
    dialog.setFileMode(spec.Use == Platform::FileUse::Open   ? QFileDialog::ExistingFile
                       : spec.Use == Platform::FileUse::Save ? QFileDialog::AnyFile
                                                             : QFileDialog::Directory);
    if (spec.Use == Platform::FileUse::Folder) dialog.setOption(QFileDialog::ShowDirsOnly);
    const QFileInfo first(start);
    if (!start.isEmpty() && !first.isDir()) {
        dialog.setDirectory(first.path());
        dialog.selectFile(first.fileName());
    }
    dialog.resize(760, 480);
    // Where the desktop has no dialogue of its own: sizes and dates whole, names in what is left.
    if (auto* const list = dialog.findChild<QTreeView*>(QStringLiteral("treeView"))) {
        list->header()->setStretchLastSection(false);
        for (int column = 1; column < list->header()->count(); ++column)
            list->header()->setSectionResizeMode(column, QHeaderView::ResizeToContents);
        list->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    }
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return false;
    const QString chosen = dialog.selectedFiles().constFirst();
    if (chosen.isEmpty()) return false;
    path = Utf8(chosen);
    return true;
}

bool ColorDialog(Platform::Color& color) {
    if (Desktop.Ending) return false;
    const PointerGuard guard;
    const QColor chosen = QColorDialog::getColor(Ink(color), Parent());
    if (!chosen.isValid()) return false;
    const auto byte = [](int part) { return static_cast<std::uint8_t>(part); };
    color = {byte(chosen.red()), byte(chosen.green()), byte(chosen.blue()), 255};
    return true;
}

}
