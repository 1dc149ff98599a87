#pragma once

#include "platform/audio/FfmpegPointers.h"
#include "platform/audio/Song.h"

#include <cstddef>

namespace platform::audio {

/// What a decoded frame holds.
struct SampleFormat {
    AVSampleFormat format;
    int rate;
    int channels;
    int samples;  ///< Of this frame, per channel.
};

SampleFormat formatOf(const AVFrame& frame);

/// One codec at work: packets in, frames out.
class PacketDecoder {
  public:
    explicit PacketDecoder(const AVCodecParameters& parameters);

    /// False when there is no decoder for these parameters; nothing else may then be called.
    bool isOpen() const { return context_ != nullptr; }

    /// The frame that the song's packet decodes to; null when it gives none, or one at a rate
    /// that no sound has. Valid until the next call.
    const AVFrame* decode(const Song& song, size_t packet);

    /// Forgets all packets before.
    void flush();

  private:
    CodecContextPointer context_;
    PacketPointer packet_;
    FramePointer frame_;
};

}  // namespace platform::audio
