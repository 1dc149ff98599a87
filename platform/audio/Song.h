#pragma once

#include "platform/audio/FfmpegPointers.h"

#include <QByteArray>

#include <cstdint>
#include <memory>
#include <vector>

namespace platform::audio {

/// One compressed packet of a song.
struct Packet {
    int64_t offset;  ///< First byte in the song's bytes.
    int64_t start;   ///< First sample it decodes to, counted from the first packet's first sample.
    int32_t size;    ///< Bytes.
};

/// A song's container, read once: where every packet lies, which decoder takes them, and which of
/// the decoded samples belong to the song. Encoders pad a song at both ends; `skip` and `length`
/// cut that off again. Immutable once opened, so that threads may share it.
struct Song {
    QByteArray bytes;              ///< What the packets' offsets refer to.
    CodecParametersPointer codec;  ///< Of the one audio stream.
    std::vector<Packet> packets;   ///< In order of `start`; never empty.
    int rate = 0;                  ///< Decoded samples per second, greater than 0.
    int64_t skip = 0;              ///< Decoded samples before the song's first.
    int64_t length = 0;            ///< Samples of the song; at least 1.

    /// Length in seconds.
    double duration() const { return static_cast<double>(length) / rate; }
};

/// The song in an audio file's bytes; null when they hold no audio that can be decoded. Takes time
/// and memory in proportion to the bytes at most, whatever they promise.
std::shared_ptr<const Song> openSong(const QByteArray& bytes);

}  // namespace platform::audio
