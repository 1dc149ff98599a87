#pragma once

#include <QByteArray>

#include <cstdint>

namespace platform::audio {

/// What an MP4 file says about which part of an audio stream is the song. Times are in the stream's
/// own `timescale` units per second unless said otherwise.
struct Mp4Edits {
    bool plausible = true;     ///< False when the sample tables claim more samples than bytes.
    bool fragmented = false;   ///< The samples are listed along the file instead of in one table.
    uint32_t timescale = 0;    ///< 0 when the stream was not found; the rest is then meaningless.
    int64_t mediaTime = 0;     ///< Start of the song within the stream.
    double editSeconds = 0;    ///< Length of the song; 0 when not said.
    double editPrecision = 0;  ///< Unit that `editSeconds` was rounded to, in seconds.
};

/// Reads the edit list of the track with that ID (ISO/IEC 14496-12, 8.6.6) and checks all tracks'
/// tables.
Mp4Edits readMp4Edits(const QByteArray& bytes, uint32_t trackId);

/// The movie's metadata and tables, the "moov" box's content, as a part of `bytes`; empty when
/// there is none.
QByteArrayView mp4MovieBox(const QByteArray& bytes);

}  // namespace platform::audio
