#include "platform/image/BlurKernels.h"

// Vectors whose length shows only at run time can be neither members nor elements of an array, as
// the filter's states are. A processor that has them takes its fixed ones.
#define HWY_DISABLED_TARGETS (HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)

#include <hwy/cache_control.h>

#include <algorithm>
#include <cstring>

#if HWY_ARCH_X86
#include <pmmintrin.h>
#endif

// The instruction sets that the code below is compiled for, the best chosen at run time: the plain
// one is the fallback, compiled though every supported machine has better, so that it is tested.
#define HWY_COMPILE_ALL_ATTAINABLE
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/image/BlurKernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

// Positions are counted in 64 bits; lanes and chains, of which there are few, in any type.
// NOLINTBEGIN(bugprone-implicit-widening-of-multiplication-result)
HWY_BEFORE_NAMESPACE();
namespace platform {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Floats = hn::CappedTag<float, kBundleLanes>;
using Vector = hn::Vec<Floats>;
using Ints = hn::Rebind<int32_t, Floats>;

constexpr Floats kFloats;
constexpr int kLanes = static_cast<int>(hn::MaxLanes(kFloats));
// How far ahead of the first run, in bytes, samples are fetched: strips come from memory, faster
// than the machine fetches them by itself.
constexpr int64_t kFetchedAhead = 2048;
// Two vectors' worth of chains hides the recursion's latency and still fits the registers.
constexpr int kChains = std::min(2, kBundleLanes / kLanes);

template <typename Sample>
HWY_INLINE Vector loadSamples(const Sample* samples) {
    const hn::Rebind<Sample, Floats> tag;
    return hn::ConvertTo(kFloats, hn::PromoteTo(Ints(), hn::Load(tag, samples)));
}

// What multiplies the states of a run. The constructors here and below are written out, as
// generated ones would miss the target's attributes, and the members named one by one: as arrays
// GCC 12 leaves them in memory, and a run with AVX2 takes a fifth more time.
struct Feedback {
    Vector a1, a2, b1, b2, c1;

    HWY_INLINE explicit Feedback(const RecursiveGaussian& filter) {
        a1 = hn::Set(kFloats, filter.feedback[0]);
        a2 = hn::Set(kFloats, filter.feedback[1]);
        b1 = hn::Set(kFloats, filter.feedback[2]);
        b2 = hn::Set(kFloats, filter.feedback[3]);
        c1 = hn::Set(kFloats, filter.feedback[4]);
    }
};

// One vector's run along the line; `states` holds a bundle's lanes of each state.
struct Run {
    Vector a1, a2, b1, b2, c1;

    HWY_INLINE Run() {}
    HWY_INLINE void begin(const float* states) {
        a1 = hn::Load(kFloats, states);
        a2 = hn::Load(kFloats, states + kBundleLanes);
        b1 = hn::Load(kFloats, states + 2 * kBundleLanes);
        b2 = hn::Load(kFloats, states + 3 * kBundleLanes);
        c1 = hn::Load(kFloats, states + 4 * kBundleLanes);
    }
    HWY_INLINE Vector feed(const Feedback& feedback, Vector x) {
        const Vector a = hn::MulAdd(feedback.a1, a1, hn::MulAdd(feedback.a2, a2, x));
        const Vector b = hn::MulAdd(feedback.b1, b1, hn::MulAdd(feedback.b2, b2, a));
        a2 = a1;
        a1 = a;
        b2 = b1;
        b1 = b;
        c1 = hn::MulAdd(feedback.c1, c1, b);
        return c1;
    }
    HWY_INLINE void end(float* states) const {
        hn::Store(a1, kFloats, states);
        hn::Store(a2, kFloats, states + kBundleLanes);
        hn::Store(b1, kFloats, states + 2 * kBundleLanes);
        hn::Store(b2, kFloats, states + 3 * kBundleLanes);
        hn::Store(c1, kFloats, states + 4 * kBundleLanes);
    }
};

template <typename Sample>
HWY_NOINLINE void runForward(const RecursiveGaussian& filter, const Sample* samples, int length,
                             float* line, float* states) {
    const Feedback feedback(filter);
    Run runs[kChains];
    for (int c = 0; c < kChains; ++c)
        runs[c].begin(states + c * kLanes);
    for (int i = 0; i < length; ++i, samples += kBundleLanes, line += kBundleLanes) {
        hwy::Prefetch(samples + kFetchedAhead / static_cast<int64_t>(sizeof(Sample)));
#pragma GCC unroll 4
        for (int c = 0; c < kChains; ++c)
            hn::Store(runs[c].feed(feedback, loadSamples(samples + c * kLanes)), kFloats,
                      line + c * kLanes);
    }
    for (int c = 0; c < kChains; ++c)
        runs[c].end(states + c * kLanes);
}

// Calls `take(i, lane, vector)` with the response at each position i, from the last to the first.
template <typename Take>
HWY_NOINLINE void runBackward(const RecursiveGaussian& filter, const float* line, int length,
                              const float* states, const Take& take) {
    const Feedback feedback(filter);
    Run runs[kChains];
    for (int c = 0; c < kChains; ++c)
        runs[c].begin(states + c * kLanes);
    for (int64_t i = length - 1; i >= 0; --i) {
        const float* const in = line + i * kBundleLanes;
#pragma GCC unroll 4
        for (int c = 0; c < kChains; ++c)
            take(i, c * kLanes, runs[c].feed(feedback, hn::Load(kFloats, in + c * kLanes)));
    }
}

void turnAround(const RecursiveGaussian& filter, float* states) {
    constexpr int kStates = RecursiveGaussian::kStates;
    for (int lane = 0; lane < kBundleLanes; lane += kLanes) {
        Vector turned[kStates];
        for (int i = 0; i < kStates; ++i) {
            turned[i] = hn::Zero(kFloats);
            for (int j = 0; j < kStates; ++j) {
                const Vector state = hn::Load(kFloats, states + j * kBundleLanes + lane);
                turned[i] = hn::MulAdd(hn::Set(kFloats, filter.turn[i][j]), state, turned[i]);
            }
        }
        for (int i = 0; i < kStates; ++i)
            hn::Store(turned[i], kFloats, states + i * kBundleLanes + lane);
    }
}

template <typename Sample, typename Take>
void filterRecursively(const RecursiveGaussian& filter, const Sample* samples, int length,
                       float* line, const Take& take) {
    // Zero states before the first sample are exact: all is transparent out there.
    alignas(64) float states[RecursiveGaussian::kStates * kBundleLanes] = {};
    constexpr int kLanesAtOnce = kChains * kLanes;
    for (int lane = 0; lane < kBundleLanes; lane += kLanesAtOnce)
        runForward(filter, samples + lane, length, line + lane, states + lane);
    turnAround(filter, states);
    for (int lane = 0; lane < kBundleLanes; lane += kLanesAtOnce)
        runBackward(filter, line + lane, length, states + lane, take.from(lane));
}

// Blurs by the weights themselves, in blocks that stay in the nearest cache.
template <typename Sample>
void convolve(const std::vector<float>& weights, const Sample* samples, int length, float* line) {
    constexpr int kBlock = 64;
    constexpr int kMostReach = 5 * static_cast<int>(RecursiveGaussian::kLeastSigma);
    alignas(64) float block[(kBlock + 2 * kMostReach) * kBundleLanes];
    const int reach = static_cast<int>(weights.size()) - 1;
    for (int64_t begin = 0; begin < length; begin += kBlock) {
        const int64_t end = std::min<int64_t>(begin + kBlock, length);
        float* sample = block;
        for (int64_t i = begin - reach; i < end + reach; ++i, sample += kBundleLanes) {
            for (int lane = 0; lane < kBundleLanes; lane += kLanes) {
                const bool outside = i < 0 || i >= length;
                hn::Store(
                    outside ? hn::Zero(kFloats) : loadSamples(samples + i * kBundleLanes + lane),
                    kFloats, sample + lane);
            }
        }
        const float* centre = block + reach * kBundleLanes;
        for (int64_t i = begin; i < end; ++i, centre += kBundleLanes) {
            for (int lane = 0; lane < kBundleLanes; lane += kLanes) {
                const auto at = [&](int n) {
                    return hn::Load(kFloats, centre + n * kBundleLanes + lane);
                };
                Vector sum = hn::Mul(hn::Set(kFloats, weights[0]), at(0));
                for (int n = 1; n <= reach; ++n) {
                    const Vector weight = hn::Set(kFloats, weights[static_cast<size_t>(n)]);
                    sum = hn::MulAdd(weight, hn::Add(at(-n), at(n)), sum);
                }
                hn::Store(sum, kFloats, line + i * kBundleLanes + lane);
            }
        }
    }
}

void resample(const AxisResampling& resampling, const float* line, float* out) {
    const float* weight = resampling.weights.data();
    for (const int first : resampling.first) {
        const float* in = line + static_cast<int64_t>(first) * kBundleLanes;
        Vector sums[kBundleLanes / kLanes];
        std::fill(std::begin(sums), std::end(sums), hn::Zero(kFloats));
        for (int t = 0; t < resampling.taps; ++t, ++weight, in += kBundleLanes) {
            const Vector factor = hn::Set(kFloats, *weight);
#pragma GCC unroll 4
            for (int v = 0; v < kBundleLanes / kLanes; ++v)
                sums[v] = hn::MulAdd(factor, hn::Load(kFloats, in + v * kLanes), sums[v]);
        }
        for (int v = 0; v < kBundleLanes / kLanes; ++v)
            hn::Store(sums[v], kFloats, out + v * kLanes);
        out += kBundleLanes;
    }
}

// Takes the response as it is, in place of what it came from.
struct KeepFloats {
    float* line;

    KeepFloats from(int lane) const { return {line + lane}; }
    HWY_INLINE void operator()(int64_t i, int lane, Vector response) const {
        hn::Store(response, kFloats, line + i * kBundleLanes + lane);
    }
};

// Takes the response times `gains`, and with `offsets` if it dithers, as integers: position i goes
// to levels + i * step.
template <typename Level, bool kDithers = false>
struct Round {
    Level* levels;
    int64_t step;
    const float* gains;
    const float* offsets = nullptr;

    Round from(int lane) const {
        return {levels + lane, step, gains + lane, kDithers ? offsets + lane : nullptr};
    }
    // A sum with 1.5 * 2^23 has no room for fractions and holds the nearest integer in its lowest
    // bits (IEEE 754), which takes half the instructions of a conversion. What is stored saturates.
    HWY_INLINE void operator()(int64_t i, int lane, Vector response) const {
        const hn::Rebind<Level, Floats> tag;
        const Vector zero = hn::Set(kFloats, 12582912.0f);
        const Vector gain = hn::Load(kFloats, gains + lane);
        Vector sum;
        if constexpr (kDithers)
            sum = hn::Add(hn::MulAdd(response, gain, hn::Load(kFloats, offsets + lane)), zero);
        else
            sum = hn::MulAdd(response, gain, zero);
        const auto level = hn::Sub(hn::BitCast(Ints(), sum), hn::BitCast(Ints(), zero));
        hn::Store(hn::DemoteTo(tag, level), tag, levels + i * step + lane);
    }
};

// Blurs a bundle of `length` positions, resamples it and rounds its pixels.
template <typename Sample, typename Rounding>
void blurBundle(const GaussianFilter& filter, const AxisResampling& resampling,
                const Sample* samples, int length, const BlurScratch& scratch,
                const Rounding& round) {
    const bool resampled = resampling.taps > 0;
    if (filter.isRecursive() && !resampled)
        return filterRecursively(filter.recursion, samples, length, scratch.line, round);
    if (filter.isRecursive())
        filterRecursively(filter.recursion, samples, length, scratch.line,
                          KeepFloats{scratch.line});
    else
        convolve(filter.weights, samples, length, scratch.line);
    if (resampled) resample(resampling, scratch.line, scratch.pixels);
    const float* pixels = resampled ? scratch.pixels : scratch.line;
    const int count = resampling.pixels(length);
    for (int i = 0; i < count; ++i, pixels += kBundleLanes) {
        for (int lane = 0; lane < kBundleLanes; lane += kLanes)
            round(i, lane, hn::Load(kFloats, pixels + lane));
    }
}

// Transposes a tile of pixels: of each of four lines four pixels, RGBA levels, become four
// positions of a bundle. The plain instruction set has no vectors to shuffle within.
template <bool kStreams, typename Level>
HWY_INLINE void transposeTile(const Level* const* lines, int64_t offset, Level* out) {
#if HWY_TARGET == HWY_SCALAR
    for (int i = 0; i < 4 * kBundlePixels; ++i)
        std::memcpy(out + i * 4, lines[i % kBundlePixels] + offset + i / kBundlePixels * 4,
                    4 * sizeof(Level));
#else
    const hn::FixedTag<Level, 16 / sizeof(Level)> levels;
    const hn::FixedTag<uint32_t, 4> pixels;
    const hn::FixedTag<uint64_t, 2> pairs;
    const auto load = [&](int line, int64_t at) {
        return hn::BitCast(pixels, hn::LoadU(levels, lines[line] + offset + at));
    };
    const auto store = [&](auto pair, int64_t at) {
        if constexpr (kStreams)
            hn::Stream(hn::BitCast(levels, pair), levels, out + at);
        else
            hn::Store(hn::BitCast(levels, pair), levels, out + at);
    };
    const auto storePairs = [&](auto first, auto second, int64_t at) {
        const auto a = hn::BitCast(pairs, first);
        const auto b = hn::BitCast(pairs, second);
        store(hn::InterleaveLower(pairs, a, b), at);
        store(hn::InterleaveUpper(pairs, a, b), at + (sizeof(Level) == 1 ? 16 : kBundleLanes));
    };
    if constexpr (sizeof(Level) == 1) {
        const auto line0 = load(0, 0);
        const auto line1 = load(1, 0);
        const auto line2 = load(2, 0);
        const auto line3 = load(3, 0);
        storePairs(hn::InterleaveLower(pixels, line0, line1),
                   hn::InterleaveLower(pixels, line2, line3), 0);
        storePairs(hn::InterleaveUpper(pixels, line0, line1),
                   hn::InterleaveUpper(pixels, line2, line3), 32);
    } else {
#pragma GCC unroll 2
        for (int half = 0; half < 2; ++half) {
            const int64_t at = half * 8;
            storePairs(load(0, at), load(1, at), half * 32);
            storePairs(load(2, at), load(3, at), half * 32 + 8);
        }
    }
#endif
}

void interleaveRows(const RowPass& pass, int y, int rows, uint8_t* bytes) {
    const uint8_t* row[kBundlePixels];
    for (int r = 0; r < kBundlePixels; ++r)
        row[r] = pass.source + (y + std::min(r, rows - 1)) * pass.stride;
    int x = 0;
    for (; x + 4 <= pass.width; x += 4, bytes += 4 * kBundleLanes)
        transposeTile<false>(row, int64_t{4} * x, bytes);
    for (; x < pass.width; ++x, bytes += kBundleLanes) {
        for (int r = 0; r < kBundlePixels; ++r)
            std::memcpy(bytes + r * 4, row[r] + int64_t{4} * x, 4);
    }
}

// Stores bundles of rows, `bundleLevels` apart, as strips. Whatever the last one's columns beyond
// the picture hold, the second pass leaves out.
template <bool kStreams, typename Level>
void storeStrips(const RowPass& pass, const Level* levels, int64_t bundleLevels, int y,
                 int bundles) {
    const int width = pass.resampling.pixels(pass.width);
    for (int x = 0; x < width; x += kBundlePixels, levels += kBundlePixels * kBundleLanes) {
        Level* out = pass.strips.at<Level>(x / kBundlePixels, y);
        for (int b = 0; b < bundles; ++b, out += kBundlePixels * kBundleLanes) {
            const Level* const first = levels + b * bundleLevels;
            const Level* const positions[] = {first, first + kBundleLanes, first + 2 * kBundleLanes,
                                              first + 3 * kBundleLanes};
            transposeTile<kStreams>(positions, 0, out);
        }
    }
}

// For each channel of a bundle's rows from `y` on a number in [-0.5, 0.5), the same at every call
// but random to any picture, by the last steps of MurmurHash3 (A. Appleby).
void setDither(int y, float* offsets) {
    for (int lane = 0; lane < kBundleLanes; ++lane) {
        uint32_t hash = static_cast<uint32_t>(y * 4 + lane + 1) * 0x9E3779B1U;
        hash = (hash ^ hash >> 16) * 0x85EBCA6BU;
        hash = (hash ^ hash >> 13) * 0xC2B2AE35U;
        hash ^= hash >> 16;
        offsets[lane] = static_cast<float>(hash >> 8) * 0x1p-24f - 0.5f;
    }
}

template <typename Level>
void blurRowsTo(const RowPass& pass, int y, int rows, const BlurScratch& scratch) {
    constexpr bool kDithers = sizeof(Level) == 1;
    alignas(64) float gains[kBundleLanes];
    std::fill(std::begin(gains), std::end(gains), pass.filter.gain() * pass.strips.levelScale());
    const int64_t bundleLevels =
        int64_t{kBundleLanes} *
        (std::max(pass.width, pass.resampling.pixels(pass.width)) + kBundlePixels - 1);
    auto* const levels = reinterpret_cast<Level*>(scratch.bytes);
    int bundles = 0;
    for (int r = 0; r < rows; r += kBundlePixels, ++bundles) {
        Level* const out = levels + bundles * bundleLevels;
        // Levels may stand where the samples stood: they come when all samples have been read.
        auto* const samples = reinterpret_cast<uint8_t*>(out);
        interleaveRows(pass, y + r, std::min(kBundlePixels, rows - r), samples);
        alignas(64) float offsets[kBundleLanes];
        if (kDithers) setDither(y + r, offsets);
        blurBundle(pass.filter, pass.resampling, samples, pass.width, scratch,
                   Round<Level, kDithers>{out, kBundleLanes, gains, offsets});
    }
    if (pass.strips.streams)
        storeStrips<true>(pass, levels, bundleLevels, y, bundles);
    else
        storeStrips<false>(pass, levels, bundleLevels, y, bundles);
}

void blurRowsOnTarget(const RowPass& pass, int y, int rows, const BlurScratch& scratch) {
    if (pass.strips.dithered)
        blurRowsTo<uint8_t>(pass, y, rows, scratch);
    else
        blurRowsTo<uint16_t>(pass, y, rows, scratch);
}

// Sixteen levels with no colour above its alpha, to which rounding may have lifted it and which
// compositing would take for a bright speck.
HWY_INLINE void storeValidLevels(const uint8_t* levels, bool streams, uint8_t* out) {
#if HWY_TARGET == HWY_SCALAR
    static_cast<void>(streams);
    for (int i = 0; i < kBundleLanes; ++i)
        out[i] = std::min(levels[i], levels[i | 3]);
#else
    alignas(16) static constexpr uint8_t kAlphas[] = {3,  3,  3,  3,  7,  7,  7,  7,
                                                      11, 11, 11, 11, 15, 15, 15, 15};
    const hn::FixedTag<uint8_t, 16> bytes;
    const auto rounded = hn::Load(bytes, levels);
    const auto alphas = hn::TableLookupBytes(rounded, hn::Load(bytes, kAlphas));
    const auto valid = hn::Min(rounded, alphas);
    if (streams)
        hn::Stream(valid, bytes, out);
    else
        hn::StoreU(valid, bytes, out);
#endif
}

void storeRows(const uint8_t* levels, int rows, int columns, const ColumnPass& pass, int x) {
    uint8_t* out = pass.result + int64_t{4} * x;
    const bool whole = columns == kColumnsAtOnce;
    alignas(16) uint8_t part[kColumnsAtOnce * 4];
    for (int y = 0; y < rows; ++y, levels += kColumnsAtOnce * 4, out += pass.stride) {
        uint8_t* const row = whole ? out : part;
#pragma GCC unroll 8
        for (int i = 0; i < kColumnsAtOnce * 4; i += kBundleLanes)
            storeValidLevels(levels + i, pass.streams && whole, row + i);
        if (!whole) std::memcpy(out, part, static_cast<size_t>(columns) * 4);
    }
}

template <typename Level>
void blurColumnsFrom(const ColumnPass& pass, int x, int columns, const BlurScratch& scratch) {
    alignas(64) float gains[kBundleLanes];
    for (int lane = 0; lane < kBundleLanes; ++lane)
        gains[lane] = (lane % 4 == 3 ? 1.0f : pass.colourGain) * pass.filter.gain() /
                      pass.strips.levelScale();
    constexpr int64_t kStep = int64_t{4} * kColumnsAtOnce;
    for (int column = 0; column < columns; column += kBundlePixels)
        blurBundle(pass.filter, pass.resampling,
                   pass.strips.at<const Level>((x + column) / kBundlePixels, 0), pass.height,
                   scratch, Round<uint8_t>{scratch.bytes + int64_t{4} * column, kStep, gains});
    storeRows(scratch.bytes, pass.resampling.pixels(pass.height), columns, pass, x);
}

void blurColumnsOnTarget(const ColumnPass& pass, int x, int columns, const BlurScratch& scratch) {
    if (pass.strips.dithered)
        blurColumnsFrom<uint8_t>(pass, x, columns, scratch);
    else
        blurColumnsFrom<uint16_t>(pass, x, columns, scratch);
}

}  // namespace HWY_NAMESPACE
}  // namespace platform
HWY_AFTER_NAMESPACE();
// NOLINTEND(bugprone-implicit-widening-of-multiplication-result)

#if HWY_ONCE
namespace platform {

namespace {

// Far behind an edge the recursion's states are denormal numbers, with which processors compute up
// to thirty times more slowly. While this lives, its thread takes them for zeros.
class DenormalsAsZeros {
#if HWY_ARCH_X86
  public:
    DenormalsAsZeros() {
        _mm_setcsr(before_ | _MM_FLUSH_ZERO_ON | _MM_DENORMALS_ZERO_ON);
    }
    ~DenormalsAsZeros() {
        _mm_setcsr(before_);
    }
    DenormalsAsZeros(const DenormalsAsZeros&) = delete;
    DenormalsAsZeros& operator=(const DenormalsAsZeros&) = delete;

  private:
    const unsigned before_ = _mm_getcsr();
#endif
};

}  // namespace

#define PAIRDECK_KERNELS(set) \
    { #set, &N_##set::blurRowsOnTarget, &N_##set::blurColumnsOnTarget }

// The library of the vectors would choose, too, but whenever a program that links it starts, it
// measures the processor's clock, for as long as it takes to read the interface files.
const std::vector<BlurKernels>& BlurKernels::all() {
    static const std::vector<BlurKernels> kernels = [] {
        std::vector<BlurKernels> found;
#if HWY_TARGETS & HWY_AVX3
        if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512cd") &&
            __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512dq") &&
            __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("bmi2"))
            found.push_back(PAIRDECK_KERNELS(AVX3));
#endif
#if HWY_TARGETS & HWY_AVX2
        if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") &&
            __builtin_cpu_supports("bmi2"))
            found.push_back(PAIRDECK_KERNELS(AVX2));
#endif
#if HWY_TARGETS & HWY_SSSE3
        if (__builtin_cpu_supports("ssse3")) found.push_back(PAIRDECK_KERNELS(SSSE3));
#endif
#if HWY_STATIC_TARGET != HWY_SCALAR
        found.push_back({"baseline", &HWY_STATIC_DISPATCH(blurRowsOnTarget),
                         &HWY_STATIC_DISPATCH(blurColumnsOnTarget)});
#endif
#if HWY_TARGETS & HWY_SCALAR
        found.push_back(PAIRDECK_KERNELS(SCALAR));
#endif
        return found;
    }();
    return kernels;
}

const BlurKernels*& BlurKernels::used() {
    static const BlurKernels* used = &all().front();
    return used;
}

void blurRows(const RowPass& pass, int y, int rows, const BlurScratch& scratch) {
    [[maybe_unused]] const DenormalsAsZeros faded;
    BlurKernels::used()->rows(pass, y, rows, scratch);
}

void blurColumns(const ColumnPass& pass, int x, int columns, const BlurScratch& scratch) {
    [[maybe_unused]] const DenormalsAsZeros faded;
    BlurKernels::used()->columns(pass, x, columns, scratch);
}

}  // namespace platform
#endif
