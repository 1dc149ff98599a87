#pragma once

#include <QObject>
#include <QPointer>

#include <deque>
#include <functional>

class QWindow;

namespace platform {

/// What waits while the main thread does: input, taken from the toolkit as it arrives, and calls.
/// It stays a filter of the application's events from its making on.
class HeldInput : public QObject {
  public:
    HeldInput();

    /// While held, what arrives waits; afterwards the event loop delivers it, in order. Levels add
    /// up.
    void hold() { ++holds_; }
    void release();
    /// Calls `block` now, or in its turn.
    void perform(std::function<void()> block);
    /// Forgets what waits.
    void discard() { waiting_.clear(); }

    bool eventFilter(QObject* receiver, QEvent* event) override;

  private:
    bool isPassing() const { return holds_ == 0 && (isDelivering_ || waiting_.empty()); }
    void deliver();
    void append(std::function<void()> delivery);
    bool holdMouse(QWindow* window, const QEvent& event);

    int holds_ = 0;
    bool isDelivering_ = false;
    bool closes_ = false;  // the button that is held down closes the program
    std::deque<std::function<void()>> waiting_;
    const QWindow* movedOver_ = nullptr;  // the last in `waiting_` is a move over that window
};

}  // namespace platform
