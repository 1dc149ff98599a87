#include "presentation/BlurredBackdrop.h"

#include "platform/image/GaussianBlur.h"

#include <QGuiApplication>
#include <QRectF>

#include <algorithm>
#include <cmath>

namespace {

// What black at 30 % laid over a colour leaves of it.
constexpr double kBrightness = 0.7;
// Bounds the pixels along a needle-shaped picture, which shows a few hundred points of its length.
constexpr double kMaxSide = 1 << 14;

// The part of the blurred axis that is left in view. The blur spreads an axis of `length` samples
// by `reach` at either end; enlarging the axis to where the spread one ends keeps the soft border
// outside.
struct Span {
    double origin, extent;
};
Span spanInView(double length, double reach) {
    const double zoom = (length + 2 * reach) / length;
    return {reach / zoom, length / zoom};
}

QSize pixelSize(QSizeF size) {
    const double scale = qGuiApp ? qGuiApp->devicePixelRatio() : 1.0;
    const double density = std::min(scale, kMaxSide / std::max(size.width(), size.height()));
    const auto pixels = [density](double length) {
        return static_cast<int>(std::max(std::round(length * density), 1.0));
    };
    return {pixels(size.width()), pixels(size.height())};
}

}  // namespace

platform::Image blurWithLevelAndSize(const platform::Image& image, double level, QSizeF size) {
    const QImage source = image.bitmap();
    const bool sized = size.width() > 0 && size.height() > 0 && std::isfinite(size.width()) &&
                       std::isfinite(size.height());
    if (source.isNull() || !sized) return {};
    const double sigma = level > 0 && std::isfinite(level) ? level : 0;
    // The level counts pixels of the picture, of which the bitmap may hold fewer.
    const double reduction = image.reduction();
    // Where the Gaussian has all but vanished.
    const double reach = std::ceil(3 * sigma) / reduction;
    const Span across = spanInView(source.width(), reach);
    const Span down = spanInView(source.height(), reach);
    platform::GaussianBlur blur(sigma / reduction);
    platform::Image backdrop(
        blur.blurredRegion(source, {across.origin, down.origin, across.extent, down.extent},
                           pixelSize(size), kBrightness));
    backdrop.setSize(size);
    return backdrop;
}
