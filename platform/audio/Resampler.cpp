#include "platform/audio/Resampler.h"

#include <algorithm>

extern "C" {
#include <libavutil/opt.h>
}

namespace platform::audio {

Resampler::Resampler(int from, int to) {
    AVChannelLayout stereo = AV_CHANNEL_LAYOUT_STEREO;
    SwrContext* context = nullptr;
    swr_alloc_set_opts2(&context, &stereo, AV_SAMPLE_FMT_FLT, to, &stereo, AV_SAMPLE_FMT_FLT, from,
                        0, nullptr);
    converter_.reset(context);
    if (!context) return;
    // Chosen by measurement, docs/sound.md.
    av_opt_set_int(context, "resampler", SWR_ENGINE_SOXR, 0);
    av_opt_set_double(context, "precision", 20, 0);
    if (swr_init(context) < 0) converter_.reset();
}

size_t Resampler::process(const float* in, size_t inFrames, float* out, size_t outFrames) {
    if (!converter_) return 0;
    auto* to = reinterpret_cast<uint8_t*>(out);
    const auto* from = reinterpret_cast<const uint8_t*>(in);
    const int got = swr_convert(converter_.get(), &to, static_cast<int>(outFrames), &from,
                                static_cast<int>(inFrames));
    return static_cast<size_t>(std::max(0, got));
}

size_t Resampler::drain(float* out, size_t outFrames) {
    if (!converter_) return 0;
    auto* to = reinterpret_cast<uint8_t*>(out);
    const int got = swr_convert(converter_.get(), &to, static_cast<int>(outFrames), nullptr, 0);
    return static_cast<size_t>(std::max(0, got));
}

}  // namespace platform::audio
