#include "platform/ui/ProgressIndicator.h"

#include "platform/ui/Theme.h"

#include <QPainter>

#include <algorithm>
#include <utility>

namespace platform {

ProgressIndicator::ProgressIndicator(QWidget* parent) : QWidget(parent) {
    // The bar comes and goes; what stands around it does not move.
    QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    policy.setRetainSizeWhenHidden(true);
    setSizePolicy(policy);
    setAttribute(Qt::WA_OpaquePaintEvent, false);
}

void ProgressIndicator::setRange(double least, double greatest) {
    minValue_ = least;
    maxValue_ = greatest;
    seenFrom_ = seenUntil_ = 0.0;
}

int ProgressIndicator::filledPixels() const {
    const double span = maxValue_ - minValue_;
    const double fraction = span > 0.0 ? (value_ - minValue_) / span : 0.0;
    return static_cast<int>(std::clamp(fraction, 0.0, 1.0) * width() * devicePixelRatioF());
}

// Each coming and going costs the window system a question and the window a drawing.
void ProgressIndicator::setVisible(bool visible) {
    isComing_ = visible && isHidden() && parentWidget() && parentWidget()->isVisible();
    if (!isComing_) return QWidget::setVisible(visible);
    sinceDrawing_.start();
    // Whoever goes back to the event loop has no more to tell.
    QMetaObject::invokeMethod(this, &ProgressIndicator::come, Qt::QueuedConnection);
}

void ProgressIndicator::come() {
    if (std::exchange(isComing_, false)) QWidget::setVisible(true);
}

void ProgressIndicator::displayIfNeeded() {
    // A redraw costs ten times what reading a file's tags does: a scan of thousands of files must
    // not pay it more often than the bar visibly moves and the screen shows anything new.
    constexpr qint64 kFrame = 16;  // ms
    // Most calls end here, since there may be hundreds of thousands.
    if (value_ >= seenFrom_ && value_ < seenUntil_) return;
    if (!isVisible() && !isComing_) return;
    const int filled = filledPixels();
    const double pixel = (maxValue_ - minValue_) / (std::max(width(), 1) * devicePixelRatioF());
    seenFrom_ = minValue_ + filled * pixel;
    seenUntil_ = seenFrom_ + pixel;
    if (filled == drawnPixels_ && !isComing_) return;
    if (sinceDrawing_.elapsed() < kFrame) return;
    come();
    repaint();
}

void ProgressIndicator::paintEvent(QPaintEvent*) {
    drawnPixels_ = filledPixels();
    seenUntil_ = seenFrom_;
    sinceDrawing_.start();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const double radius = height() / 2.0;
    QColor groove = palette().color(QPalette::WindowText);
    groove.setAlphaF(0.2F);
    painter.setBrush(groove);
    painter.drawRoundedRect(rect(), radius, radius);
    if (drawnPixels_ == 0) return;
    painter.setBrush(theme::kAccent);
    const double filled = std::max(drawnPixels_ / devicePixelRatioF(), 2.0 * radius);
    painter.drawRoundedRect(QRectF(0, 0, filled, height()), radius, radius);
}

}  // namespace platform
