#pragma once

#include <QTimer>

#include <functional>
#include <memory>

namespace platform {

/// A timer on the main thread's event loop. It runs while its owner holds it.
class Timer {
  public:
    /// A started timer that calls `block` every `seconds` (to the millisecond; up to 24 days), or
    /// once where `repeats` is false. A repeating timer keeps to its schedule: what one call comes
    /// late is not added to the next.
    [[nodiscard]] static std::unique_ptr<Timer> scheduledTimerWithTimeInterval(
        double seconds, std::function<void()> block, bool repeats);

    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

  private:
    Timer() = default;
    QTimer timer_;
};

}  // namespace platform
