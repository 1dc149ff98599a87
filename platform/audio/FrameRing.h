#pragma once

#include "platform/audio/ThreadRole.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace platform::audio {

/// Stereo frames on their way from the worker to the callback, without locks.
class FrameRing {
  public:
    /// Room for at least `frames` frames.
    explicit FrameRing(size_t frames)
        : capacity_(std::bit_ceil(std::max<size_t>(frames, 1))), samples_(2 * capacity_) {}

    size_t capacity() const { return capacity_; }

    /// Frames that can be read: for the callback at least so many, for the worker at most.
    size_t readable() const {
        return static_cast<size_t>(written_.load(std::memory_order_acquire) -
                                   read_.load(std::memory_order_acquire));
    }
    /// Frames that can be written at least.
    size_t writable() const { return capacity_ - readable(); }

    /// Writes `frames` frames, at most writable(). Worker only.
    void write(const float* stereo, size_t frames) {
        expectRole(ThreadRole::Worker);
        const uint64_t at = written_.load(std::memory_order_relaxed);
        forEachSpan(at, frames, [&](float* span, size_t done, size_t count) {
            std::copy_n(stereo + 2 * done, 2 * count, span);
        });
        written_.store(at + frames, std::memory_order_release);
    }

    /// Hands up to `frames` frames to `use(span, done, count)`, in one or two spans of `count`
    /// frames, `done` frames having gone before; returns how many there were. Callback
    /// only.
    template <typename Use>
    size_t read(size_t frames, Use use) {
        expectRole(ThreadRole::Callback);
        const uint64_t at = read_.load(std::memory_order_relaxed);
        const size_t count = std::min(frames, readable());
        forEachSpan(at, count, use);
        read_.store(at + count, std::memory_order_release);
        return count;
    }

    /// Empties the ring. Worker only, while the callback does not use it.
    void clear() {
        expectRole(ThreadRole::Worker);
        read_.store(0, std::memory_order_relaxed);
        written_.store(0, std::memory_order_release);
    }

  private:
    template <typename Use>
    void forEachSpan(uint64_t at, size_t frames, Use use) {
        const size_t start = static_cast<size_t>(at) & (capacity_ - 1);
        const size_t first = std::min(frames, capacity_ - start);
        if (first > 0) use(&samples_[2 * start], 0, first);
        if (frames > first) use(&samples_[0], first, frames - first);
    }

    const size_t capacity_;
    std::vector<float> samples_;
    // Apart from each other, so that the two threads do not share a cache line.
    alignas(64) std::atomic<uint64_t> written_ = 0;
    alignas(64) std::atomic<uint64_t> read_ = 0;
};

}  // namespace platform::audio
