#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

namespace platform {

/// The main thread's waiting for what other threads do, for the disks they read above all. While it
/// waits, the window system's pings are answered, what is exposed is repainted, and a closed
/// window, a signal and the session's end are obeyed: they end the wait. All other input waits,
/// too, and so do `perform`'s blocks; the event loop delivers them afterwards, in the order in
/// which they came. Timers stand still. Main thread only, but for `wakeUp`.
class RunLoop {
  public:
    using Duration = std::chrono::milliseconds;

    /// How long a disk may take for one step before it counts as dead.
    static constexpr Duration kPatience{5000};

    /// Returns true once `isDone` holds, which is asked at first and after each `wakeUp`; it may
    /// draw. False when it does not hold `patience` after the last progress, or when the program
    /// is to end: then every later wait ends at once, too. What is done within a frame is waited
    /// for without a look at the window system.
    static bool runUntil(const std::function<bool()>& isDone, Duration patience = kPatience);
    /// The same with an eye on the window system from the first moment on.
    static bool attendUntil(const std::function<bool()>& isDone, Duration patience = kPatience);
    /// Attends to the window system in the middle of long work, at most every 50 ms.
    static void attend();
    /// Has the main thread ask whether what it waits for is done; from any thread.
    static void wakeUp();
    /// Tells that what is waited for moves, so that it goes on being waited for; from any thread.
    static void noteProgress();
    /// Ends the wait under way, if there is one, and keeps others from beginning until the event
    /// loop has ended.
    static void stop();
    static bool isStopped();
    /// Runs the event loop until the program is to end; returns its exit status.
    static int run();

    /// Calls `block` now or, while there is a wait or something that came before, afterwards. For
    /// whatever reaches the program other than by input and timers: what it asks for must not
    /// happen in the middle of what waits.
    static void perform(std::function<void()> block);

    /// What `work` returns, done on another thread; absent when it does not return within
    /// `patience` or the program is to end. Then its thread is left behind: `work` must own all
    /// that it uses. It is told of that by its argument, which becomes true.
    template <typename Work>
    static auto resultOf(Work work, Duration patience = kPatience) {
        using Result = std::invoke_result_t<Work, const std::atomic<bool>&>;
        struct State {
            std::atomic<bool> isLeft = false;
            std::atomic<bool> isDone = false;
            std::optional<Result> result;
        };
        const auto state = std::make_shared<State>();
        startThread([state, work = std::move(work)] {
            state->result = work(state->isLeft);
            state->isDone = true;
        });
        if (runUntil([&] { return state->isDone.load(); }, patience))
            return std::move(state->result);
        state->isLeft = true;
        return std::optional<Result>();
    }

    /// Calls `work` on a thread of its own, or at once where none is to be had, and `wakeUp` behind
    /// it. Nobody waits for the thread, which may hang on a disk for ever.
    static void startThread(std::function<void()> work);
    /// Whether there may be a thread that nobody waits for: one of `startThread`, or what a wait
    /// was given up for. It may use what an orderly end of the process takes down.
    static bool hasThreads();
};

}  // namespace platform
