#include "platform/audio/SongStream.h"

#include <soxr.h>

#include <algorithm>
#include <numeric>

namespace platform::audio {

namespace {

// Bits, chosen by measurement: docs/sound.md.
constexpr unsigned long kPrecision = SOXR_20_BITQ;
// Decoded at once for the resampler.
constexpr size_t kPullFrames = 1152;
// Sound before the start that the resampler is given, so that its filter is in full swing there.
constexpr int kHistoryFrames = 1024;

}  // namespace

void SongStream::Deleter::operator()(soxr* resampler) const {
    soxr_delete(resampler);
}

void SongStream::seek(int64_t sample, int rate) {
    const int songRate = song().rate;
    resampler_.reset();
    if (rate == songRate) {
        decoder_.seek(sample);
        return;
    }
    decoded_.resize(2 * kPullFrames);
    const soxr_io_spec_t format = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
    const soxr_quality_spec_t quality = soxr_quality_spec(kPrecision, 0);
    const soxr_runtime_spec_t oneThread = soxr_runtime_spec(1);
    resampler_.reset(soxr_create(songRate, rate, 2, nullptr, &format, &quality, &oneThread));
    soxr_set_input_fn(resampler_.get(), &SongStream::pull, this, kPullFrames);
    // A whole number of periods of both rates, so that the frames stay where they would be.
    const int common = std::gcd(rate, songRate);
    const int periods = (kHistoryFrames * common + songRate - 1) / songRate;
    decoder_.seek(sample - static_cast<int64_t>(periods) * (songRate / common));
    skip(static_cast<size_t>(periods) * static_cast<size_t>(rate / common));
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
    if (!resampler_) return decoder_.read(stereo, frames);
    return soxr_output(resampler_.get(), stereo, frames);
}

size_t SongStream::pull(void* self, const void** data, size_t frames) {
    auto& stream = *static_cast<SongStream*>(self);
    *data = stream.decoded_.data();
    return stream.decoder_.read(stream.decoded_.data(), std::min(frames, kPullFrames));
}

}  // namespace platform::audio
