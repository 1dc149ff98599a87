#pragma once

#include "platform/media/MediaReadAhead.h"
#include "platform/media/Tags.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace platform {

/// The tags of a list of files, read by several threads and taken by one, in order. The files
/// are read in blocks: each thread that is free, the taker included while it waits, claims the next
/// block. No more than kAhead files are ahead of the taker.
class MediaReadAhead::Queue {
  public:
    explicit Queue(QStringList paths);
    ~Queue();

    Queue(const Queue&) = delete;
    Queue& operator=(const Queue&) = delete;

    /// The tags of the next file if it is the one at `path`; absent if it is another.
    std::optional<Tags> take(const QString& path);

  private:
    static constexpr std::size_t kBlock = 16;
    static constexpr std::size_t kAhead = 64 * kBlock;
    static constexpr unsigned kMostThreads = 3;

    std::size_t size() const { return static_cast<std::size_t>(paths_.size()); }
    bool exhausted() const { return claimed_ * kBlock >= size(); }
    // Claims the next block and reads it, letting go of `lock` meanwhile; false when none may be
    // read now.
    bool readBlock(std::unique_lock<std::mutex>& lock);
    void work();

    const QStringList paths_;
    std::vector<Tags> tags_;  // of file i at i modulo kAhead
    std::size_t taken_ = 0;   // files; the taker's own
    std::atomic<bool> stopped_ = false;

    std::mutex mutex_;  // of what follows
    std::condition_variable changed_;
    std::vector<std::size_t> ready_;  // at block b modulo its size: b + 1 once read
    std::size_t claimed_ = 0;         // blocks
    std::size_t takenBlocks_ = 0;

    std::vector<std::thread> threads_;
};

}  // namespace platform
