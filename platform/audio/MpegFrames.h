#pragma once

#include "platform/audio/Song.h"

#include <QByteArray>

#include <cstdint>
#include <optional>
#include <vector>

namespace platform::audio {

/// The audio frames of an MPEG audio file (layer I to III).
struct MpegFrames {
    std::vector<Packet> packets;  ///< Every whole frame but the one that carries the header tag.
    int layer = 0;                ///< 1 to 3.
    int rate = 0;                 ///< Samples per second.
    int channels = 0;             ///< 1 or 2, of the first frame.
    /// The data of frames whose size no header tells, each with all that it takes from those before
    /// (an "application data unit"): the packets' offsets refer to it. Empty of other frames.
    QByteArray units;
    int64_t skip = 0;    ///< Decoded samples before the song's first.
    int64_t length = 0;  ///< Samples of the song.
};

/// Walks the frame headers of an MPEG audio file, past its tags and past broken stretches, and from
/// one song into another of another rate that was joined to it; times count the first one's
/// samples. Absent when no run of frames starts within the first mebibyte after the leading tags
/// and zeros.
std::optional<MpegFrames> readMpegFrames(const QByteArray& bytes);

}  // namespace platform::audio
