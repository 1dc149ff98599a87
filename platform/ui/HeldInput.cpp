#include "platform/ui/HeldInput.h"

#include "platform/ui/Application.h"
#include "platform/ui/Control.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWindow>

#include <memory>
#include <utility>

// The toolkit's own tests put input in by these, as the window system would: with shortcuts, focus
// by click and double clicks.
QT_BEGIN_NAMESPACE
Q_GUI_EXPORT void qt_handleKeyEvent(QWindow* window, QEvent::Type type, int key,
                                    Qt::KeyboardModifiers modifiers, const QString& text,
                                    bool autoRepeat, ushort count);
Q_GUI_EXPORT void qt_handleMouseEvent(QWindow* window, const QPointF& local, const QPointF& global,
                                      Qt::MouseButtons state, Qt::MouseButton button,
                                      QEvent::Type type, Qt::KeyboardModifiers modifiers,
                                      int timestamp);
QT_END_NAMESPACE

namespace platform {

namespace {

// Whether a click there sends an action to the application itself, which only knows to end.
bool endsProgramAt(const QPoint& position) {
    for (QWidget* at = QApplication::widgetAt(position); at; at = at->parentWidget()) {
        if (const auto* control = dynamic_cast<Control*>(at))
            return !control->target() &&
                   Application::sharedApplication().hasAction(control->action());
    }
    return false;
}

// Whether `type` is input that the toolkit hands to a window and takes back again as it is.
bool isOtherInput(QEvent::Type type) {
    switch (type) {
        case QEvent::Wheel:
        case QEvent::Enter:
        case QEvent::Leave:
        case QEvent::TouchBegin:
        case QEvent::TouchUpdate:
        case QEvent::TouchEnd:
        case QEvent::TouchCancel:
        case QEvent::TabletPress:
        case QEvent::TabletMove:
        case QEvent::TabletRelease:
        case QEvent::NativeGesture:
            return true;
        default:
            return false;
    }
}

}  // namespace

HeldInput::HeldInput() {
    qApp->installEventFilter(this);
}

void HeldInput::release() {
    if (--holds_ == 0 && !waiting_.empty())
        QMetaObject::invokeMethod(this, &HeldInput::deliver, Qt::QueuedConnection);
}

void HeldInput::perform(std::function<void()> block) {
    // Whoever gets here by the event loop need not wait for what comes before: it can be done.
    deliver();
    if (holds_ == 0) {
        block();
    } else {
        append(std::move(block));
    }
}

void HeldInput::append(std::function<void()> delivery) {
    waiting_.push_back(std::move(delivery));
    movedOver_ = nullptr;
}

void HeldInput::deliver() {
    if (isDelivering_) return;
    isDelivering_ = true;
    // What is delivered may wait itself, and more arrive meanwhile.
    while (holds_ == 0 && !waiting_.empty()) {
        const auto delivery = std::move(waiting_.front());
        waiting_.pop_front();
        if (waiting_.empty()) movedOver_ = nullptr;
        delivery();
    }
    isDelivering_ = false;
}

bool HeldInput::holdMouse(QWindow* window, const QEvent& event) {
    const auto& mouse = static_cast<const QMouseEvent&>(event);
    const bool isPress = event.type() == QEvent::MouseButtonPress;
    if (isPress && mouse.button() == Qt::LeftButton)
        closes_ = endsProgramAt(mouse.globalPosition().toPoint());
    if (closes_) {
        closes_ = event.type() != QEvent::MouseButtonRelease;
        return false;
    }
    // Made anew of the two presses.
    if (event.type() == QEvent::MouseButtonDblClick) return true;
    const bool isMove = event.type() == QEvent::MouseMove;
    // Only where the pointer has come to counts.
    if (isMove && movedOver_ == window) waiting_.pop_back();
    append([window = QPointer(window), type = event.type(), local = mouse.position(),
            global = mouse.globalPosition(), buttons = mouse.buttons(), button = mouse.button(),
            modifiers = mouse.modifiers(), time = static_cast<int>(mouse.timestamp())] {
        if (window)
            qt_handleMouseEvent(window, local, global, buttons, button, type, modifiers, time);
    });
    if (isMove) movedOver_ = window;
    return true;
}

bool HeldInput::eventFilter(QObject* receiver, QEvent* event) {
    if (isPassing()) return false;
    const QEvent::Type type = event->type();
    // Those that strike once do so until they are heard.
    if (type == QEvent::Timer) return true;
    // Input methods speak to what has focus, everything else comes by a window.
    if (type == QEvent::InputMethod || (receiver->isWindowType() && isOtherInput(type))) {
        append([receiver = QPointer(receiver), held = std::shared_ptr<QEvent>(event->clone())] {
            if (receiver) QCoreApplication::sendEvent(receiver, held.get());
        });
        return true;
    }
    if (!receiver->isWindowType()) return false;
    auto* window = static_cast<QWindow*>(receiver);
    switch (type) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonRelease:
        case QEvent::MouseButtonDblClick:
        case QEvent::MouseMove:
            return holdMouse(window, *event);
        case QEvent::ShortcutOverride:
            if (static_cast<QKeyEvent*>(event)->matches(QKeySequence::Quit)) return false;
            // So that it comes as a key, and no shortcut is looked for.
            event->accept();
            return true;
        case QEvent::KeyPress:
        case QEvent::KeyRelease: {
            const auto& key = static_cast<const QKeyEvent&>(*event);
            append([window = QPointer(window), type, code = key.key(), modifiers = key.modifiers(),
                    text = key.text(), repeats = key.isAutoRepeat(),
                    count = static_cast<ushort>(key.count())] {
                if (window) qt_handleKeyEvent(window, type, code, modifiers, text, repeats, count);
            });
            return true;
        }
        default:
            return false;
    }
}

}  // namespace platform
