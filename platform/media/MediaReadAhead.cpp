#include "platform/media/MediaReadAhead.h"

#include "platform/media/ReadAheadQueue.h"
#include "platform/media/TagReader.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace platform {

MediaReadAhead::MediaReadAhead(const QStringList& paths)
    : queue_(std::make_unique<Queue>(paths)), outer_(std::exchange(current(), queue_.get())) {}

MediaReadAhead::~MediaReadAhead() {
    current() = outer_;
}

MediaReadAhead::Queue*& MediaReadAhead::current() {
    thread_local Queue* queue = nullptr;
    return queue;
}

MediaReadAhead::Queue::Queue(QStringList paths)
    : paths_(std::move(paths)), tags_(std::min(size(), kAhead)), ready_(kAhead / kBlock) {
    // Starting a thread takes as long as reading several files.
    constexpr std::size_t kWorthAThread = 2 * kBlock;
    if (size() < kWorthAThread) return;
    // One even on a single processor: it reads while the other waits for the disk.
    const unsigned cores = std::thread::hardware_concurrency();
    const unsigned threads = std::clamp(cores, 2u, kMostThreads + 1) - 1;
    try {
        for (unsigned i = 0; i < threads; ++i)
            threads_.emplace_back([this] { work(); });
    } catch (const std::system_error&) {
        // No thread to be had: the taker reads what it takes.
    }
}

MediaReadAhead::Queue::~Queue() {
    {
        const std::lock_guard lock(mutex_);
        stopped_ = true;
    }
    changed_.notify_all();
    for (std::thread& thread : threads_)
        thread.join();
}

std::optional<Tags> MediaReadAhead::Queue::take(const QString& path) {
    if (taken_ >= size() || paths_[static_cast<qsizetype>(taken_)] != path) return std::nullopt;
    if (taken_ % kBlock == 0) {
        const std::size_t block = taken_ / kBlock;
        std::unique_lock lock(mutex_);
        takenBlocks_ = block;
        changed_.notify_all();
        while (ready_[block % ready_.size()] != block + 1) {
            if (!readBlock(lock)) changed_.wait(lock);
        }
    }
    return std::exchange(tags_[taken_++ % kAhead], {});
}

bool MediaReadAhead::Queue::readBlock(std::unique_lock<std::mutex>& lock) {
    if (exhausted() || claimed_ >= takenBlocks_ + kAhead / kBlock) return false;
    const std::size_t block = claimed_++;
    lock.unlock();
    const std::size_t end = std::min((block + 1) * kBlock, size());
    for (std::size_t i = block * kBlock; i < end && !stopped_; ++i)
        tags_[i % kAhead] = tagsOfFile(paths_[static_cast<qsizetype>(i)]);
    lock.lock();
    ready_[block % ready_.size()] = block + 1;
    changed_.notify_all();
    return true;
}

void MediaReadAhead::Queue::work() {
    std::unique_lock lock(mutex_);
    while (!stopped_ && !exhausted()) {
        if (!readBlock(lock)) changed_.wait(lock);
    }
}

}  // namespace platform
