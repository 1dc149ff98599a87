#include "platform/ui/Window.h"

#include "platform/ui/View.h"

#include <QKeyEvent>
#include <QPainter>

namespace platform {

Window::Window(QWidget* parent)
    : QWidget(parent, Qt::Window), backgroundColor_(palette().color(QPalette::Window)) {}

void Window::setBackgroundColor(const QColor& color) {
    backgroundColor_ = color;
    update();
}

View* Window::contentView() const {
    return findChild<View*>(QStringLiteral("contentView"), Qt::FindDirectChildrenOnly);
}

void Window::makeKeyAndOrderFront() {
    applyWindowAttributes();
    show();
    raise();
    if (canBecomeKeyWindow()) activateWindow();
}

void Window::orderOut() {
    hide();
}

bool Window::performAction(const QString& action, Control*) {
    if (action == QLatin1String("makeKeyAndOrderFront")) {
        makeKeyAndOrderFront();
    } else if (action == QLatin1String("orderOut")) {
        orderOut();
    } else {
        return false;
    }
    return true;
}

void Window::applyWindowAttributes() {
    // The window system is told when the native window is made, before it is first shown.
    if (testAttribute(Qt::WA_WState_Created)) return;
    setAttribute(Qt::WA_TranslucentBackground, !isOpaque());
    Qt::WindowFlags flags = secondary_ ? Qt::Dialog : Qt::Window;
    flags.setFlag(Qt::FramelessWindowHint, borderless_);
    flags.setFlag(Qt::WindowDoesNotAcceptFocus, !canBecomeKeyWindow());
    setWindowFlags(flags);
}

bool Window::event(QEvent* event) {
    if (event->type() == QEvent::Polish) applyWindowAttributes();
    return QWidget::event(event);
}

void Window::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(backgroundColor());
    painter.drawRoundedRect(rect(), cornerRadius_, cornerRadius_);
}

void Window::keyPressEvent(QKeyEvent* event) {
    if (secondary_ && event->key() == Qt::Key_Escape) {
        orderOut();
        return;
    }
    QWidget::keyPressEvent(event);
}

}  // namespace platform
