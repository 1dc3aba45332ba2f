// The content of a window: shows its layers, and turns what the user does in it into records.
#pragma once
#include "platform/qt/state.h"

namespace QtDesktop {

class Canvas final : public QWidget {
public:
    Canvas(Platform::WindowId id, QWidget* parent);

    void SetLayer(int number, const Platform::Area& bounds, Platform::Drawing drawing);
    void DropLayer(int number);

    const Platform::WindowId Id;
    // What surrounds it: a dock, a dialog, or the start window.
    QWidget* Shell = nullptr;
    Platform::WindowSpec Spec;
    bool Closing = false; // the logic has closed it

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    bool focusNextPrevChild(bool next) override;
    bool event(QEvent* event) override;

private:
    struct Layer {
        Platform::Area Bounds;
        Platform::Drawing Drawing;
    };
    std::map<int, Layer> Layers;
};

// A window's text box or canvas has the focus: it is the front one.
void CameToFront(Platform::WindowId window);

}
