#pragma once

#include <algorithm>
#include <cstdint>

namespace platform::audio {

/// Holds a device that has no clock of its own (a null device, a file) to real time: it would take
/// a song in a second. Such a device asks for its next block as soon as it has the last; any other
/// lets the time of its blocks pass between them, now and then in one piece.
class Pacer {
  public:
    /// To be told when a block is asked for: its length and the time, in nanoseconds. Returns how
    /// long to wait before delivering it; 0 for whoever keeps time.
    int64_t asked(int64_t length, int64_t now) {
        idle_ += now - deliveredAt_;
        if (length_ >= kWindow) {
            const bool held = idle_ < length_ / 2;
            if (held && !isHeld_) until_ = now;
            isHeld_ = held;
            idle_ = length_ = 0;
        }
        length_ += length;
        if (!isHeld_) return 0;
        // A late block earns no credit.
        until_ = std::max(until_, now) + length;
        return std::max<int64_t>(0, until_ - now - kLead);
    }

    /// To be told when the block was delivered.
    void delivered(int64_t now) { deliveredAt_ = now; }

    /// Whether the device was without a clock lately; a server that makes up for a pause is, too.
    bool isHeld() const { return isHeld_; }

  private:
    // So much sound is looked at as one; buffers that are filled ahead of time hold far less.
    static constexpr int64_t kWindow = 250'000'000;
    // Within this, blocks may come when they like.
    static constexpr int64_t kLead = 30'000'000;

    int64_t deliveredAt_ = 0;
    int64_t idle_ = 0;    // within the window: between a block and the next
    int64_t length_ = 0;  // within the window: of sound
    int64_t until_ = 0;   // while held: when what was delivered will have been played
    bool isHeld_ = false;
};

}  // namespace platform::audio
