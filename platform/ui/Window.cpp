#include "platform/ui/Window.h"

#include "platform/foundation/UserDefaults.h"
#include "platform/ui/View.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QScreen>

#include <algorithm>

namespace platform {

namespace {

/// Where a window of `frame` goes so that all of it is on the screen that shows most of it, its top
/// left corner at least; absent when no screen shows any.
std::optional<QPoint> positionOnScreen(const QRect& frame) {
    QRect best;
    qint64 bestArea = 0;
    for (const QScreen* screen : QGuiApplication::screens()) {
        const QRect shown = screen->availableGeometry() & frame;
        const qint64 area = qint64{shown.width()} * shown.height();
        if (area > bestArea) {
            bestArea = area;
            best = screen->availableGeometry();
        }
    }
    if (bestArea == 0) return std::nullopt;
    return QPoint(std::max(best.left(), std::min(frame.left(), best.right() + 1 - frame.width())),
                  std::max(best.top(), std::min(frame.top(), best.bottom() + 1 - frame.height())));
}

}  // namespace

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
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    if (canBecomeKeyWindow()) activateWindow();
}

void Window::orderOut() {
    hide();
}

bool Window::hasAction(const QString& action) const {
    return action == QLatin1String("makeKeyAndOrderFront") || action == QLatin1String("orderOut");
}

bool Window::performAction(const QString& action, Control*) {
    if (!hasAction(action)) return false;
    if (action == QLatin1String("orderOut")) {
        orderOut();
    } else {
        makeKeyAndOrderFront();
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
    if (!autosaveName_.isEmpty()) restorePosition();
}

void Window::restorePosition() {
    // On Wayland the compositor alone knows and decides where windows stand.
    if (QGuiApplication::platformName().startsWith(QLatin1String("wayland"))) return;
    // At the end, not at every step of a move.
    connect(qApp, &QCoreApplication::aboutToQuit, this, &Window::savePosition);
    const auto stored =
        UserDefaults::standardUserDefaults().valueOfTypeForKey<QString>(autosaveName_);
    const QStringList parts = stored.value_or(QString()).split(QLatin1Char(' '));
    if (parts.size() != 2) return;
    bool isNumber[2] = {};
    const QPoint corner(parts[0].toInt(&isNumber[0]), parts[1].toInt(&isNumber[1]));
    if (!isNumber[0] || !isNumber[1]) return;
    if (const auto position = positionOnScreen({corner, size()})) move(*position);
}

void Window::savePosition() const {
    UserDefaults& defaults = UserDefaults::standardUserDefaults();
    defaults.setValueForKey(QStringLiteral("%1 %2").arg(x()).arg(y()), autosaveName_);
    defaults.synchronize();
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
