#include "platform/ui/WindowDrag.h"

#include <QApplication>
#include <QMouseEvent>
#include <QWidget>
#include <QWindow>

namespace platform {

void WindowDrag::press(const QMouseEvent& event) {
    pressedAt_.reset();
    if (event.button() == Qt::LeftButton) pressedAt_ = event.pos();
}

bool WindowDrag::move(const QMouseEvent& event, const QWidget& widget) {
    const bool isDrag =
        (event.buttons() & Qt::LeftButton) && pressedAt_ &&
        (event.pos() - *pressedAt_).manhattanLength() >= QApplication::startDragDistance();
    if (!isDrag) return false;
    // The window system moves the window: it alone knows where windows may go, and on Wayland
    // nobody else can. It is asked once a press: a second request that reaches it when the button
    // is up again ties the window to the pointer.
    pressedAt_.reset();
    if (QWindow* handle = widget.window()->windowHandle()) handle->startSystemMove();
    return true;
}

}  // namespace platform
