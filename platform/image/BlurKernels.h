#pragma once

#include "platform/image/GaussianFilter.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace platform {

// The blur works on bundles of kBundlePixels parallel lines (rows in the first pass, columns in the
// second), interleaved: one position along the lines after the other, at each position the pixels
// of all lines, RGBA. So a vector holds neighbouring channels, however wide it is, and every load
// and store is contiguous.
constexpr int kBundlePixels = 4;
constexpr int kBundleLanes = 4 * kBundlePixels;
// As many rows and columns are worked on together as fill two neighbouring cache lines of what the
// pass stores, which memory takes in less time than two apart.
constexpr int kRowsAtOnce = 8;
constexpr int kColumnsAtOnce = 32;

/// How an axis of samples becomes an axis of pixels: pixel i is the sum of weights[i * taps + t]
/// times sample first[i] + t. With `taps` 0 the samples are the pixels.
struct AxisResampling {
    int taps = 0;
    std::vector<int> first;
    std::vector<float> weights;

    /// The part [origin, origin + extent) of an axis of `samples` shown on `pixels` pixels, by a
    /// triangle as wide as a pixel's step, or a sample's where that is wider. `extent` > 0; parts
    /// outside the axis repeat its end samples' weight.
    static AxisResampling ofPart(int samples, double origin, double extent, int pixels);
    /// Pixels that an axis of `samples` becomes.
    int pixels(int samples) const { return taps == 0 ? samples : static_cast<int>(first.size()); }
};

/// Working memory of one worker: room for a bundle as long as the longest line.
struct BlurScratch {
    uint8_t* bytes;  ///< kBytes per position of a line rounded up to whole strips
    float* line;     ///< kBundleLanes per position
    float* pixels;   ///< kBundleLanes per resampled position

    static constexpr int kBytes =
        std::max<int>(sizeof(uint16_t) * 4 * kRowsAtOnce, 4 * kColumnsAtOnce);
};

/// The picture between the passes: strips of kBundlePixels columns, each from top to bottom, so
/// that a strip is a bundle. Levels are 16-bit integers, 256 times as fine as the picture's; or,
/// for a large sigma, bytes dithered from row to row, half the memory to write and read: the second
/// pass averages so many rows that a standard deviation of 0.03 levels is left of the dither.
struct Strips {
    static constexpr double kLeastDitheredSigma = 64;

    void* levels;   ///< aligned to 64 bytes
    int stripRows;  ///< the picture's height rounded up to whole bundles
    bool dithered;  ///< whether the levels are uint8_t instead of uint16_t
    bool streams;   ///< whether to store past the caches, which the picture would overflow

    size_t levelBytes() const { return dithered ? sizeof(uint8_t) : sizeof(uint16_t); }
    float levelScale() const { return dithered ? 1.0f : 256.0f; }
    template <typename Level>
    Level* at(int strip, int y) const {
        return static_cast<Level*>(levels) +
               (static_cast<int64_t>(strip) * stripRows + y) * kBundleLanes;
    }
};

/// The first pass for the rows [y, y + rows), rows <= kRowsAtOnce, y a multiple of it, of a picture
/// of RGBA bytes: blurred, resampled and stored as columns.
struct RowPass {
    const uint8_t* source;  ///< of the whole picture
    int64_t stride;         ///< bytes from row to row
    int width;              ///< in pixels
    const GaussianFilter& filter;
    const AxisResampling& resampling;
    Strips strips;
};

/// The second pass for the columns [x, x + columns), columns <= kColumnsAtOnce, x a multiple of it:
/// blurred, resampled, colours multiplied by `colourGain`, stored as RGBA bytes with no colour
/// above alpha.
struct ColumnPass {
    Strips strips;
    int height;  ///< in samples
    const GaussianFilter& filter;
    const AxisResampling& resampling;
    float colourGain;
    uint8_t* result;  ///< of the whole picture
    int64_t stride;   ///< bytes from row to row
    bool streams;     ///< as above; only for a result and stride aligned to 64 bytes
};

/// Both passes, compiled for one instruction set.
struct BlurKernels {
    const char* instructionSet;  ///< its name
    void (*rows)(const RowPass& pass, int y, int rows, const BlurScratch& scratch);
    void (*columns)(const ColumnPass& pass, int x, int columns, const BlurScratch& scratch);

    /// Those of this processor, the fastest first and the plain ones last.
    static const std::vector<BlurKernels>& all();
    /// Those that blurs use: the fastest, unless another of all() is put here.
    static const BlurKernels*& used();
};

void blurRows(const RowPass& pass, int y, int rows, const BlurScratch& scratch);
void blurColumns(const ColumnPass& pass, int x, int columns, const BlurScratch& scratch);

}  // namespace platform
