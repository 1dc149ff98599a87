#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace platform::audio {

class Voice;

/// Sums the voices into the output's stream. `render` runs on the output's real-time thread: it
/// takes no lock, allocates nothing and makes no system call.
class Mixer {
  public:
    /// More voices than that wait until one is gone.
    static constexpr size_t kMaxVoices = 64;

    /// Lets `voice` be heard; false when there are too many. It must stay until removed.
    bool add(Voice& voice);
    /// Takes `voice` out; when this returns, no thread that renders knows it any more. Waits for
    /// the end of a block at most, so it is not for the real-time thread.
    void remove(Voice& voice);
    /// Waits until no block is rendered that had begun before, as `remove` does.
    void awaitBlockEnd() const;

    /// The output's frames per second. Set while nobody renders.
    void setRate(int rate) { rate_.store(rate, std::memory_order_release); }
    int rate() const { return rate_.load(std::memory_order_acquire); }

    /// Seconds from the delivery of a block to the hearing of its last frame.
    void setLatency(double seconds) { latency_.store(seconds, std::memory_order_relaxed); }
    double latency() const { return latency_.load(std::memory_order_relaxed); }

    /// Fills `out` with the next `frames` stereo frames, within [-1, 1]. One thread at a time.
    void render(float* out, size_t frames);

    /// When the last block was delivered, nowNanoseconds(); 0 before the first.
    int64_t lastBlock() const { return lastBlock_.load(std::memory_order_acquire); }

    /// Frames of songs delivered so far, and frames that were due while their voice had none: the
    /// interruptions. Both count all voices, since the start.
    uint64_t deliveredFrames() const { return delivered_.load(std::memory_order_acquire); }
    uint64_t missingFrames() const { return missing_.load(std::memory_order_acquire); }

  private:
    std::array<std::atomic<Voice*>, kMaxVoices> voices_ = {};
    std::atomic<int> rate_ = 48000;
    std::atomic<double> latency_ = 0;
    std::atomic<int64_t> lastBlock_ = 0;
    std::atomic<uint64_t> delivered_ = 0;
    std::atomic<uint64_t> missing_ = 0;
    std::atomic<uint64_t> edges_ = 0;  // starts and ends of blocks: odd while one is rendered
};

}  // namespace platform::audio
