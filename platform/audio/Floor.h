#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>

namespace platform::audio {

/// Says whose turn it is to render: one speaker at a time, of several that each believe that it is
/// theirs. A device that was given up for dead may ask for a block at any moment, also when what it
/// would render is long gone; it finds that it has not got the floor.
class Floor {
  public:
    using Speaker = uint64_t;
    static constexpr Speaker kNobody = 0;

    /// Gives the floor to `speaker`; when this returns, nobody else renders any more. Waits for the
    /// end of a block at most. One thread only.
    void give(Speaker speaker) {
        uint64_t quiet = state_.load() & ~kBusy;
        while (!state_.compare_exchange_strong(quiet, speaker << 1)) {
            quiet &= ~kBusy;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    /// Calls `body` if `speaker` has the floor, and tells whether it did. Never waits.
    template <typename Body>
    bool speak(Speaker speaker, Body body) {
        uint64_t own = speaker << 1;
        if (!state_.compare_exchange_strong(own, own | kBusy)) return false;
        body();
        state_.store(own);
        return true;
    }

  private:
    static constexpr uint64_t kBusy = 1;
    std::atomic<uint64_t> state_ = kNobody << 1;
};

}  // namespace platform::audio
