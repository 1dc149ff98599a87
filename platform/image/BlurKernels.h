#pragma once

#include <cstdint>
#include <vector>

namespace platform {

// The blur works on bundles of kBundlePixels parallel lines (rows in the first pass, columns in the
// second), interleaved: one position along the lines after the other, at each position the pixels
// of all lines, RGBA. So a vector holds neighbouring channels, however wide it is, and every load
// and store is contiguous.
constexpr int kBundlePixels = 4;
constexpr int kBundleLanes = 4 * kBundlePixels;
// The second pass takes as many columns at once as fill a cache line of the result.
constexpr int kColumnsAtOnce = 16;

/// A Gaussian as the sum of a causal and an anticausal recursive filter, each of two second-order
/// sections over one pair of states: w[n] = x[n] + feedback1 w[n-1] + feedback2 w[n-2].
struct RecursiveGaussian {
    struct Section {
        float feedback1, feedback2;
        float causal0, causal1;          ///< weights of w[n] and w[n-1]
        float anticausal0, anticausal1;  ///< weights of w[n+1] and w[n+2]
    };
    Section sections[2];

    /// The filter of standard deviation `sigma` >= 0, in samples; its weights sum to 1.
    static RecursiveGaussian withSigma(double sigma);
};

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
    uint8_t* bytes;  ///< 4 * kColumnsAtOnce per position
    float* line;     ///< kBundleLanes per position
    float* pixels;   ///< kBundleLanes per resampled position
};

/// The picture between the passes: strips of kBundlePixels columns, each from top to bottom, so
/// that a strip is a bundle. Levels times kLevelScale, saturated.
struct Strips {
    static constexpr float kLevelScale = 256.0f;
    uint16_t* levels;  ///< aligned to 64 bytes
    int stripRows;     ///< the picture's height rounded up to whole bundles
    bool streams;      ///< whether to store past the caches, which the picture would overflow

    uint16_t* at(int strip, int y) const {
        return levels + (static_cast<int64_t>(strip) * stripRows + y) * kBundleLanes;
    }
};

/// The first pass for the rows [y, y + rows), rows <= kBundlePixels, of a picture of RGBA bytes:
/// blurred, resampled and stored as columns.
struct RowPass {
    const uint8_t* source;  ///< of the whole picture
    int64_t stride;         ///< bytes from row to row
    int width;              ///< in pixels
    const RecursiveGaussian& filter;
    const AxisResampling& resampling;
    Strips strips;
};
void blurRows(const RowPass& pass, int y, int rows, const BlurScratch& scratch);

/// The second pass for the columns [x, x + columns), columns <= kColumnsAtOnce, x a multiple of it:
/// blurred, resampled, colours multiplied by `colourGain`, stored as RGBA bytes with no colour
/// above alpha.
struct ColumnPass {
    Strips strips;
    int height;  ///< in samples
    const RecursiveGaussian& filter;
    const AxisResampling& resampling;
    float colourGain;
    uint8_t* result;  ///< of the whole picture
    int64_t stride;   ///< bytes from row to row
    bool streams;     ///< as above; only for a result and stride aligned to 64 bytes
};
void blurColumns(const ColumnPass& pass, int x, int columns, const BlurScratch& scratch);

}  // namespace platform
