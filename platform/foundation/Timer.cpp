#include "platform/foundation/Timer.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace platform {

std::unique_ptr<Timer> Timer::scheduledTimerWithTimeInterval(double seconds,
                                                             std::function<void()> block,
                                                             bool repeats) {
    constexpr double kLongest = std::numeric_limits<int>::max();
    // fmax also turns a NaN into the shortest interval.
    const double milliseconds = std::min(std::fmax(std::round(seconds * 1000.0), 1.0), kLongest);
    std::unique_ptr<Timer> timer(new Timer);
    timer->timer_.setTimerType(Qt::PreciseTimer);
    timer->timer_.setSingleShot(!repeats);
    // The connection owns the block and outlasts the call, should the block destroy the timer.
    QObject::connect(&timer->timer_, &QTimer::timeout, [call = std::move(block)] { call(); });
    timer->timer_.start(static_cast<int>(milliseconds));
    return timer;
}

}  // namespace platform
