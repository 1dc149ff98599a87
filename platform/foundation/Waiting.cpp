#include "platform/foundation/Waiting.h"

#include <algorithm>
#include <utility>

namespace platform {

namespace {

using Clock = std::chrono::steady_clock;

struct Waiter {
    WaitHook hook;
    Clock::time_point lastCall;
    bool isInHook = false;
    bool goesOn = true;
};
thread_local Waiter waiter;

}  // namespace

void setWaitHook(WaitHook hook) {
    waiter.hook = std::move(hook);
    waiter.lastCall = Clock::now();
    waiter.goesOn = true;
}

bool serveMeanwhile() {
    if (!waiter.hook || waiter.isInHook) return true;
    if (Clock::now() - waiter.lastCall < kWaitSlice) return waiter.goesOn;
    waiter.isInHook = true;
    waiter.goesOn = waiter.hook();
    waiter.isInHook = false;
    waiter.lastCall = Clock::now();
    return waiter.goesOn;
}

bool waitFor(std::unique_lock<std::mutex>& lock, std::condition_variable& changed,
             const std::function<bool()>& ready, const std::function<bool()>& perSlice) {
    // Many short waits in a row are one long one to those who wait for the thread.
    Clock::time_point slice = std::max(waiter.lastCall + kWaitSlice, Clock::now());
    if (!waiter.hook) slice = Clock::now() + kWaitSlice;
    while (!ready()) {
        if (Clock::now() < slice && changed.wait_until(lock, slice) == std::cv_status::no_timeout)
            continue;
        lock.unlock();
        const bool goesOn = perSlice() && serveMeanwhile();
        lock.lock();
        if (!goesOn) return false;
        slice = Clock::now() + kWaitSlice;
    }
    return true;
}

}  // namespace platform
