#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>

namespace platform {

/// What a thread does while it waits for the work of others, or works long itself: called on that
/// thread, without any lock held, every kWaitSlice. It may draw and answer the window system; it
/// must not change what the waiting code works on, and a wait that it starts calls no hook. Its own
/// time adds to the wait. Returns whether to go on: false gives the work up, as at the program's
/// end.
using WaitHook = std::function<bool()>;

constexpr std::chrono::milliseconds kWaitSlice{8};

/// Makes `hook` what the calling thread does meanwhile; an empty one takes it back.
void setWaitHook(WaitHook hook);

/// Calls the thread's hook, if it has one and was not called for a slice. False when the hook has
/// given up, and from then on until it is asked and says otherwise. Costs a look at the clock.
bool serveMeanwhile();

/// Waits until `ready()` is true, which is asked with `lock` held; `changed` is notified whenever
/// that may be so. Every kWaitSlice meanwhile: `perSlice()` and the hook, both with `lock`
/// released. False as soon as one of them gives up.
bool waitFor(std::unique_lock<std::mutex>& lock, std::condition_variable& changed,
             const std::function<bool()>& ready, const std::function<bool()>& perSlice);

}  // namespace platform
