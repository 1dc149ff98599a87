#include "platform/image/GaussianBlur.h"

#include "platform/image/BlurKernels.h"
#include "platform/image/Parallel.h"

#include <algorithm>
#include <cmath>

namespace platform {

RecursiveGaussian RecursiveGaussian::withSigma(double sigma) {
    // The half-Gaussian exp(-t^2 / 2), t >= 0 in units of sigma, as a sum of two terms
    // exp(-decay t) (cosine cos(frequency t) + sine sin(frequency t)), after R. Deriche,
    // "Recursively implementing the Gaussian and its derivatives", INRIA report 1893 (1993),
    // refitted; nowhere more than 0.0006 off.
    struct Term {
        double cosine, sine, decay, frequency;
    };
    static constexpr Term kTerms[] = {{1.680177, 3.745717, 1.784524, 0.631905},
                                      {-0.680765, -0.262516, 1.724217, 1.997219}};
    if (sigma <= 0) return {{{0, 0, 1, 0, 0, 0}, {0, 0, 0, 0, 0, 0}}};

    RecursiveGaussian filter{};
    double numerators[2][4];
    double sum = 0;
    for (int i = 0; i < 2; ++i) {
        const Term& term = kTerms[i];
        const double radius = std::exp(-term.decay / sigma);
        const double angle = term.frequency / sigma;
        Section& section = filter.sections[i];
        section.feedback1 = static_cast<float>(2 * radius * std::cos(angle));
        section.feedback2 = static_cast<float>(-radius * radius);
        const double response0 = term.cosine;
        const double response1 =
            radius * (term.cosine * std::cos(angle) + term.sine * std::sin(angle));
        double* const numerator = numerators[i];
        numerator[0] = response0;
        numerator[1] = response1 - section.feedback1 * response0;
        numerator[2] = response1;
        numerator[3] = section.feedback2 * response0;
        // Of the coefficients as they are rounded, so that a flat picture keeps its level.
        const double denominator =
            1 - static_cast<double>(section.feedback1) - static_cast<double>(section.feedback2);
        sum += (numerator[0] + numerator[1] + numerator[2] + numerator[3]) / denominator;
    }
    for (int i = 0; i < 2; ++i) {
        Section& section = filter.sections[i];
        section.causal0 = static_cast<float>(numerators[i][0] / sum);
        section.causal1 = static_cast<float>(numerators[i][1] / sum);
        section.anticausal0 = static_cast<float>(numerators[i][2] / sum);
        section.anticausal1 = static_cast<float>(numerators[i][3] / sum);
    }
    return filter;
}

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

    ScratchLayout(QSize source, QSize result, bool resampled)
        : line(laneBytes(std::max(source.width(), source.height()))),
          pixels(resampled ? laneBytes(std::max(result.width(), result.height())) : 0),
          bytes(std::max(size_t{kBundleLanes} * static_cast<size_t>(parts(source.width(), 4) * 4),
                         size_t{4} * kColumnsAtOnce * static_cast<size_t>(result.height()))) {}

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
        result = largeBitmap(size, source.format(), RowAlignment::CacheLine);
    if (result.isNull()) return false;

    const int rowBundles = parts(source.height(), kBundlePixels);
    const int stripRows = rowBundles * kBundlePixels;
    const size_t stripBytes = sizeof(uint16_t) * kBundleLanes *
                              static_cast<size_t>(parts(size.width(), kBundlePixels)) *
                              static_cast<size_t>(stripRows);
    const ScratchLayout layout(source.size(), size, work.across.taps > 0);
    const bool reserved = strips_.reserve(stripBytes) &&
                          std::all_of(scratch_.begin(), scratch_.end(), [&](LargeBuffer& scratch) {
                              return scratch.reserve(layout.total());
                          });
    if (!reserved) return false;
    const Strips between{static_cast<uint16_t*>(strips_.data()), stripRows,
                         stripBytes > kCacheBytes};

    const RecursiveGaussian filter = RecursiveGaussian::withSigma(sigma_);
    const RowPass rows{
        source.constBits(), source.bytesPerLine(), source.width(), filter, work.across, between};
    parallelFor(rowBundles, threads_, [&](int bundle, int worker) {
        const int y = bundle * kBundlePixels;
        blurRows(rows, y, std::min(kBundlePixels, source.height() - y),
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
