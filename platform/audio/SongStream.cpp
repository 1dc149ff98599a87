#include "platform/audio/SongStream.h"

#include <soxr.h>

#include <algorithm>
#include <numeric>
#include <utility>

namespace platform::audio {

namespace {

// Bits, chosen by measurement: docs/sound.md.
constexpr unsigned long kPrecision = SOXR_20_BITQ;
// Decoded at once for the resampler.
constexpr size_t kPullFrames = 1152;
// Sound before the start that the resampler is given, so that its filter is in full swing there.
constexpr int64_t kHistoryFrames = 1024;
// How long before its end a song's frames begin to know of the next song's, and how long after it
// they ring: more than half of the resampler's filter.
constexpr int64_t kSpliceSamples = 512;

int64_t floorOf(int64_t value, int64_t divisor) {
    return value / divisor - (value % divisor < 0 ? 1 : 0);
}

/// The shortest stretch that holds whole numbers of a song's samples and of a stream's frames.
struct Period {
    Period(int songRate, int rate)
        : samples(songRate / std::gcd(songRate, rate)), frames(rate / std::gcd(songRate, rate)) {}

    /// Whole periods within so many samples; at least as many as hold them.
    int64_t within(int64_t count) const { return floorOf(count, samples); }
    int64_t holding(int64_t count) const { return floorOf(count + samples - 1, samples); }
    /// The last frame before the sample `sample` or on it; the one nearest to it.
    int64_t frameBefore(int64_t sample) const { return frameAt(sample, 0); }
    int64_t frameNear(int64_t sample) const { return frameAt(sample, samples); }

    int64_t samples;
    int64_t frames;

  private:
    int64_t frameAt(int64_t sample, int64_t half) const {
        const int64_t periods = within(sample);
        const int64_t rest = sample - periods * samples;
        return periods * frames + (2 * rest * frames + half) / (2 * samples);
    }
};

}  // namespace

void SongStream::Deleter::operator()(soxr* resampler) const {
    soxr_delete(resampler);
}

void SongStream::makeResampler(int rate) {
    decoded_.resize(2 * kPullFrames);
    const soxr_io_spec_t format = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
    const soxr_quality_spec_t quality = soxr_quality_spec(kPrecision, 0);
    const soxr_runtime_spec_t oneThread = soxr_runtime_spec(1);
    resampler_.reset(soxr_create(song().rate, rate, 2, nullptr, &format, &quality, &oneThread));
    soxr_set_input_fn(resampler_.get(), &SongStream::pull, this, kPullFrames);
}

void SongStream::seek(int64_t sample, int rate) {
    before_.reset();
    tail_.reset();
    resampler_.reset();
    if (rate == song().rate) {
        decoder_.seek(sample);
        return;
    }
    makeResampler(rate);
    const Period period(song().rate, rate);
    const int64_t periods = period.holding(kHistoryFrames);
    decoder_.seek(sample - periods * period.samples);
    skip(static_cast<size_t>(periods * period.frames));
}

SongStream::Join SongStream::follow(const std::shared_ptr<const Song>& before,
                                    const FrameGrid& grid, int rate) {
    brokeOffBefore_ = false;
    if (before->rate != song().rate) return followAtOtherRate(before, grid, rate);
    return rate == song().rate ? followAsItIs(before, grid) : followResampled(before, grid, rate);
}

SongStream::Join SongStream::followAsItIs(const std::shared_ptr<const Song>& before,
                                          const FrameGrid& grid) {
    seek(0, song().rate);
    return {static_cast<uint64_t>(std::max<int64_t>(grid.frame + before->length - grid.sample, 0)),
            {}};
}

SongStream::Join SongStream::followResampled(const std::shared_ptr<const Song>& before,
                                             const FrameGrid& grid, int rate) {
    const Period period(song().rate, rate);
    const int64_t left = before->length - grid.sample;
    const int64_t splice =
        std::max<int64_t>(grid.frame + period.frameBefore(left - kSpliceSamples), 0);
    // Whole periods from the grid's sample on, so that the frames fall where the other's do.
    const int64_t periods = period.within(left - kSpliceSamples - kHistoryFrames);
    seek(0, song().rate);
    makeResampler(rate);
    before_.emplace(before);
    before_->seek(grid.sample + periods * period.samples);
    skip(static_cast<size_t>(splice - grid.frame - periods * period.frames));
    return {static_cast<uint64_t>(splice), {grid.sample - before->length, grid.frame - splice}};
}

SongStream::Join SongStream::followAtOtherRate(const std::shared_ptr<const Song>& before,
                                               const FrameGrid& grid, int rate) {
    const Period other(before->rate, rate);
    const Period own(song().rate, rate);
    const int64_t lead = own.holding(kSpliceSamples);
    // The songs' samples need not lie on each other: this one begins on the nearest frame.
    const int64_t end = grid.frame + other.frameNear(before->length - grid.sample);
    const int64_t first = end - lead * own.frames;
    const int64_t splice = std::max<int64_t>(first, 0);
    const int64_t periods = floorOf(splice - grid.frame, other.frames);
    auto tail = std::make_unique<SongStream>(before);
    tail->silenceAfter_ = kSpliceSamples;
    tail->seek(grid.sample + periods * other.samples, rate);
    tail->skip(static_cast<size_t>(splice - grid.frame - periods * other.frames));
    seek(-lead * own.samples, rate);
    skip(static_cast<size_t>(splice - first));
    tail_ = std::move(tail);
    return {static_cast<uint64_t>(splice), {-lead * own.samples, first - splice}};
}

void SongStream::skip(size_t frames) {
    std::vector<float> skipped(2 * kPullFrames);
    while (frames > 0) {
        const size_t got = read(skipped.data(), std::min(frames, kPullFrames));
        if (got == 0) return;
        frames -= got;
    }
}

size_t SongStream::read(float* stereo, size_t frames) {
    const size_t got =
        resampler_ ? soxr_output(resampler_.get(), stereo, frames) : decode(stereo, frames);
    if (!tail_) return got;
    added_.resize(2 * frames);
    const size_t ringing = tail_->read(added_.data(), got);
    for (size_t i = 0; i < 2 * ringing; ++i)
        stereo[i] += added_[i];
    if (ringing < got) {
        brokeOffBefore_ = tail_->brokeOff();
        tail_.reset();
    }
    return got;
}

size_t SongStream::decode(float* stereo, size_t frames) {
    size_t got = 0;
    if (before_) {
        got = before_->read(stereo, frames);
        if (got == frames) return got;
        brokeOffBefore_ = before_->brokeOff();
        before_.reset();
    }
    got += decoder_.read(stereo + 2 * got, frames - got);
    const size_t silence = std::min(frames - got, silenceAfter_);
    std::fill_n(stereo + 2 * got, 2 * silence, 0.0F);
    silenceAfter_ -= silence;
    return got + silence;
}

size_t SongStream::pull(void* self, const void** data, size_t frames) {
    auto& stream = *static_cast<SongStream*>(self);
    *data = stream.decoded_.data();
    return stream.decode(stream.decoded_.data(), std::min(frames, kPullFrames));
}

}  // namespace platform::audio
