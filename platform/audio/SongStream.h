#pragma once

#include "platform/audio/Lane.h"
#include "platform/audio/SongDecoder.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

struct soxr;

namespace platform::audio {

/// A song's stereo frames at any rate, from any sample on. Frame n of the stream stands for the
/// instant n / rate after the sample it was sought to; at the song's own rate the frames are its
/// samples, bit for bit.
///
/// A stream can also go on from another song's, as if both were one. At one rate, both songs'
/// samples go through the same resampler, or through none: frame for frame what one long song would
/// give. From one rate to another each has its own, and what the first one's filter still rings is
/// added to the second.
class SongStream {
  public:
    explicit SongStream(std::shared_ptr<const Song> song) : decoder_(std::move(song)) {}

    const std::shared_ptr<const Song>& sharedSong() const { return decoder_.sharedSong(); }
    const Song& song() const { return decoder_.song(); }

    /// Goes to the song's sample `sample`, to be read at `rate` frames per second from there on.
    void seek(int64_t sample, int rate);

    /// Where a stream goes on from another.
    struct Join {
        uint64_t frame = 0;  ///< The other's first frame that this one's first stands for.
        FrameGrid grid;      ///< Of this stream, in this song.
    };
    /// Goes to where a stream of `before` at `rate`, whose frames lie on `grid` there, nears its
    /// end: some milliseconds before it where a filter has to be in full swing, else at the end.
    Join follow(const std::shared_ptr<const Song>& before, const FrameGrid& grid, int rate);

    /// The next `frames` frames, interleaved; returns how many there were, fewer only at the end.
    size_t read(float* stereo, size_t frames);

    /// True once the end was read and the song's last packets did not decode.
    bool brokeOff() const { return decoder_.brokeOff(); }
    /// The same of the song that this one has followed, as far as it was read.
    bool brokeOffBefore() const { return brokeOffBefore_; }

  private:
    struct Deleter {
        void operator()(soxr* resampler) const;
    };

    static size_t pull(void* self, const void** data, size_t frames);
    size_t decode(float* stereo, size_t frames);
    void makeResampler(int rate);
    void skip(size_t frames);
    Join followAsItIs(const std::shared_ptr<const Song>& before, const FrameGrid& grid);
    Join followResampled(const std::shared_ptr<const Song>& before, const FrameGrid& grid,
                         int rate);
    Join followAtOtherRate(const std::shared_ptr<const Song>& before, const FrameGrid& grid,
                           int rate);

    std::optional<SongDecoder> before_;  // the song that is followed, until it ends
    std::unique_ptr<SongStream> tail_;   // the same at another rate, until it rings no more
    bool brokeOffBefore_ = false;
    SongDecoder decoder_;
    size_t silenceAfter_ = 0;                   // frames to come after the song's end
    std::unique_ptr<soxr, Deleter> resampler_;  // none where the rates are the same
    std::vector<float> decoded_;                // the resampler's next input
    std::vector<float> added_;                  // of the tail
};

}  // namespace platform::audio
