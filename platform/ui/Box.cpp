#include "platform/ui/Box.h"

#include "platform/ui/Theme.h"

#include <QApplication>
#include <QMouseEvent>
#include <QWindow>

namespace platform {

void Box::mousePressEvent(QMouseEvent* event) {
    pressedAt_ = event->pos();
    // Accepted, so that the drag that may follow is the box's.
    event->setAccepted(mouseDownCanMoveWindow() && event->button() == Qt::LeftButton);
}

void Box::mouseMoveEvent(QMouseEvent* event) {
    const bool isDrag =
        (event->buttons() & Qt::LeftButton) && pressedAt_ &&
        (event->pos() - *pressedAt_).manhattanLength() >= QApplication::startDragDistance();
    if (!mouseDownCanMoveWindow() || !isDrag) {
        View::mouseMoveEvent(event);
        return;
    }
    // The window system moves the window: it alone knows where windows may go, and on Wayland
    // nobody else can. It is asked once a press: a second request that reaches it when the button
    // is up again ties the window to the pointer.
    pressedAt_.reset();
    if (QWindow* handle = window()->windowHandle()) handle->startSystemMove();
}

void Box::focusInEvent(QFocusEvent* event) {
    View::focusInEvent(event);
    if (theme::showsFocus(*this)) ring_ = std::make_unique<FocusRing>(*this, theme::kPanelRadius);
}

void Box::focusOutEvent(QFocusEvent* event) {
    View::focusOutEvent(event);
    ring_.reset();
}

}  // namespace platform
