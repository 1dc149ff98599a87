#include "platform/ui/Window.h"

#include "platform/foundation/UserDefaults.h"
#include "platform/ui/BlurBehind.h"
#include "platform/ui/Box.h"
#include "platform/ui/Theme.h"
#include "platform/ui/WindowPlacement.h"

#include <QApplication>
#include <QCloseEvent>
#include <QCursor>
#include <QHoverEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <QTimer>
#include <QWindow>

#include <algorithm>
#include <optional>
#include <utility>

namespace platform {

namespace {

// How far along an edge a corner reaches, in points: a hand meets no square of ten.
constexpr int kCornerReach = 24;

// On Wayland the compositor alone knows and decides where windows stand.
bool choosesItsPlace() {
    return !QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

constexpr QLatin1String kPosition("Position");
constexpr QLatin1String kSize("Size");

std::optional<std::pair<int, int>> storedNumbers(const QString& key) {
    const auto stored = UserDefaults::standardUserDefaults().valueOfTypeForKey<QString>(key);
    return stored ? numbersOfString(*stored) : std::nullopt;
}

}  // namespace

Window::Window(QWidget* parent)
    : QWidget(parent, Qt::Window), backgroundColor_(palette().color(QPalette::Window)) {
    connect(qApp, &QApplication::focusChanged, this, &Window::focusMoved);
}

Window::~Window() {
    // What lies in the window gives up the focus after it has become a mere widget.
    disconnect(qApp, nullptr, this, nullptr);
}

void Window::setBackgroundColor(const QColor& color) {
    backgroundColor_ = color;
    update();
}

void Window::setPanelDensity(double density) {
    panelDensity_ = density;
    update();
    // The toolkit leaves out what covers all of itself.
    for (QWidget* part : findChildren<QWidget*>())
        part->update();
    blurBehindPanels();
}

void Window::blurBehindPanels() {
    if (!testAttribute(Qt::WA_WState_Created)) return;
    QRegion region;
    if (panelDensity_ < 1.0) {
        for (const Box* box : findChildren<Box*>()) {
            if (!box->isPanel()) continue;
            QPainterPath panel;
            panel.addRoundedRect(QRect(box->mapTo(this, QPoint()), box->size()),
                                 theme::kPanelRadius, theme::kPanelRadius);
            region += panel.toFillPolygon().toPolygon();
        }
    }
    askForBlurBehind(*windowHandle(), region);
}

View* Window::contentView() const {
    return findChild<View*>(QStringLiteral("contentView"), Qt::FindDirectChildrenOnly);
}

void Window::makeKeyAndOrderFront() {
    // The desktop puts a new window in front, and most give it the focus.
    const bool isNew = !isVisible();
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    becomesKeyWhenPainted_ = isNew && canBecomeKeyWindow();
    if (!isNew) {
        raise();
        if (canBecomeKeyWindow()) activateWindow();
    }
    if (!transientFor_) return;
    transientFor_->serving_.removeAll(this);
    transientFor_->serving_.append(this);
}

void Window::orderOut() {
    hide();
}

void Window::miniaturize() {
    showMinimized();
}

bool Window::hasAction(const QString& action) const {
    return action == QLatin1String("makeKeyAndOrderFront") || action == QLatin1String("orderOut") ||
           action == QLatin1String("miniaturize");
}

bool Window::performAction(const QString& action, Control*) {
    if (!hasAction(action)) return false;
    if (action == QLatin1String("orderOut")) {
        orderOut();
    } else if (action == QLatin1String("miniaturize")) {
        miniaturize();
    } else {
        makeKeyAndOrderFront();
    }
    return true;
}

void Window::applyWindowAttributes() {
    // The window system is told when the native window is made, before it is first shown.
    if (testAttribute(Qt::WA_WState_Created)) return;
    setAttribute(Qt::WA_TranslucentBackground, !isOpaque());
    // The pointer is followed over the children too, for the cursor to become theirs again.
    setAttribute(Qt::WA_Hover, resizeBand_ > 0);
    Qt::WindowFlags flags = secondary_ ? Qt::Dialog : Qt::Window;
    flags.setFlag(Qt::FramelessWindowHint, borderless_);
    flags.setFlag(Qt::WindowDoesNotAcceptFocus, !canBecomeKeyWindow());
    // The full way adds a frame's buttons, and has all that is in the window look for its style
    // anew.
    if (borderless_)
        overrideWindowFlags(flags);
    else
        setWindowFlags(flags);
    place();
    create();
    blurBehindPanels();
    if (transientFor_) windowHandle()->setTransientParent(transientFor_->windowHandle());
    for (const QScreen* screen : QGuiApplication::screens())
        connect(screen, &QScreen::availableGeometryChanged, this, &Window::keepOnScreen);
    // At the end, not at every step of a move.
    if (!autosaveName_.isEmpty())
        connect(qApp, &QCoreApplication::aboutToQuit, this, &Window::saveFrame);
}

QRect Window::preferredFrame() const {
    QRect frame(QPoint(), size());
    if (transientFor_ && transientFor_->isVisible()) {
        frame.moveCenter(transientFor_->geometry().center());
        return frame;
    }
    if (!autosaveName_.isEmpty()) {
        if (const auto stored = storedNumbers(autosaveName_ + kSize)) {
            frame.setSize(QSize(stored->first, stored->second)
                              .expandedTo(minimumSize())
                              .boundedTo(maximumSize()));
        }
        if (const auto stored = storedNumbers(autosaveName_ + kPosition)) {
            frame.moveTo(stored->first, stored->second);
            if (screenShowing(frame)) return frame;
        }
    }
    // Not every window manager finds a place for a window that asks for none.
    const QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
    if (!screen) screen = QGuiApplication::primaryScreen();
    frame.setSize(sizeOnScreen(frame.size(), minimumSize(), *screen));
    frame.moveCenter(screen->availableGeometry().center());
    return frame;
}

void Window::place() {
    QRect frame = preferredFrame();
    if (const QScreen* screen = screenShowing(frame)) {
        frame.setSize(sizeOnScreen(frame.size(), minimumSize(), *screen));
        frame = frameOnScreen(frame, *screen);
    }
    resize(frame.size());
    if (choosesItsPlace()) move(frame.topLeft());
}

void Window::keepOnScreen() {
    if (isVisible() && !(windowState() & (Qt::WindowMaximized | Qt::WindowFullScreen))) {
        const QScreen& shown = *screen();
        resize(sizeOnScreen(size(), minimumSize(), shown));
        if (choosesItsPlace()) move(frameOnScreen(geometry(), shown).topLeft());
    }
}

void Window::saveFrame() const {
    const bool isNormal = !(windowState() & (Qt::WindowMaximized | Qt::WindowFullScreen));
    const QRect frame = isNormal ? geometry() : normalGeometry();
    UserDefaults& defaults = UserDefaults::standardUserDefaults();
    if (choosesItsPlace())
        defaults.setValueForKey(stringWithNumbers(frame.x(), frame.y()), autosaveName_ + kPosition);
    defaults.setValueForKey(stringWithNumbers(frame.width(), frame.height()),
                            autosaveName_ + kSize);
    defaults.synchronize();
}

void Window::setVisible(bool visible) {
    // Not before: each native window costs the whole desktop something.
    if (visible) applyWindowAttributes();
    QWidget::setVisible(visible);
}

bool Window::event(QEvent* event) {
    if (event->type() == QEvent::WindowDeactivate)
        comesBackToKeyboard_ = testAttribute(Qt::WA_KeyboardFocusChange);
    if (event->type() == QEvent::HoverMove && resizeBand_ > 0)
        showEdges(edgesAt(static_cast<QHoverEvent*>(event)->position()));
    return QWidget::event(event);
}

// From Qt 6.11 on a window that comes to the front forgets that the keyboard moved its focus.
void Window::focusMoved(QWidget*, QWidget* now) {
    if (!now || now->window() != this || !std::exchange(comesBackToKeyboard_, false)) return;
    setAttribute(Qt::WA_KeyboardFocusChange);
    now->update();
}

void Window::closeEvent(QCloseEvent* event) {
    event->accept();
    Q_EMIT willClose();
}

void Window::paintEvent(QPaintEvent*) {
    if (std::exchange(becomesKeyWhenPainted_, false)) {
        // To ask for it sooner would keep the first frame waiting.
        QTimer::singleShot(0, this, [this] {
            if (isVisible() && !isActiveWindow()) activateWindow();
        });
    }
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(backgroundColor());
    painter.drawRoundedRect(rect(), cornerRadius_, cornerRadius_);
}

void Window::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    // Once the panels have followed.
    QMetaObject::invokeMethod(this, &Window::blurBehindPanels, Qt::QueuedConnection);
}

void Window::keyPressEvent(QKeyEvent* event) {
    if (event->key() != Qt::Key_Escape) {
        QWidget::keyPressEvent(event);
        return;
    }
    if (secondary_) {
        orderOut();
        return;
    }
    // Wherever the desktop has put the focus meanwhile, the last one shown goes first.
    const auto isShown = [](const Window* window) { return window && window->isVisible(); };
    const auto last = std::find_if(serving_.crbegin(), serving_.crend(), isShown);
    if (last != serving_.crend()) (*last)->orderOut();
}

Qt::Edges Window::edgesAt(const QPointF& position) const {
    Qt::Edges edges;
    if (resizeBand_ <= 0 || (windowState() & (Qt::WindowMaximized | Qt::WindowFullScreen)))
        return edges;
    const double left = position.x();
    const double top = position.y();
    const double right = width() - left;
    const double bottom = height() - top;
    if (qMin(qMin(left, right), qMin(top, bottom)) >= resizeBand_) return edges;
    edges.setFlag(Qt::LeftEdge, left < kCornerReach);
    edges.setFlag(Qt::RightEdge, right < kCornerReach);
    edges.setFlag(Qt::TopEdge, top < kCornerReach);
    edges.setFlag(Qt::BottomEdge, bottom < kCornerReach);
    return edges;
}

void Window::showEdges(Qt::Edges edges) {
    const bool isAcross = edges & (Qt::LeftEdge | Qt::RightEdge);
    const bool isDown = edges & (Qt::TopEdge | Qt::BottomEdge);
    const bool isFalling =
        edges == (Qt::LeftEdge | Qt::TopEdge) || edges == (Qt::RightEdge | Qt::BottomEdge);
    if (isAcross && isDown) {
        setCursor(isFalling ? Qt::SizeFDiagCursor : Qt::SizeBDiagCursor);
    } else if (isAcross || isDown) {
        setCursor(isAcross ? Qt::SizeHorCursor : Qt::SizeVerCursor);
    } else if (testAttribute(Qt::WA_SetCursor)) {
        unsetCursor();
    }
}

void Window::mousePressEvent(QMouseEvent* event) {
    const Qt::Edges edges = edgesAt(event->position());
    if (edges && event->button() == Qt::LeftButton) {
        windowHandle()->startSystemResize(edges);
    } else {
        drag_.press(*event);
    }
}

void Window::mouseMoveEvent(QMouseEvent* event) {
    drag_.move(*event, *this);
}

}  // namespace platform
