#pragma once

#include "platform/audio/FrameRing.h"

#include <atomic>
#include <cstdint>

namespace platform::audio {

/// A stream's frames laid on its song's samples: frame `frame` of the stream stands for the instant
/// of the song's sample `sample`, and the others follow at the stream's rate. Either may lie
/// outside of what is played.
struct FrameGrid {
    int64_t sample = 0;
    int64_t frame = 0;
};

/// A stretch of a song on its way to the callback, decoded and resampled: from `start` on to the
/// song's end. The plain fields are set before the lane is offered and stay while it plays.
struct Lane {
    explicit Lane(size_t frames) : ring(frames) {}

    FrameRing ring;
    std::atomic<bool> complete = false;  ///< The song's last frame is in the ring or went through.
    int rate = 0;                        ///< Frames per second.
    double start = 0;                    ///< The first frame's time in the song, in seconds; below
                                         ///< 0 where the end of the song before comes first.
    uint64_t request = 0;                ///< The number of the request that it answers.
    FrameGrid grid;                      ///< Where its frames lie in the song.
    const Lane* after = nullptr;         ///< A successor's: the lane that it goes on from ...
    uint64_t at = 0;                     ///< ... in place of that one's frame of this index.
};

}  // namespace platform::audio
