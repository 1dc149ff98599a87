#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace platform {

/// Tasks for a few threads of their own, the last one added first, and the one who waits for them.
/// The threads end with the last owner outside; a task that waits for a disk that never answers is
/// left behind with its thread, and holds what it was made with.
class TaskPool {
  public:
    /// How whoever waits does it, where that is more than to sleep.
    struct Waiting {
        /// Returns true once `isDone`, which is asked after each `wakeUp`; false to give up.
        std::function<bool(const std::function<bool()>& isDone)> runUntil;
        std::function<void()> wakeUp;        ///< from any thread
        std::function<void()> noteProgress;  ///< from any thread: it is worth waiting on
    };

    /// One thread, started once there is work for it. Without any to be had, whoever waits does the
    /// work.
    explicit TaskPool(Waiting waiting = {});
    ~TaskPool();
    TaskPool(const TaskPool&) = delete;
    TaskPool& operator=(const TaskPool&) = delete;

    /// Lets there be `threads` > 0 of them, as far as there is work.
    void allow(unsigned threads);
    /// Forgets the tasks that have not begun, and every later one.
    void close();
    /// Has `task` done; from any thread.
    void add(std::function<void()> task);
    /// Has the waiting thread ask again whether to wait.
    void tell();
    /// Notes that a task, which may be long, gets on.
    void noteProgress() const {
        if (shared_->waiting.noteProgress) shared_->waiting.noteProgress();
    }
    /// Waits until `isDone`, which is asked when the waiter is told to and when no task is left;
    /// then the waiting ends in any case. False when it was given up.
    bool wait(const std::function<bool()>& isDone);
    /// Waits until no task is left.
    bool finish() {
        return wait([] { return false; });
    }

  private:
    struct Shared {
        std::mutex mutex;
        std::condition_variable changed;  // for the threads
        std::condition_variable told;     // for the waiter
        std::vector<std::function<void()>> tasks;
        unsigned mostThreads = 1;
        unsigned threads = 0;
        unsigned running = 0;
        bool isClosed = false;
        Waiting waiting;

        void tell() {
            told.notify_one();
            if (waiting.wakeUp) waiting.wakeUp();
        }
    };
    static void work(const std::shared_ptr<Shared>& shared);
    static void runNext(Shared& shared, std::unique_lock<std::mutex>& lock);

    const std::shared_ptr<Shared> shared_ = std::make_shared<Shared>();
};

}  // namespace platform
