#include "platform/foundation/Timer.h"

#include <cmath>
#include <utility>

namespace platform {

std::unique_ptr<Timer> Timer::scheduledTimerWithTimeInterval(double seconds,
                                                             std::function<void()> block,
                                                             bool repeats) {
    std::unique_ptr<Timer> timer(new Timer);
    timer->timer_.setTimerType(Qt::PreciseTimer);
    timer->timer_.setSingleShot(!repeats);
    QObject::connect(&timer->timer_, &QTimer::timeout, [call = std::move(block)] { call(); });
    timer->timer_.start(static_cast<int>(std::lround(seconds * 1000.0)));
    return timer;
}

}  // namespace platform
