#include "platform/ui/Transition.h"

#include <QGraphicsOpacityEffect>
#include <QTimer>
#include <QWidget>

#include <utility>

namespace platform {

namespace {

void setOpacity(QWidget* view, double opacity) {
    if (!view || view->size().isEmpty()) return;
    auto* effect = qobject_cast<QGraphicsOpacityEffect*>(view->graphicsEffect());
    if (!effect) {
        effect = new QGraphicsOpacityEffect(view);
        view->setGraphicsEffect(effect);
    }
    effect->setOpacity(opacity);
}

}  // namespace

AnimationContext& AnimationContext::currentContext() {
    static AnimationContext context;
    return context;
}

void AnimationContext::setDuration(double seconds) {
    duration_ = seconds;
    QTimer::singleShot(0, [this] { duration_ = kDefaultDuration; });
}

RunningTransition::RunningTransition(const Transition& transition, QWidget* outgoing,
                                     QWidget* incoming, double seconds,
                                     std::function<void()> finished)
    : transition_(transition),
      outgoing_(outgoing),
      incoming_(incoming),
      outgoingOrigin_(outgoing->pos()),
      incomingOrigin_(incoming->pos()),
      finished_(std::move(finished)) {
    animation_.setStartValue(0.0);
    animation_.setEndValue(1.0);
    animation_.setDuration(static_cast<int>(seconds * 1000.0));
    animation_.setEasingCurve(QEasingCurve::InOutCubic);
    QObject::connect(&animation_, &QVariantAnimation::valueChanged,
                     [this](const QVariant& value) { showProgress(value.toDouble()); });
    // The owner drops the transition when told that it is over, which must not happen inside the
    // animation's own signal.
    QObject::connect(
        &animation_, &QVariantAnimation::finished, &animation_,
        [this] {
            if (finished_) std::exchange(finished_, nullptr)();
        },
        Qt::QueuedConnection);
    showProgress(0.0);
    animation_.start();
}

RunningTransition::~RunningTransition() {
    animation_.stop();
    if (outgoing_) {
        outgoing_->move(outgoingOrigin_);
        outgoing_->setGraphicsEffect(nullptr);
    }
    if (incoming_) {
        incoming_->move(incomingOrigin_);
        incoming_->setGraphicsEffect(nullptr);
    }
    if (finished_) std::exchange(finished_, nullptr)();
}

void RunningTransition::showProgress(double progress) {
    if (transition_.type == Transition::Type::Fade) {
        setOpacity(outgoing_, 1.0 - progress);
        setOpacity(incoming_, progress);
        return;
    }
    const QWidget* container = incoming_ ? incoming_->parentWidget() : nullptr;
    if (!container || !outgoing_) return;
    const int travelled = qRound(progress * container->height());
    outgoing_->move(outgoingOrigin_ - QPoint(0, travelled));
    incoming_->move(incomingOrigin_ + QPoint(0, container->height() - travelled));
}

}  // namespace platform
