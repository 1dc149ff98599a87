#include "platform/image/BlurKernels.h"

#include <hwy/cache_control.h>

#include <algorithm>
#include <cstring>
#include <limits>

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

struct SectionWeights {
    Vector feedback1, feedback2, weight0, weight1;
};

// Reset in a function of its own: a generated constructor would miss the target's attributes.
struct SectionState {
    Vector w1, w2;

    HWY_INLINE void reset() { w1 = w2 = hn::Zero(kFloats); }
    HWY_INLINE void feed(const SectionWeights& section, Vector x) {
        const Vector w = hn::MulAdd(section.feedback1, w1, hn::MulAdd(section.feedback2, w2, x));
        w2 = w1;
        w1 = w;
    }
    HWY_INLINE Vector addTo(Vector sum, const SectionWeights& section) const {
        return hn::MulAdd(section.weight0, w1, hn::MulAdd(section.weight1, w2, sum));
    }
};

// The filter's response to `samples` at each of `length` positions, for kChains vectors of the
// bundle. Zero states at both ends are exact: all is transparent out there.
template <typename Sample>
HWY_NOINLINE void filterChains(const RecursiveGaussian& filter, const Sample* samples, int length,
                               float* line) {
    const auto weights = [&](int i, auto weight0, auto weight1) {
        const RecursiveGaussian::Section& section = filter.sections[i];
        return SectionWeights{
            hn::Set(kFloats, section.feedback1), hn::Set(kFloats, section.feedback2),
            hn::Set(kFloats, section.*weight0), hn::Set(kFloats, section.*weight1)};
    };
    using Section = RecursiveGaussian::Section;
    {
        const SectionWeights a = weights(0, &Section::causal0, &Section::causal1);
        const SectionWeights b = weights(1, &Section::causal0, &Section::causal1);
        SectionState stateA[kChains];
        SectionState stateB[kChains];
        for (int c = 0; c < kChains; ++c) {
            stateA[c].reset();
            stateB[c].reset();
        }
        for (int i = 0; i < length; ++i) {
            const Sample* const in = samples + static_cast<int64_t>(i) * kBundleLanes;
            float* const out = line + static_cast<int64_t>(i) * kBundleLanes;
            hwy::Prefetch(in + kFetchedAhead / static_cast<int64_t>(sizeof(Sample)));
#pragma GCC unroll 4
            for (int c = 0; c < kChains; ++c) {
                const Vector x = loadSamples(in + c * kLanes);
                stateA[c].feed(a, x);
                stateB[c].feed(b, x);
                hn::Store(stateA[c].addTo(stateB[c].addTo(hn::Zero(kFloats), b), a), kFloats,
                          out + c * kLanes);
            }
        }
    }
    const SectionWeights a = weights(0, &Section::anticausal0, &Section::anticausal1);
    const SectionWeights b = weights(1, &Section::anticausal0, &Section::anticausal1);
    SectionState stateA[kChains];
    SectionState stateB[kChains];
    for (int c = 0; c < kChains; ++c) {
        stateA[c].reset();
        stateB[c].reset();
    }
    for (int i = length - 1; i >= 0; --i) {
        const Sample* const in = samples + static_cast<int64_t>(i) * kBundleLanes;
        float* const out = line + static_cast<int64_t>(i) * kBundleLanes;
#pragma GCC unroll 4
        for (int c = 0; c < kChains; ++c) {
            const Vector causal = hn::Load(kFloats, out + c * kLanes);
            hn::Store(stateA[c].addTo(stateB[c].addTo(causal, b), a), kFloats, out + c * kLanes);
            const Vector x = loadSamples(in + c * kLanes);
            stateA[c].feed(a, x);
            stateB[c].feed(b, x);
        }
    }
}

// Blurs a bundle of `length` positions and resamples it; where the pixels stand.
template <typename Sample>
const float* blurredPixels(const RecursiveGaussian& filter, const AxisResampling& resampling,
                           const Sample* samples, int length, const BlurScratch& scratch) {
    for (int lane = 0; lane < kBundleLanes; lane += kChains * kLanes)
        filterChains(filter, samples + lane, length, scratch.line + lane);
    if (resampling.taps == 0) return scratch.line;
    const float* weight = resampling.weights.data();
    float* out = scratch.pixels;
    for (const int first : resampling.first) {
        const float* in = scratch.line + static_cast<int64_t>(first) * kBundleLanes;
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
    return scratch.pixels;
}

// Rounds a position's lanes times `gains` to unsigned integers, saturating. A sum with 1.5 * 2^23
// has no room for fractions and holds the nearest integer in its lowest bits (IEEE 754), which
// takes half the instructions of a conversion.
template <typename Level>
HWY_INLINE void storeLevels(const float* lanes, const float* gains, Level* levels) {
    const hn::Rebind<Level, Floats> tag;
    const hn::RebindToUnsigned<Floats> bits;
    constexpr float kZero = 12582912.0f;
    const Vector least = hn::Set(kFloats, kZero);
    const Vector most = hn::Set(kFloats, kZero + std::numeric_limits<Level>::max());
#pragma GCC unroll 4
    for (int v = 0; v < kBundleLanes; v += kLanes) {
        const Vector sum =
            hn::MulAdd(hn::Load(kFloats, lanes + v), hn::Load(kFloats, gains + v), least);
        const Vector level = hn::Min(hn::Max(sum, least), most);
        hn::Store(hn::TruncateTo(tag, hn::BitCast(bits, level)), tag, levels + v);
    }
}

// Four pixels of each row become four positions of the bundle. The plain instruction set has no
// vectors to shuffle within.
HWY_INLINE void interleaveTile(const uint8_t* const* rows, int64_t offset, uint8_t* out) {
#if HWY_TARGET == HWY_SCALAR
    for (int i = 0; i < 4 * kBundlePixels; ++i)
        std::memcpy(out + i * 4, rows[i % kBundlePixels] + offset + i / kBundlePixels * 4, 4);
#else
    const hn::FixedTag<uint8_t, 16> bytes;
    const hn::FixedTag<uint32_t, 4> pixels;
    const hn::FixedTag<uint64_t, 2> pairs;
    const auto load = [&](int r) {
        return hn::BitCast(pixels, hn::LoadU(bytes, rows[r] + offset));
    };
    const auto storePairs = [&](auto low, auto high, uint8_t* to) {
        const auto a = hn::BitCast(pairs, low);
        const auto b = hn::BitCast(pairs, high);
        hn::Store(hn::BitCast(bytes, hn::InterleaveLower(pairs, a, b)), bytes, to);
        hn::Store(hn::BitCast(bytes, hn::InterleaveUpper(pairs, a, b)), bytes, to + 16);
    };
    const auto row0 = load(0);
    const auto row1 = load(1);
    const auto row2 = load(2);
    const auto row3 = load(3);
    storePairs(hn::InterleaveLower(pixels, row0, row1), hn::InterleaveLower(pixels, row2, row3),
               out);
    storePairs(hn::InterleaveUpper(pixels, row0, row1), hn::InterleaveUpper(pixels, row2, row3),
               out + 32);
#endif
}

void interleaveRows(const RowPass& pass, int y, int rows, uint8_t* bytes) {
    const uint8_t* row[kBundlePixels];
    for (int r = 0; r < kBundlePixels; ++r)
        row[r] = pass.source + (y + std::min(r, rows - 1)) * pass.stride;
    int x = 0;
    for (; x + 4 <= pass.width; x += 4, bytes += 4 * kBundleLanes)
        interleaveTile(row, int64_t{4} * x, bytes);
    for (; x < pass.width; ++x, bytes += kBundleLanes) {
        for (int r = 0; r < kBundlePixels; ++r)
            std::memcpy(bytes + r * 4, row[r] + int64_t{4} * x, 4);
    }
}

// Stores a tile of columns, each with the pixels of kBundlePixels rows, row by row.
template <bool kStreams>
HWY_INLINE void storeTile(const uint16_t (*columns)[kBundleLanes], uint16_t* out) {
#if HWY_TARGET == HWY_SCALAR
    for (int i = 0; i < kBundlePixels * kBundlePixels; ++i)
        std::memcpy(out + i * 4, columns[i % kBundlePixels] + i / kBundlePixels * 4,
                    4 * sizeof(uint16_t));
#else
    const hn::FixedTag<uint16_t, 8> levels;
    const hn::FixedTag<uint64_t, 2> pixels;
    const auto load = [&](int c, int r) {
        return hn::BitCast(pixels, hn::Load(levels, columns[c] + r * 4));
    };
    const auto store = [&](auto pair, int r, int c) {
        uint16_t* const to = out + r * kBundleLanes + c * 4;
        if constexpr (kStreams)
            hn::Stream(hn::BitCast(levels, pair), levels, to);
        else
            hn::Store(hn::BitCast(levels, pair), levels, to);
    };
#pragma GCC unroll 2
    for (int r = 0; r < kBundlePixels; r += 2) {
        const auto column0 = load(0, r);
        const auto column1 = load(1, r);
        const auto column2 = load(2, r);
        const auto column3 = load(3, r);
        store(hn::InterleaveLower(pixels, column0, column1), r, 0);
        store(hn::InterleaveLower(pixels, column2, column3), r, 2);
        store(hn::InterleaveUpper(pixels, column0, column1), r + 1, 0);
        store(hn::InterleaveUpper(pixels, column2, column3), r + 1, 2);
    }
#endif
}

template <bool kStreams>
void storeStrips(const RowPass& pass, const float* pixels, int y) {
    alignas(64) float gains[kBundleLanes];
    std::fill(std::begin(gains), std::end(gains), Strips::kLevelScale);
    const int width = pass.resampling.pixels(pass.width);
    for (int x = 0; x < width; x += kBundlePixels) {
        alignas(64) uint16_t tile[kBundlePixels][kBundleLanes];
        const int columns = std::min(kBundlePixels, width - x);
        for (int c = 0; c < columns; ++c, pixels += kBundleLanes)
            storeLevels(pixels, gains, tile[c]);
        for (int c = columns; c < kBundlePixels; ++c)
            std::memset(tile[c], 0, sizeof tile[c]);
        storeTile<kStreams>(tile, pass.strips.at(x / kBundlePixels, y));
    }
}

void blurRowsOnTarget(const RowPass& pass, int y, int rows, const BlurScratch& scratch) {
    interleaveRows(pass, y, rows, scratch.bytes);
    const float* const pixels =
        blurredPixels(pass.filter, pass.resampling, scratch.bytes, pass.width, scratch);
    if (pass.strips.streams)
        storeStrips<true>(pass, pixels, y);
    else
        storeStrips<false>(pass, pixels, y);
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
#pragma GCC unroll 4
        for (int i = 0; i < kColumnsAtOnce * 4; i += kBundleLanes)
            storeValidLevels(levels + i, pass.streams && whole, row + i);
        if (!whole) std::memcpy(out, part, static_cast<size_t>(columns) * 4);
    }
}

void blurColumnsOnTarget(const ColumnPass& pass, int x, int columns, const BlurScratch& scratch) {
    alignas(64) float gains[kBundleLanes];
    for (int lane = 0; lane < kBundleLanes; ++lane)
        gains[lane] = (lane % 4 == 3 ? 1.0f : pass.colourGain) / Strips::kLevelScale;
    const int height = pass.resampling.pixels(pass.height);
    for (int column = 0; column < columns; column += kBundlePixels) {
        const float* pixels =
            blurredPixels(pass.filter, pass.resampling,
                          pass.strips.at((x + column) / kBundlePixels, 0), pass.height, scratch);
        uint8_t* levels = scratch.bytes + int64_t{4} * column;
        for (int y = 0; y < height; ++y, pixels += kBundleLanes, levels += kColumnsAtOnce * 4)
            storeLevels(pixels, gains, levels);
    }
    storeRows(scratch.bytes, height, columns, pass, x);
}

}  // namespace HWY_NAMESPACE
}  // namespace platform
HWY_AFTER_NAMESPACE();
// NOLINTEND(bugprone-implicit-widening-of-multiplication-result)

#if HWY_ONCE
namespace platform {

HWY_EXPORT(blurRowsOnTarget);
HWY_EXPORT(blurColumnsOnTarget);

void blurRows(const RowPass& pass, int y, int rows, const BlurScratch& scratch) {
    HWY_DYNAMIC_DISPATCH(blurRowsOnTarget)(pass, y, rows, scratch);
}

void blurColumns(const ColumnPass& pass, int x, int columns, const BlurScratch& scratch) {
    HWY_DYNAMIC_DISPATCH(blurColumnsOnTarget)(pass, x, columns, scratch);
}

}  // namespace platform
#endif
