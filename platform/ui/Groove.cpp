#include "platform/ui/Groove.h"

#include "platform/ui/Theme.h"
#include "platform/workspace/Workspace.h"

#include <QPainter>

#include <algorithm>
#include <cmath>
#include <utility>

namespace platform {

namespace {

constexpr double kBar = 2.0;  // points
constexpr double kGap = 1.0;

/// How densely each part is drawn.
struct Densities {
    float pale;
    float palePeak;
    float heardPeak;
};

Densities densities() {
    const bool hasContrast =
        Workspace::sharedWorkspace().accessibilityDisplayShouldIncreaseContrast();
    return hasContrast ? Densities{0.75F, 0.45F, 0.65F} : Densities{0.28F, 0.2F, 0.45F};
}

QColor withAlpha(QColor color, float alpha) {
    color.setAlphaF(alpha);
    return color;
}

}  // namespace

void Groove::setStretches(std::vector<Stretch> stretches, size_t count) {
    stretches_ = std::move(stretches);
    count_ = count;
}

Groove::Stretch Groove::between(double from, double to) const {
    const auto count = static_cast<double>(count_);
    const auto first = std::min(static_cast<size_t>(from * count), stretches_.size() - 1);
    const auto last = std::min(static_cast<size_t>(std::ceil(to * count)), stretches_.size());
    Stretch all;
    for (size_t i = first; i < std::max(last, first + 1); ++i) {
        all.body += stretches_[i].body;
        all.peak = std::max(all.peak, stretches_[i].peak);
    }
    all.body /= static_cast<float>(std::max(last, first + 1) - first);
    return all;
}

double Groove::drawBars(QPainter& painter, const QRectF& track, double knob, const QColor& pale,
                        double most) const {
    // Whole pixels of the screen, whatever the scale and wherever the slider stands.
    const Densities parts = densities();
    const QTransform toPixels = painter.deviceTransform();
    const double scale = toPixels.m11();
    const double bar = std::max(1.0, std::round(kBar * scale));
    const double step = bar + std::max(1.0, std::round(kGap * scale));
    const QRectF pixels = toPixels.mapRect(track);
    const double left = std::round(pixels.left());
    const double known = static_cast<double>(stretches_.size()) / static_cast<double>(count_);
    const double bars = std::floor((pixels.right() - left - bar) / step) + 1;
    double x = left;
    for (double i = 0; i < bars && (i + 1) / bars <= known; ++i, x += step) {
        const Stretch stretch = between(i / bars, (i + 1) / bars);
        const bool isHeard = (x + bar / 2 - toPixels.dx()) / scale < knob;
        const auto fill = [&](double height, float alpha) {
            const double half = std::round(std::max(track.height(), height * most) * scale / 2);
            const double middle = std::round(pixels.center().y());
            const QRectF shape((x - toPixels.dx()) / scale, (middle - half - toPixels.dy()) / scale,
                               bar / scale, 2 * half / scale);
            painter.fillRect(shape, withAlpha(isHeard ? theme::kAccent : pale, alpha));
        };
        fill(static_cast<double>(stretch.peak), isHeard ? parts.heardPeak : parts.palePeak);
        fill(static_cast<double>(stretch.body), isHeard ? 1.0F : parts.pale);
    }
    return (x - toPixels.dx()) / scale;
}

void Groove::draw(QPainter& painter, const QWidget& slider, const QRectF& track,
                  double knob) const {
    const QColor pale = slider.palette().color(QPalette::WindowText);
    painter.save();
    if (!stretches_.empty()) {
        painter.setRenderHint(QPainter::Antialiasing, false);
        const double end = drawBars(painter, track, knob, pale, slider.height());
        painter.setRenderHint(QPainter::Antialiasing);
        const bool isWhole = stretches_.size() == count_;
        painter.setClipRect(QRectF(end, 0, isWhole ? 0 : slider.width() - end, slider.height()));
    }
    painter.setBrush(withAlpha(pale, densities().pale));
    painter.drawRoundedRect(track, track.height() / 2, track.height() / 2);
    painter.setBrush(theme::kAccent);
    painter.drawRoundedRect(QRectF(track.topLeft(), QPointF(knob, track.bottom())),
                            track.height() / 2, track.height() / 2);
    painter.restore();
}

}  // namespace platform
