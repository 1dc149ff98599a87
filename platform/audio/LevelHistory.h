#pragma once

#include "platform/audio/SoundLevel.h"
#include "platform/audio/ThreadRole.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>

namespace platform::audio {

/// What the callback has delivered of a voice in the last half second, for whoever wants to know
/// how loud that is once it has reached the listener. The callback never waits, and nobody for it.
class LevelHistory {
  public:
    /// Adds stereo frames at `rate`, the last of which stands for the time `end` in nanoseconds.
    /// Callback only.
    void add(std::span<const float> stereo, int rate, int64_t end) {
        expectRole(ThreadRole::Callback);
        for (size_t i = 0; i + 1 < stereo.size(); i += 2) {
            peak_ = std::max({peak_, std::abs(stereo[i]), std::abs(stereo[i + 1])});
            left_ += stereo[i] * stereo[i];
            right_ += stereo[i + 1] * stereo[i + 1];
        }
        frames_ += stereo.size() / 2;
        // Blocks may be of any length.
        if (frames_ * kSlotsPerSecond < static_cast<size_t>(rate)) return;
        const uint64_t count = count_.load(std::memory_order_relaxed);
        Slot& slot = slots_[count % kSlots];
        const float power = std::max(left_, right_) / static_cast<float>(frames_);
        slot.end.store(end, std::memory_order_release);
        slot.level.store(packed(peak_, power), std::memory_order_release);
        count_.store(count + 1, std::memory_order_release);
        peak_ = left_ = right_ = 0;
        frames_ = 0;
    }

    /// The level at that time: the peak of the last 30 ms, the loudness of the last 100. Silence
    /// where nothing was delivered for then. Any thread.
    SoundLevel at(int64_t time) const {
        SoundLevel level;
        float powers = 0;
        int counted = 0;
        const uint64_t count = count_.load(std::memory_order_acquire);
        // From the newest back; the oldest may be in the making again.
        for (uint64_t i = 1; i <= std::min<uint64_t>(count, kSlots - 1); ++i) {
            const Slot& slot = slots_[(count - i) % kSlots];
            const int64_t end = slot.end.load(std::memory_order_acquire);
            if (end > time) continue;
            if (end <= time - kLoudnessNanoseconds) break;
            const uint64_t packed = slot.level.load(std::memory_order_acquire);
            if (end > time - kPeakNanoseconds)
                level.peak = std::max(level.peak, std::bit_cast<float>(uint32_t(packed >> 32)));
            powers += std::bit_cast<float>(uint32_t(packed));
            ++counted;
        }
        if (counted > 0) level.loudness = std::sqrt(powers / static_cast<float>(counted));
        return level;
    }

  private:
    static constexpr size_t kSlotsPerSecond = 200;
    static constexpr size_t kSlots = 128;
    static constexpr int64_t kPeakNanoseconds = 30'000'000;
    static constexpr int64_t kLoudnessNanoseconds = 100'000'000;

    struct Slot {
        std::atomic<int64_t> end = INT64_MIN;
        std::atomic<uint64_t> level = 0;
    };

    static uint64_t packed(float peak, float power) {
        return uint64_t{std::bit_cast<uint32_t>(peak)} << 32 | std::bit_cast<uint32_t>(power);
    }

    std::array<Slot, kSlots> slots_;
    std::atomic<uint64_t> count_ = 0;
    // The callback's own: of the slot to come.
    float peak_ = 0;
    float left_ = 0;  // energies
    float right_ = 0;
    size_t frames_ = 0;
};

}  // namespace platform::audio
