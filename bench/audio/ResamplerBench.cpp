// The candidates for the resampler, each with its quality and its cost; docs/sound.md has the
// choice. The tones and limits are those that the engine is held to.

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}
#include "bench/Figures.h"
#include "tests/platform/audio/Signals.h"

#include <samplerate.h>
#include <soxr.h>

#include <chrono>
#include <cstring>
#include <functional>
#include <string>

namespace {

using platform::audio::decibel;
using platform::audio::fitTone;
using platform::audio::rootMeanSquare;
using platform::audio::sine;

using Samples = std::vector<float>;
using Resample = std::function<Samples(const Samples& stereo, int from, int to)>;

size_t outputFrames(const Samples& in, int from, int to) {
    return in.size() / 2 * static_cast<size_t>(to) / static_cast<size_t>(from);
}

Samples throughSwr(const Samples& in, int from, int to,
                   const std::vector<std::pair<const char*, double>>& options) {
    AVChannelLayout stereo = AV_CHANNEL_LAYOUT_STEREO;
    SwrContext* context = nullptr;
    swr_alloc_set_opts2(&context, &stereo, AV_SAMPLE_FMT_FLT, to, &stereo, AV_SAMPLE_FMT_FLT, from,
                        0, nullptr);
    for (const auto& [name, value] : options)
        av_opt_set_double(context, name, value, 0);
    swr_init(context);
    Samples out(2 * (outputFrames(in, from, to) + 64));
    auto* to8 = reinterpret_cast<uint8_t*>(out.data());
    const auto* from8 = reinterpret_cast<const uint8_t*>(in.data());
    const int got = swr_convert(context, &to8, static_cast<int>(out.size() / 2), &from8,
                                static_cast<int>(in.size() / 2));
    swr_free(&context);
    out.resize(2 * static_cast<size_t>(std::max(0, got)));
    return out;
}

Samples throughSoxr(const Samples& in, int from, int to, unsigned long recipe) {
    const soxr_io_spec_t format = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
    const soxr_quality_spec_t quality = soxr_quality_spec(recipe, 0);
    const soxr_runtime_spec_t oneThread = soxr_runtime_spec(1);
    Samples out(2 * outputFrames(in, from, to));
    size_t got = 0;
    soxr_oneshot(from, to, 2, in.data(), in.size() / 2, nullptr, out.data(), out.size() / 2, &got,
                 &format, &quality, &oneThread);
    out.resize(2 * got);
    return out;
}

Samples throughSampleRate(const Samples& in, int from, int to, int converter) {
    Samples out(2 * outputFrames(in, from, to));
    SRC_DATA data = {};
    data.data_in = in.data();
    data.input_frames = static_cast<long>(in.size() / 2);
    data.data_out = out.data();
    data.output_frames = static_cast<long>(out.size() / 2);
    data.src_ratio = static_cast<double>(to) / from;
    src_simple(&data, converter, 2);
    out.resize(2 * static_cast<size_t>(data.output_frames_gen));
    return out;
}

/// Without the ends, where the filters swing in and out.
std::span<const float> middle(const Samples& stereo) {
    const size_t margin = std::min<size_t>(stereo.size() / 4, 8192) & ~size_t(1);
    return std::span(stereo).subspan(margin, stereo.size() - 2 * margin);
}

double toneThdN(const Resample& resample, int from, int to) {
    const double level = std::pow(10, -1.0 / 20);
    const Samples out = resample(sine(1000, level, from, 2 * static_cast<size_t>(from)), from, to);
    return fitTone(middle(out), 1000, to).residueDecibel;
}

/// The largest deviation from the level of the input over the tones up to `highest`.
double ripple(const Resample& resample, int from, int to, double highest) {
    double worst = 0;
    for (const double frequency : {20.0, 1000.0, 10000.0, 15000.0, 18000.0, 19000.0, highest}) {
        const Samples out =
            resample(sine(frequency, 0.5, from, static_cast<size_t>(from)), from, to);
        worst =
            std::max(worst, std::abs(decibel(fitTone(middle(out), frequency, to).amplitude / 0.5)));
    }
    return worst;
}

double alias(const Resample& resample, int from, int to, double frequency) {
    const Samples in = sine(frequency, 1, from, static_cast<size_t>(from));
    const Samples out = resample(in, from, to);
    return decibel(rootMeanSquare(middle(out)) / rootMeanSquare(middle(in)));
}

double costPercent(const Resample& resample) {
    const Samples in = sine(1000, 0.5, 44100, size_t{44100} * 20);
    const auto start = std::chrono::steady_clock::now();
    resample(in, 44100, 48000);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    return took.count() / 20 * 100;
}

}  // namespace

int main(int argc, char** argv) {
    bench::readCommandLine(argc, argv);
    const auto swr = [](const std::vector<std::pair<const char*, double>>& options) {
        return [options](const Samples& in, int from, int to) {
            return throughSwr(in, from, to, options);
        };
    };
    const auto soxrAt = [](unsigned long recipe) {
        return [recipe](const Samples& in, int from, int to) {
            return throughSoxr(in, from, to, recipe);
        };
    };
    const auto sampleRate = [](int converter) {
        return [converter](const Samples& in, int from, int to) {
            return throughSampleRate(in, from, to, converter);
        };
    };
    const std::pair<const char*, Resample> candidates[] = {
        {"swr_default", swr({})},
        {"swr_64", swr({{"filter_size", 64}, {"phase_shift", 14}, {"cutoff", 0.97}})},
        {"swr_256", swr({{"filter_size", 256}, {"phase_shift", 10}, {"cutoff", 0.97}})},
        {"soxr_16", soxrAt(SOXR_16_BITQ)},
        {"soxr_20", soxrAt(SOXR_20_BITQ)},
        {"soxr_24", soxrAt(SOXR_24_BITQ)},
        {"soxr_28", soxrAt(SOXR_28_BITQ)},
        {"samplerate_medium", sampleRate(SRC_SINC_MEDIUM_QUALITY)},
        {"samplerate_best", sampleRate(SRC_SINC_BEST_QUALITY)},
    };
    for (const auto& [name, resample] : candidates) {
        const std::string line = std::string("sound.resampler.") + name;
        if (!bench::isAnyWanted(line)) continue;
        const auto print = [&](const char* what, double value, const char* unit) {
            bench::print(line + "." + what, value, unit);
        };
        print("thd_n_44100_48000", toneThdN(resample, 44100, 48000), "dB");
        print("thd_n_48000_44100", toneThdN(resample, 48000, 44100), "dB");
        print("thd_n_96000_48000", toneThdN(resample, 96000, 48000), "dB");
        print("ripple_44100_48000", ripple(resample, 44100, 48000, 19500), "dB");
        print("ripple_48000_44100", ripple(resample, 48000, 44100, 20000), "dB");
        print("ripple_96000_48000", ripple(resample, 96000, 48000, 20000), "dB");
        print("alias_48000_44100", alias(resample, 48000, 44100, 23000), "dB");
        print("alias_96000_48000", alias(resample, 96000, 48000, 30000), "dB");
        print("cost_44100_48000", costPercent(resample), "%");
    }
}
