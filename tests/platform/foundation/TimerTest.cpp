#include "platform/foundation/Timer.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>

#include <gtest/gtest.h>

#include <cmath>

namespace platform {
namespace {

void runUntil(const std::function<bool()>& done) {
    const QDeadlineTimer deadline(10'000);
    while (!done() && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 50);
}

TEST(Timer, RepeatsUntilDestroyedFromItsOwnBlockWhileAnotherFiresOnce) {
    int repeats = 0;
    int single = 0;
    std::unique_ptr<Timer> repeating;
    repeating = Timer::scheduledTimerWithTimeInterval(
        0.001,
        [&] {
            if (++repeats == 3) repeating.reset();
        },
        true);
    // An interval that is no positive number is the shortest.
    const auto once = Timer::scheduledTimerWithTimeInterval(
        std::nan(""), [&] { ++single; }, false);
    const auto never = Timer::scheduledTimerWithTimeInterval(
        1e300, [&] { single += 100; }, false);

    bool waited = false;
    runUntil([&] { return repeats == 3 && single == 1; });
    const auto after = Timer::scheduledTimerWithTimeInterval(
        0.02, [&] { waited = true; }, false);
    runUntil([&] { return waited; });
    EXPECT_TRUE(waited);
    EXPECT_EQ(repeats, 3);
    EXPECT_EQ(single, 1);
}

}  // namespace
}  // namespace platform
