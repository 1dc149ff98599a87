#pragma once

#include "platform/audio/PacketDecoder.h"
#include "platform/audio/Song.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace platform::audio {

/// Decodes a song to stereo, from any sample on. Whatever the bytes are, exactly `length` samples
/// come, all of them finite: what does not decode is silence. Mono comes on both channels alike,
/// more than two channels are mixed down to two.
class SongDecoder {
  public:
    explicit SongDecoder(std::shared_ptr<const Song> song);

    const std::shared_ptr<const Song>& sharedSong() const { return song_; }
    const Song& song() const { return *song_; }

    /// Goes to the song's sample `sample`; what is read next is the same as if everything before
    /// had been read: bit for bit with MPEG audio, AAC, Vorbis and lossless codecs. It is close,
    /// but not the same, where a decoder draws noise from one sequence for the whole song (AC-3,
    /// and AAC where the encoder left noise to it) or never forgets (Opus), and in a part of a song
    /// that has another rate than its beginning. Before 0 the song is silent.
    void seek(int64_t sample);

    /// Decodes the next `frames` frames into `stereo`, left and right interleaved. Returns how many
    /// there were, fewer only at the song's end.
    size_t read(float* stereo, size_t frames);

    /// True once the song's end was read and its last packets did not decode.
    bool brokeOff() const { return brokeOff_; }

  private:
    void restart();
    bool decodeNext();
    bool takeBlock(int64_t start);
    void append(const AVFrame& frame);
    void convert(const AVFrame* frame);
    bool prepareConverter(const SampleFormat& format, const AVFrame& frame);
    bool resamples() const { return converter_ && converted_.rate != song_->rate; }
    size_t prerollStart(size_t packet) const;

    std::shared_ptr<const Song> song_;
    PacketDecoder decoder_;
    ConverterPointer converter_;
    SampleFormat converted_ = {AV_SAMPLE_FMT_NONE, 0, 0, 0};
    int convertedChannels_ = 0;
    size_t nextPacket_ = 0;
    int64_t position_ = 0;      // next sample to read, as the song counts
    std::vector<float> block_;  // decoded stereo samples ...
    int64_t blockStart_ = 0;    // ... from here on, as the packets count
    int64_t blockFrames_ = 0;
    int64_t lastDecodedEnd_ = 0;
    static constexpr int64_t kNoFlow = -1;
    int64_t flowEnd_ = kNoFlow;  // of a block that the next has to follow
    bool brokeOff_ = false;
};

}  // namespace platform::audio
