#pragma once

#include <QSocketNotifier>

#include <functional>
#include <memory>

namespace platform {

/// Turns the signals by which the system asks a program to end (SIGTERM, SIGINT, SIGHUP) into a
/// call on the main thread's event loop. Only the first of each kind: should the program not end, a
/// second one ends it in the system's way. One object at a time; it needs the application object.
class TerminationSignals {
  public:
    /// Calls `terminate` for each signal from now on.
    explicit TerminationSignals(std::function<void()> terminate);
    ~TerminationSignals();
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;

  private:
    std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace platform
