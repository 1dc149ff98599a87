#include "platform/media/TaskPool.h"

#include <system_error>
#include <thread>
#include <utility>

namespace platform {

TaskPool::TaskPool(Waiting waiting) {
    shared_->waiting = std::move(waiting);
}

TaskPool::~TaskPool() {
    close();
}

void TaskPool::close() {
    const std::lock_guard lock(shared_->mutex);
    shared_->isClosed = true;
    shared_->tasks.clear();
    shared_->changed.notify_all();
}

void TaskPool::allow(unsigned threads) {
    const std::lock_guard lock(shared_->mutex);
    shared_->mostThreads = threads;
}

void TaskPool::add(std::function<void()> task) {
    // Starting a thread takes as long as some tasks do.
    constexpr std::size_t kWorthAThread = 2;
    Shared& shared = *shared_;
    const std::lock_guard lock(shared.mutex);
    if (shared.isClosed) return;
    shared.tasks.push_back(std::move(task));
    const std::size_t idle = shared.threads - shared.running;
    const bool isWorthIt = shared.threads == 0 || shared.tasks.size() > idle + kWorthAThread;
    if (isWorthIt && shared.threads < shared.mostThreads) {
        try {
            std::thread([held = shared_] { work(held); }).detach();
            ++shared.threads;
        } catch (const std::system_error&) {
            // Those that there are do it, or the one who waits.
        }
    }
    shared.changed.notify_one();
    if (shared.threads == 0) shared.tell();
}

void TaskPool::runNext(Shared& shared, std::unique_lock<std::mutex>& lock) {
    {
        const std::function<void()> task = std::move(shared.tasks.back());
        shared.tasks.pop_back();
        ++shared.running;
        lock.unlock();
        task();
    }
    lock.lock();
    --shared.running;
    if (shared.running == 0 && shared.tasks.empty()) {
        shared.tell();
    } else if (shared.waiting.noteProgress) {
        shared.waiting.noteProgress();
    }
}

void TaskPool::work(const std::shared_ptr<Shared>& shared) {
    std::unique_lock lock(shared->mutex);
    while (!shared->isClosed) {
        if (shared->tasks.empty())
            shared->changed.wait(lock);
        else
            runNext(*shared, lock);
    }
}

void TaskPool::tell() {
    const std::lock_guard lock(shared_->mutex);
    shared_->tell();
}

bool TaskPool::wait(const std::function<bool()>& isDone) {
    std::unique_lock lock(shared_->mutex);
    if (shared_->waiting.runUntil) {
        lock.unlock();
        return shared_->waiting.runUntil([&] {
            if (isDone()) return true;
            const std::lock_guard guard(shared_->mutex);
            return shared_->running == 0 && shared_->tasks.empty();
        });
    }
    while (!isDone() && (shared_->running > 0 || !shared_->tasks.empty())) {
        if (shared_->threads == 0)
            runNext(*shared_, lock);
        else
            shared_->told.wait(lock);
    }
    return true;
}

}  // namespace platform
