#pragma once

#include "platform/audio/SongDecoder.h"

#include <cstdint>
#include <memory>
#include <vector>

struct soxr;

namespace platform::audio {

/// A song's stereo frames at any rate, from any sample on. Frame n of the stream stands for the
/// instant n / rate after the sample it was sought to; at the song's own rate the frames are its
/// samples, bit for bit.
class SongStream {
  public:
    explicit SongStream(std::shared_ptr<const Song> song) : decoder_(std::move(song)) {}

    const Song& song() const { return decoder_.song(); }

    /// Goes to the song's sample `sample`, to be read at `rate` frames per second from there on.
    void seek(int64_t sample, int rate);

    /// The next `frames` frames, interleaved; returns how many there were, fewer only at the end.
    size_t read(float* stereo, size_t frames);

    /// True once the end was read and the song's last packets did not decode.
    bool brokeOff() const { return decoder_.brokeOff(); }

  private:
    struct Deleter {
        void operator()(soxr* resampler) const;
    };

    static size_t pull(void* self, const void** data, size_t frames);
    void skip(size_t frames);

    SongDecoder decoder_;
    std::unique_ptr<soxr, Deleter> resampler_;  // none where the rates are the same
    std::vector<float> decoded_;                // the resampler's next input
};

}  // namespace platform::audio
