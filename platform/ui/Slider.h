#pragma once

#include "platform/ui/Control.h"
#include "platform/ui/Groove.h"

#include <QLabel>
#include <QPointer>
#include <QWidget>

#include <functional>
#include <utility>
#include <vector>

namespace platform {

/// A horizontal slider over a range of doubles. A press moves the knob to the pointer and the drag
/// goes on from there; while the knob is held, a value set from outside does not move it. A step of
/// a key or the wheel starts from what the source of the value tells at that moment. Where the
/// value is a time, the one under the pointer stands above it while it hovers or drags.
class Slider : public QWidget, public Control {
    Q_OBJECT
    /// Whether the action is sent all along a drag, or once when the knob is let go.
    Q_PROPERTY(bool continuous MEMBER continuous_)
    Q_PROPERTY(double minValue READ minValue WRITE setMinValue)
    Q_PROPERTY(double maxValue READ maxValue WRITE setMaxValue)
    Q_PROPERTY(double doubleValue READ doubleValue WRITE setDoubleValue)
    /// How far an arrow key moves the value.
    Q_PROPERTY(double keyStep READ keyStep WRITE setKeyStep)
    /// What the value means, for those who hear it.
    Q_PROPERTY(Unit unit MEMBER unit_)

  public:
    enum class Unit {
        Fraction,  ///< of the maximum, in per cent
        Seconds,   ///< in hours, minutes and seconds, of the maximum
    };
    Q_ENUM(Unit)

    explicit Slider(QWidget* parent = nullptr);

    double minValue() const { return minValue_; }
    void setMinValue(double value);
    double maxValue() const { return maxValue_; }
    void setMaxValue(double value);

    /// Within [minValue, maxValue]; what lies outside is clamped.
    double doubleValue() const { return value_; }
    float floatValue() const { return static_cast<float>(value_); }
    void setDoubleValue(double value);
    /// Takes the knob out of the pointer's hand: nothing is sent, and what is left of the drag
    /// moves nothing. For when the value that was held has lost its meaning.
    void stopTracking();
    /// What tells the true value where the one on show may be older; without it that one counts.
    void setValueSource(std::function<double()> source) { source_ = std::move(source); }

    /// What the groove looks like over the range, in `count` stretches of equal length, as far as
    /// it is known: from the beginning on. The plain line without any.
    void setGroove(std::vector<Groove::Stretch> stretches, size_t count);

    double keyStep() const { return keyStep_; }
    void setKeyStep(double step) { keyStep_ = step; }
    /// The value in words: "80 %" or "1:05 of 1:03:35".
    QString valueText() const;

    /// Sets the value and sends the action, as a key or a hand on the knob does; a held knob is let
    /// go.
    void moveByUser(double value);
    /// The same by one key step.
    Q_INVOKABLE void increment() { step(1.0); }
    Q_INVOKABLE void decrement() { step(-1.0); }

    QSize sizeHint() const override { return {120, 22}; }

  protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void leaveEvent(QEvent* event) override;

  private:
    void showTimeAt(double x);
    void moveTo(double value);
    void step(double keySteps);
    void hold(bool isHeld);
    double valueAt(double x) const;
    double knobX() const;

    double minValue_ = 0.0;
    double maxValue_ = 1.0;
    double value_ = 0.0;
    double keyStep_ = 0.05;
    std::function<double()> source_;
    Groove groove_;
    Unit unit_ = Unit::Fraction;
    bool continuous_ = true;
    bool isHeld_ = false;       // the knob, by the pointer
    QPointer<QLabel> timeTag_;  // the window's, since it stands beside the slider
};

}  // namespace platform
