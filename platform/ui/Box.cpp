#include "platform/ui/Box.h"

#include "platform/ui/Theme.h"

#include <QMouseEvent>

namespace platform {

void Box::mousePressEvent(QMouseEvent* event) {
    drag_.press(*event);
    // Accepted, so that the drag that may follow is the box's.
    event->setAccepted(mouseDownCanMoveWindow() && event->button() == Qt::LeftButton);
}

void Box::mouseMoveEvent(QMouseEvent* event) {
    if (mouseDownCanMoveWindow() && drag_.move(*event, *this)) return;
    View::mouseMoveEvent(event);
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
