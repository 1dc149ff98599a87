#pragma once

#include "platform/audio/FfmpegPointers.h"

#include <cstddef>

namespace platform::audio {

/// Turns a stereo stream of one sampling rate into another, without delay: the first frame out
/// stands for the same instant as the first frame in.
class Resampler {
  public:
    /// Rates in samples per second.
    Resampler(int from, int to);

    /// Takes all `inFrames` frames and gives up to `outFrames`, as many as are ready; returns how
    /// many. What is ready beyond that comes with the next call.
    size_t process(const float* in, size_t inFrames, float* out, size_t outFrames);

    /// Gives what is left after the last frame in, up to `outFrames`; 0 when all was given.
    size_t drain(float* out, size_t outFrames);

  private:
    ConverterPointer converter_;
};

}  // namespace platform::audio
