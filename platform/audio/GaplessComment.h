#pragma once

#include <QByteArrayView>

#include <cstdint>
#include <optional>

namespace platform::audio {

/// What an "iTunSMPB" comment says about the encoder's padding, in samples.
struct GaplessComment {
    int64_t delay;    ///< Before the song.
    int64_t padding;  ///< After the song.
    int64_t length;   ///< Of the song; greater than 0.
};

/// The first gapless comment within the bytes of a tag (ID3v2 or MP4); absent when there is none
/// or its numbers make no sense.
std::optional<GaplessComment> readGaplessComment(QByteArrayView tag);

}  // namespace platform::audio
