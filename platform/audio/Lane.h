#pragma once

#include "platform/audio/FrameRing.h"

#include <atomic>
#include <cstdint>

namespace platform::audio {

/// A stretch of a song on its way to the callback, decoded and resampled: from `start` on to the
/// song's end. The plain fields are set before the lane is offered and stay while it plays.
struct Lane {
    explicit Lane(size_t frames) : ring(frames) {}

    FrameRing ring;
    std::atomic<bool> complete = false;  ///< The song's last frame is in the ring or went through.
    int rate = 0;                        ///< Frames per second.
    double start = 0;                    ///< The first frame's time in the song, in seconds.
    uint64_t request = 0;                ///< The number of the request that it answers.
};

}  // namespace platform::audio
