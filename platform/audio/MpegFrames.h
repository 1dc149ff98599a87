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
    int samplesPerFrame = 0;
    int64_t skip = 0;    ///< Decoded samples before the song's first.
    int64_t length = 0;  ///< Samples of the song.
};

/// Walks the frame headers of an MPEG audio file, past its tags and past broken stretches. Absent
/// when no run of frames starts within the first mebibyte after the leading tags.
std::optional<MpegFrames> readMpegFrames(const QByteArray& bytes);

}  // namespace platform::audio
