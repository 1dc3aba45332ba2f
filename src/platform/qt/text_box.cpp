#include "platform/qt/text_box.h"

#include "platform/qt/canvas.h"
#include "platform/qt/paint.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextDocument>

#include <cmath>

namespace QtDesktop {

namespace {

using Platform::TextBoxId;
using Platform::TextBoxSpec;

bool LeavesTheBox(int key) {
    return key == Qt::Key_Escape || key == Qt::Key_Tab || key == Qt::Key_Backtab;
}

class LineBox final : public QLineEdit {
public:
    LineBox(Canvas* canvas, TextBoxId id) : QLineEdit(canvas), Window(canvas->Id) {
        setObjectName(QStringLiteral("entry"));
        setFrame(false);
        setTextMargins(0, 0, 0, 0);
        connect(this, &QLineEdit::textEdited, this,
                [this, id] { Post(Platform::WindowEvent, Window, Platform::TextBoxChanged, id); });
    }

protected:
    void keyPressEvent(QKeyEvent* event) override {
        if (LeavesTheBox(event->key()) || event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
            PostKey(*event, Window);
            return;
        }
        QLineEdit::keyPressEvent(event);
    }
    bool focusNextPrevChild(bool) override { return false; }
    void focusInEvent(QFocusEvent* event) override {
        QLineEdit::focusInEvent(event);
        CameToFront(Window);
    }

private:
    const Platform::WindowId Window;
};

class LinesBox final : public QPlainTextEdit {
public:
    LinesBox(Canvas* canvas, TextBoxId id)
        : QPlainTextEdit(canvas), Window(canvas->Id), Gutter(new NumberGutter(this)) {
        setObjectName(QStringLiteral("entry"));
        setFrameShape(QFrame::NoFrame);
        setTabChangesFocus(false);
        setLineWrapMode(QPlainTextEdit::NoWrap);
        document()->setDocumentMargin(8);
        connect(this, &QPlainTextEdit::textChanged, this, [this, id] {
            if (!Quiet) Post(Platform::WindowEvent, Window, Platform::TextBoxChanged, id);
        });
        connect(this, &QPlainTextEdit::updateRequest, this, [this](const QRect&, int) { Gutter->update(); });
        connect(this, &QPlainTextEdit::blockCountChanged, this, [this] { PlaceGutter(); });
    }

    void SetNumbered(bool numbered) {
        Numbered = numbered;
        PlaceGutter();
    }

    bool Quiet = false; // the logic changes the text, not the user

protected:
    void keyPressEvent(QKeyEvent* event) override {
        if (LeavesTheBox(event->key())) {
            PostKey(*event, Window);
            return;
        }
        QPlainTextEdit::keyPressEvent(event);
    }
    bool focusNextPrevChild(bool) override { return false; }
    void focusInEvent(QFocusEvent* event) override {
        QPlainTextEdit::focusInEvent(event);
        CameToFront(Window);
    }
    void resizeEvent(QResizeEvent* event) override {
        QPlainTextEdit::resizeEvent(event);
        PlaceGutter();
    }

private:
    class NumberGutter final : public QWidget {
    public:
        explicit NumberGutter(LinesBox* box) : QWidget(box), Box(box) {}

    protected:
        void paintEvent(QPaintEvent* event) override { Box->PaintNumbers(*event); }

    private:
        LinesBox* const Box;
    };

    [[nodiscard]] int GutterWidth() const {
        if (!Numbered) return 0;
        int digits = 3;
        for (int lines = blockCount(); lines >= 1000; lines /= 10) ++digits;
        return 14 + fontMetrics().horizontalAdvance(QLatin1Char('9')) * digits;
    }

    void PlaceGutter() {
        const int width = GutterWidth();
        setViewportMargins(width, 0, 0, 0);
        const QRect inner = contentsRect();
        Gutter->setGeometry(inner.left(), inner.top(), width, inner.height());
        Gutter->setVisible(width > 0);
    }

    void PaintNumbers(const QPaintEvent& event) {
        QPainter painter(Gutter);
        painter.fillRect(event.rect(), Ink(Desktop.Theme.Soft));
        painter.setPen(Ink(Desktop.Theme.Secondary));
        painter.setFont(font());
        QTextBlock block = firstVisibleBlock();
        double top = blockBoundingGeometry(block).translated(contentOffset()).top();
        while (block.isValid() && top <= event.rect().bottom()) {
            const double height = blockBoundingRect(block).height();
            painter.drawText(QRectF(0, top, Gutter->width() - 7, height), Qt::AlignRight | Qt::AlignTop,
                             QString::number(block.blockNumber() + 1));
            block = block.next();
            top += height;
        }
    }

    const Platform::WindowId Window;
    NumberGutter* const Gutter;
    bool Numbered = false;
};

QWidget* FindBox(TextBoxId box) {
    const auto found = Desktop.TextBoxes.find(box);
    return found == Desktop.TextBoxes.end() ? nullptr : found->second.data();
}
LineBox* AsLine(QWidget* widget) {
    return dynamic_cast<LineBox*>(widget);
}
LinesBox* AsLines(QWidget* widget) {
    return dynamic_cast<LinesBox*>(widget);
}

void Dress(QWidget& widget, const TextBoxSpec& spec) {
    widget.setGeometry(QRectF(spec.Place.Left, spec.Place.Top, spec.Place.Width, spec.Place.Height).toRect());
    // A style sheet of the program rules over palette and font of a widget, but for those in a sheet of its
    // own.
    const QFont font = FontOf(spec.Font);
    const QString size = font.pixelSize() > 0 ? QString::number(font.pixelSize()) + QStringLiteral("px")
                                              : QString::number(font.pointSizeF()) + QStringLiteral("pt");
    const QString sheet =
        QStringLiteral("QWidget { background: %1; color: %2; font-family: \"%3\"; font-size: %4; }")
            .arg(Ink(spec.Paper).name(), Ink(spec.Ink).name(), font.family(), size);
    if (widget.styleSheet() != sheet) {
        widget.setFont(font);
        widget.setStyleSheet(sheet);
    }
}

void Change(QWidget& widget, const TextBoxSpec& spec) {
    Dress(widget, spec);
    if (LineBox* const line = AsLine(&widget)) {
        // Setting these anew drops the selection and the steps to undo.
        const int longest = spec.Longest > 0 && spec.Longest < 32767 ? static_cast<int>(spec.Longest) : 32767;
        if (line->maxLength() != longest) line->setMaxLength(longest);
        if (line->isReadOnly() != spec.ReadOnly) line->setReadOnly(spec.ReadOnly);
        const QLineEdit::EchoMode echo = spec.Password ? QLineEdit::Password : QLineEdit::Normal;
        if (line->echoMode() != echo) line->setEchoMode(echo);
        line->setAlignment(Qt::AlignVCenter | (spec.Justify == Platform::Align::Right    ? Qt::AlignRight
                                               : spec.Justify == Platform::Align::Center ? Qt::AlignHCenter
                                                                                         : Qt::AlignLeft));
    } else if (LinesBox* const lines = AsLines(&widget)) {
        lines->setReadOnly(spec.ReadOnly);
        // What is only read is wrapped; what is written keeps its lines.
        lines->setLineWrapMode(spec.ReadOnly ? QPlainTextEdit::WidgetWidth : QPlainTextEdit::NoWrap);
        lines->SetNumbered(spec.LineNumbers);
    }
}

}

TextBoxId OpenTextBox(Platform::WindowId window, const TextBoxSpec& spec) {
    Canvas* const canvas = FindCanvas(window);
    if (canvas == nullptr) return 0;
    const TextBoxId id = ++Desktop.LastNumber;
    QWidget* const widget =
        spec.Lines ? static_cast<QWidget*>(new LinesBox(canvas, id)) : new LineBox(canvas, id);
    Desktop.TextBoxes[id] = widget;
    Change(*widget, spec);
    SetTextBoxText(id, spec.Text);
    widget->show();
    if (spec.SelectAll) {
        widget->setFocus();
        if (LineBox* const line = AsLine(widget)) line->selectAll();
    }
    return id;
}

void CloseTextBox(TextBoxId box) {
    QWidget* const widget = FindBox(box);
    Desktop.TextBoxes.erase(box);
    if (widget == nullptr) return;
    const bool hadFocus = widget->hasFocus();
    QWidget* const canvas = widget->parentWidget();
    widget->hide();
    widget->deleteLater();
    if (hadFocus && canvas != nullptr) canvas->setFocus();
}

std::string TextBoxText(TextBoxId box) {
    QWidget* const widget = FindBox(box);
    if (const LineBox* const line = AsLine(widget)) return Utf8(line->text());
    if (const LinesBox* const lines = AsLines(widget)) return Utf8(lines->toPlainText());
    return {};
}

void SetTextBoxText(TextBoxId box, std::string_view text) {
    QWidget* const widget = FindBox(box);
    if (LineBox* const line = AsLine(widget)) line->setText(Text(text));
    if (LinesBox* const lines = AsLines(widget)) {
        lines->Quiet = true;
        lines->setPlainText(Text(text));
        lines->Quiet = false;
    }
}

void AppendToTextBox(TextBoxId box, std::string_view text) {
    LinesBox* const lines = AsLines(FindBox(box));
    if (lines == nullptr) return;
    const bool atEnd = lines->verticalScrollBar()->value() >= lines->verticalScrollBar()->maximum() - 2;
    lines->Quiet = true;
    QTextCursor cursor(lines->document());
    cursor.movePosition(QTextCursor::End);
    cursor.insertText(Text(text));
    lines->Quiet = false;
    if (atEnd) lines->verticalScrollBar()->setValue(lines->verticalScrollBar()->maximum());
}

void DropTextBoxLines(TextBoxId box, int count) {
    LinesBox* const lines = AsLines(FindBox(box));
    if (lines == nullptr || count < 1) return;
    lines->Quiet = true;
    QTextCursor cursor(lines->document());
    cursor.movePosition(QTextCursor::Start);
    if (!cursor.movePosition(QTextCursor::NextBlock, QTextCursor::KeepAnchor, count))
        cursor.movePosition(QTextCursor::End, QTextCursor::KeepAnchor);
    cursor.removeSelectedText();
    lines->Quiet = false;
}

void ChangeTextBox(TextBoxId box, const TextBoxSpec& spec) {
    if (QWidget* const widget = FindBox(box)) Change(*widget, spec);
}

void SelectInTextBox(TextBoxId box, int from, int count) {
    QWidget* const widget = FindBox(box);
    if (widget == nullptr) return;
    if (LineBox* const line = AsLine(widget)) line->setSelection(from, count);
    if (LinesBox* const lines = AsLines(widget); lines != nullptr && count > 0) {
        QTextCursor cursor(lines->document());
        const int end = std::max(0, lines->document()->characterCount() - 1);
        cursor.setPosition(std::clamp(from, 0, end));
        cursor.setPosition(std::clamp(from + count, 0, end), QTextCursor::KeepAnchor);
        lines->setTextCursor(cursor);
    }
    widget->setFocus();
}

bool FindInTextBox(TextBoxId box, std::string_view text) {
    LinesBox* const lines = AsLines(FindBox(box));
    return lines != nullptr && !text.empty() && lines->find(Text(text));
}

bool EditTextBox(Platform::EditCommand command) {
    QWidget* const widget = QApplication::focusWidget();
    const auto apply = [command](auto& box) {
        using enum Platform::EditCommand;
        switch (command) {
        case Undo: box.undo(); break;
        case Redo: box.redo(); break;
        case Cut: box.cut(); break;
        case Copy: box.copy(); break;
        case Paste: box.paste(); break;
        case SelectAll: box.selectAll(); break;
        }
    };
    if (LineBox* const line = AsLine(widget)) {
        apply(*line);
        return true;
    }
    if (LinesBox* const lines = AsLines(widget)) {
        apply(*lines);
        return true;
    }
    return false;
}

}
