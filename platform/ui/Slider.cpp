#include "platform/ui/Slider.h"

#include "platform/ui/Theme.h"

#include <QAccessible>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace platform {

namespace {

constexpr double kKnobRadius = 6.0;
constexpr double kTrackHeight = 3.0;

// "m:ss", or "h:mm:ss" from an hour on.
QString timeText(double seconds) {
    const auto whole = static_cast<long long>(seconds);
    const QLatin1Char zero('0');
    const auto minutes = whole / 60 % 60;
    const QString hours = whole < 3600 ? QString() : QStringLiteral("%1:").arg(whole / 3600);
    return hours + QStringLiteral("%1:%2")
                       .arg(minutes, hours.isEmpty() ? 1 : 2, 10, zero)
                       .arg(whole % 60, 2, 10, zero);
}

}  // namespace

Slider::Slider(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
    setMouseTracking(true);
}

void Slider::setMinValue(double value) {
    minValue_ = value;
    moveTo(value_);
}

void Slider::setMaxValue(double value) {
    maxValue_ = value;
    moveTo(value_);
}

void Slider::setDoubleValue(double value) {
    if (!isHeld_) moveTo(value);
}

void Slider::moveTo(double value) {
    // Assistive technology may send any number.
    if (std::isnan(value)) return;
    const double knobBefore = knobX();
    const QString textBefore = QAccessible::isActive() ? valueText() : QString();
    value_ = std::clamp(value, minValue_, std::max(minValue_, maxValue_));
    if (knobX() != knobBefore) update();
    if (!QAccessible::isActive() || valueText() == textBefore) return;
    QAccessibleValueChangeEvent valueChange(this, value_);
    QAccessible::updateAccessibility(&valueChange);
    QAccessibleEvent textChange(this, QAccessible::DescriptionChanged);
    QAccessible::updateAccessibility(&textChange);
}

void Slider::setGroove(std::vector<Groove::Stretch> stretches, size_t count) {
    groove_.setStretches(std::move(stretches), count);
    update();
}

QString Slider::valueText() const {
    if (unit_ == Unit::Seconds) {
        return QStringLiteral("%1 of %2").arg(timeText(value_), timeText(maxValue_));
    }
    const double fraction = maxValue_ > 0.0 ? value_ / maxValue_ : 0.0;
    return QStringLiteral("%1 %").arg(std::lround(100.0 * fraction));
}

void Slider::moveByUser(double value) {
    stopTracking();
    moveTo(value);
    sendAction();
}

void Slider::step(double keySteps) {
    moveByUser((source_ ? source_() : value_) + keySteps * keyStep_);
}

void Slider::stopTracking() {
    if (!isHeld_) return;
    hold(false);
    delete timeTag_;
}

void Slider::showTimeAt(double x) {
    if (unit_ != Unit::Seconds || maxValue_ <= minValue_) {
        delete timeTag_;
        return;
    }
    if (!timeTag_) {
        timeTag_ = new QLabel(window());
        timeTag_->setProperty("role", QStringLiteral("timeTag"));
        timeTag_->setAttribute(Qt::WA_TransparentForMouseEvents);
    }
    timeTag_->setText(timeText(valueAt(x)));
    timeTag_->adjustSize();
    // Above the place that the text speaks of, which a drag beyond the ends does not leave.
    const double reach = std::clamp(x, kKnobRadius, std::max(kKnobRadius, width() - kKnobRadius));
    const QPoint foot = mapTo(window(), QPoint(qRound(reach), 0));
    timeTag_->move(foot - QPoint(timeTag_->width() / 2, timeTag_->height() + 2));
    timeTag_->raise();
    timeTag_->show();
}

void Slider::hold(bool isHeld) {
    isHeld_ = isHeld;
    update();
}

double Slider::knobX() const {
    const double span = maxValue_ - minValue_;
    const double fraction = span > 0.0 ? (value_ - minValue_) / span : 0.0;
    return kKnobRadius + 2.0 + fraction * (width() - 2.0 * (kKnobRadius + 2.0));
}

double Slider::valueAt(double x) const {
    const double travel = width() - 2.0 * (kKnobRadius + 2.0);
    const double fraction = travel > 0.0 ? (x - kKnobRadius - 2.0) / travel : 0.0;
    return minValue_ + std::clamp(fraction, 0.0, 1.0) * (maxValue_ - minValue_);
}

void Slider::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    hold(true);
    showTimeAt(event->position().x());
    moveTo(valueAt(event->position().x()));
    if (continuous_) sendAction();
}

void Slider::mouseMoveEvent(QMouseEvent* event) {
    showTimeAt(event->position().x());
    if (!isHeld_) return;
    moveTo(valueAt(event->position().x()));
    if (continuous_) sendAction();
}

void Slider::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !isHeld_) return;
    moveTo(valueAt(event->position().x()));
    // The knob is let go first, so that what the action sets shows at once.
    hold(false);
    if (!rect().contains(event->position().toPoint())) delete timeTag_;
    sendAction();
}

void Slider::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
        case Qt::Key_Left:
        case Qt::Key_Down:
            return decrement();
        case Qt::Key_Right:
        case Qt::Key_Up:
            return increment();
        case Qt::Key_PageDown:
            return step(-4.0);
        case Qt::Key_PageUp:
            return step(4.0);
        case Qt::Key_Home:
            return moveByUser(minValue_);
        case Qt::Key_End:
            return moveByUser(maxValue_);
        default:
            QWidget::keyPressEvent(event);
    }
}

void Slider::wheelEvent(QWheelEvent* event) {
    const double notches = event->angleDelta().y() / 120.0;
    if (notches != 0.0) step(notches);
    event->accept();
}

void Slider::hideEvent(QHideEvent* event) {
    // A slider that disappears under the pointer never sees the release.
    hold(false);
    delete timeTag_;
    QWidget::hideEvent(event);
}

void Slider::leaveEvent(QEvent* event) {
    if (!isHeld_) delete timeTag_;
    QWidget::leaveEvent(event);
}

void Slider::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const double middle = height() / 2.0;
    const double knob = knobX();
    const double inset = kKnobRadius + 2.0;
    const QRectF track(inset, middle - kTrackHeight / 2.0, width() - 2.0 * inset, kTrackHeight);
    groove_.draw(painter, *this, track, knob);
    const double radius = isHeld_ || underMouse() ? kKnobRadius : kKnobRadius - 1.0;
    painter.setBrush(Qt::white);
    painter.drawEllipse(QPointF(knob, middle), radius, radius);
    if (!theme::showsFocus(*this)) return;
    painter.setPen(QPen(theme::kFocus, 2.0));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(QPointF(knob, middle), kKnobRadius + 1.0, kKnobRadius + 1.0);
}

}  // namespace platform
