#include "platform/media/MediaReadAhead.h"

#include "platform/media/ReadAheadQueue.h"

#include <algorithm>
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
    : paths_(std::move(paths)), items_(std::min(size(), kAhead)), ready_(kAhead / kBlock) {
    // Starting a thread takes as long as reading several files.
    constexpr std::size_t kWorthAThread = 2 * kBlock;
    if (size() < kWorthAThread) return;
    // One even on a single processor: it reads while the other waits for the disk.
    const unsigned cores = std::thread::hardware_concurrency();
    const unsigned threads = std::clamp(cores, 2u, kMostThreads + 1) - 1;
    for (unsigned i = 0; i < threads; ++i)
        threads_.emplace_back([this] { work(); });
}

MediaReadAhead::Queue::~Queue() {
    stopped_ = true;
    taken_ = size();
    taken_.notify_all();
    for (std::thread& thread : threads_)
        thread.join();
}

std::optional<QList<MetadataItem>> MediaReadAhead::Queue::take(const QString& path) {
    const std::size_t index = taken_;
    if (index >= size() || paths_[static_cast<qsizetype>(index)] != path) return std::nullopt;
    const std::size_t block = index / kBlock;
    std::atomic<std::size_t>& ready = ready_[block % ready_.size()];
    for (std::size_t seen = ready; seen != block + 1; seen = ready) {
        if (!readBlock()) ready.wait(seen);
    }
    QList<MetadataItem> items = std::exchange(items_[index % kAhead], {});
    taken_ = index + 1;
    if (taken_ % kBlock == 0) taken_.notify_all();
    return items;
}

bool MediaReadAhead::Queue::readBlock() {
    std::size_t block = claimed_;
    do {
        const bool fits = (block + 1) * kBlock <= taken_ / kBlock * kBlock + kAhead;
        if (block * kBlock >= size() || !fits) return false;
    } while (!claimed_.compare_exchange_weak(block, block + 1));
    const std::size_t end = std::min((block + 1) * kBlock, size());
    for (std::size_t i = block * kBlock; i < end && !stopped_; ++i)
        items_[i % kAhead] = MediaAsset::itemsOfFile(paths_[static_cast<qsizetype>(i)]);
    std::atomic<std::size_t>& ready = ready_[block % ready_.size()];
    ready = block + 1;
    ready.notify_all();
    return true;
}

void MediaReadAhead::Queue::work() {
    while (!stopped_) {
        const std::size_t taken = taken_;
        if (readBlock()) continue;
        if (exhausted()) return;
        taken_.wait(taken);
    }
}

}  // namespace platform
