#pragma once

#include <QPoint>
#include <QPointer>
#include <QString>
#include <QVariantAnimation>

#include <functional>

class QWidget;

namespace platform {

/// How a change of a view's subviews is shown.
struct Transition {
    enum class Type {
        Push,  ///< the new view slides in from the bottom edge while the old one leaves at the top
        Fade,  ///< the old view fades out while the new one fades in
    };
    Type type = Type::Fade;
};

/// The duration of the animations started in the current turn of the event loop. Every turn begins
/// with the default again.
class AnimationContext {
  public:
    static constexpr double kDefaultDuration = 0.25;

    static AnimationContext& currentContext();

    /// In seconds, for animations started before control returns to the event loop.
    void setDuration(double seconds);
    double duration() const { return duration_; }

  private:
    double duration_ = kDefaultDuration;
};

/// One running transition between two views of a container.
class RunningTransition {
  public:
    /// Shows `incoming` in place of `outgoing` by `transition`; calls `finished` once, when it has
    /// ended or is cut short by the destructor, after both views are back at their own place.
    RunningTransition(const Transition& transition, QWidget* outgoing, QWidget* incoming,
                      double seconds, std::function<void()> finished);
    ~RunningTransition();
    RunningTransition(const RunningTransition&) = delete;
    RunningTransition& operator=(const RunningTransition&) = delete;

  private:
    void showProgress(double progress);

    Transition transition_;
    QPointer<QWidget> outgoing_;
    QPointer<QWidget> incoming_;
    QPoint outgoingOrigin_;
    QPoint incomingOrigin_;
    std::function<void()> finished_;
    QVariantAnimation animation_;
};

}  // namespace platform
