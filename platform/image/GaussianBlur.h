#pragma once

#include "platform/image/LargeBuffer.h"

#include <QImage>
#include <QRectF>
#include <QSize>

#include <vector>

namespace platform {

/// Gaussian blur of premultiplied 8-bit RGBA bitmaps at full resolution, everything outside the
/// bitmap transparent, in a time that does not depend on the radius. Within 1 level of 255 of the
/// sampled Gaussian (cut at 5 sigma, its weights summing to 1) for a sigma of up to 300 pixels.
/// Keeps its working memory from call to call and gives it back with the object.
class GaussianBlur {
  public:
    static constexpr int kThreads = 2;
    /// Larger deviations count as this one: single precision carries the recursion no further.
    static constexpr double kMaxSigma = 1000.0;

    /// `sigma`, the standard deviation, is in pixels; 0, less or no number blurs nothing. `threads`
    /// >= 1 work on a call, the caller's among them.
    explicit GaussianBlur(double sigma, int threads = kThreads);

    /// Blurs all of `source` into `result`, whose pixels are reused when it is a bitmap of that
    /// size and nobody shares it. `result` is null when `source` is, or when memory is short.
    void blur(const QImage& source, QImage& result);

    /// The part `region` (in pixels, not empty) of the blurred `source`, smoothly resampled to
    /// `size` pixels, every colour times `colourGain` in [0, 1]; null as above or for an empty
    /// size. The picture is the one that `blur` followed by the resampling gives, for a fraction of
    /// the work: blurring and resampling act on each axis alone, so what is done along the rows may
    /// all be done first.
    QImage blurredRegion(const QImage& source, const QRectF& region, QSize size, double colourGain);

  private:
    struct Work;
    bool run(const Work& work, QImage& result);

    double sigma_;
    int threads_;
    LargeBuffer strips_;
    std::vector<LargeBuffer> scratch_;
};

}  // namespace platform
