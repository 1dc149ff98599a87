#include "platform/image/GaussianBlur.h"

#include "platform/image/BlurKernels.h"
#include "platform/image/Parallel.h"

#include <algorithm>
#include <cmath>

namespace platform {

AxisResampling AxisResampling::ofPart(int samples, double origin, double extent, int pixels) {
    AxisResampling axis;
    const double step = extent / pixels;
    const double reach = std::max(1.0, step);
    axis.taps = static_cast<int>(std::min<double>(samples, std::ceil(2 * reach) + 1));
    axis.first.resize(static_cast<size_t>(pixels));
    axis.weights.resize(static_cast<size_t>(pixels) * static_cast<size_t>(axis.taps));
    for (int i = 0; i < pixels; ++i) {
        // In samples, sample n standing at n; beyond the axis its end samples count.
        const double centre =
            std::clamp(origin + (i + 0.5) * step - 0.5, 0.0, static_cast<double>(samples - 1));
        const int first =
            static_cast<int>(std::clamp<double>(std::ceil(centre - reach), 0, samples - axis.taps));
        float* const weights =
            &axis.weights[static_cast<size_t>(i) * static_cast<size_t>(axis.taps)];
        double sum = 0;
        for (int t = 0; t < axis.taps; ++t)
            sum += std::max(0.0, reach - std::abs(first + t - centre));
        for (int t = 0; t < axis.taps; ++t)
            weights[t] =
                static_cast<float>(std::max(0.0, reach - std::abs(first + t - centre)) / sum);
        axis.first[static_cast<size_t>(i)] = first;
    }
    return axis;
}

namespace {

// A picture of more is written to memory, not kept for the second pass, and would push out of the
// caches what is worked on.
constexpr size_t kCacheBytes = size_t{8} << 20;

int parts(int length, int unit) {
    return (length + unit - 1) / unit;
}

// How a worker's memory is divided; each part is a multiple of 64 bytes.
struct ScratchLayout {
    size_t line, pixels, bytes;

    ScratchLayout(QSize source, QSize result, bool resampled) {
        const int sourceLength = std::max(source.width(), source.height());
        const int resultLength = std::max(result.width(), result.height());
        line = laneBytes(sourceLength);
        pixels = resampled ? laneBytes(resultLength) : 0;
        // Levels are stored by whole tiles.
        bytes = static_cast<size_t>(BlurScratch::kBytes) *
                static_cast<size_t>(std::max(sourceLength, resultLength) + kBundlePixels - 1);
    }

    size_t total() const { return line + pixels + bytes; }
    BlurScratch in(const LargeBuffer& memory) const {
        auto* const begin = static_cast<uint8_t*>(memory.data());
        return {begin + line + pixels, reinterpret_cast<float*>(begin),
                reinterpret_cast<float*>(begin + line)};
    }

  private:
    static size_t laneBytes(int positions) {
        return sizeof(float) * kBundleLanes * static_cast<size_t>(positions);
    }
};

}  // namespace

struct GaussianBlur::Work {
    const QImage& source;
    AxisResampling across;
    AxisResampling down;
    float colourGain;

    QSize size() const { return {across.pixels(source.width()), down.pixels(source.height())}; }
};

GaussianBlur::GaussianBlur(double sigma, int threads)
    : sigma_(sigma > 0 ? std::min(sigma, kMaxSigma) : 0),
      threads_(threads),
      scratch_(static_cast<size_t>(threads)) {}

void GaussianBlur::blur(const QImage& source, QImage& result) {
    if (!run({source, {}, {}, 1.0f}, result)) result = QImage();
}

QImage GaussianBlur::blurredRegion(const QImage& source, const QRectF& region, QSize size,
                                   double colourGain) {
    QImage result;
    if (source.isNull() || size.isEmpty()) return result;
    const auto across =
        AxisResampling::ofPart(source.width(), region.x(), region.width(), size.width());
    const auto down =
        AxisResampling::ofPart(source.height(), region.y(), region.height(), size.height());
    if (!run({source, across, down, static_cast<float>(colourGain)}, result)) return {};
    return result;
}

bool GaussianBlur::run(const Work& work, QImage& result) {
    const QImage source = work.source.convertToFormat(QImage::Format_RGBA8888_Premultiplied);
    if (source.isNull()) return false;
    const QSize size = work.size();
    if (result.size() != size || result.format() != source.format() || !result.isDetached())
        result = largeBitmap(size, source.format());
    if (result.isNull()) return false;

    Strips between{};
    between.stripRows = parts(source.height(), kBundlePixels) * kBundlePixels;
    between.dithered = sigma_ >= Strips::kLeastDitheredSigma;
    const size_t stripBytes = between.levelBytes() * kBundleLanes *
                              static_cast<size_t>(parts(size.width(), kBundlePixels)) *
                              static_cast<size_t>(between.stripRows);
    between.streams = stripBytes > kCacheBytes;
    const ScratchLayout layout(source.size(), size, work.across.taps > 0);
    const bool reserved = strips_.reserve(stripBytes) &&
                          std::all_of(scratch_.begin(), scratch_.end(), [&](LargeBuffer& scratch) {
                              return scratch.reserve(layout.total());
                          });
    if (!reserved) return false;
    between.levels = strips_.data();

    const GaussianFilter filter = GaussianFilter::withSigma(sigma_);
    const RowPass rows{
        source.constBits(), source.bytesPerLine(), source.width(), filter, work.across, between};
    parallelFor(parts(source.height(), kRowsAtOnce), threads_, [&](int part, int worker) {
        const int y = part * kRowsAtOnce;
        blurRows(rows, y, std::min(kRowsAtOnce, source.height() - y),
                 layout.in(scratch_[static_cast<size_t>(worker)]));
    });

    uchar* const bits = result.bits();
    const bool aligned =
        (reinterpret_cast<uintptr_t>(bits) | static_cast<uintptr_t>(result.bytesPerLine())) % 64 ==
        0;
    const ColumnPass columns{between,
                             source.height(),
                             filter,
                             work.down,
                             work.colourGain,
                             bits,
                             result.bytesPerLine(),
                             aligned && between.streams};
    parallelFor(parts(size.width(), kColumnsAtOnce), threads_, [&](int part, int worker) {
        const int x = part * kColumnsAtOnce;
        blurColumns(columns, x, std::min(kColumnsAtOnce, size.width() - x),
                    layout.in(scratch_[static_cast<size_t>(worker)]));
    });
    return true;
}

}  // namespace platform
