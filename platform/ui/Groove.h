#pragma once

#include <QRectF>

#include <cstddef>
#include <vector>

class QColor;
class QPainter;
class QWidget;

namespace platform {

/// The groove of a slider: a plain line or, as far as it is told, a row of bars as high as what the
/// slider goes through is loud there.
class Groove {
  public:
    /// What one of many stretches of equal length is like: how high its body is and how high what
    /// stands out of it, as fractions of the slider's height.
    struct Stretch {
        float body = 0;
        float peak = 0;
    };

    /// The first stretches of `count`; where they end the line goes on. None for the line alone.
    void setStretches(std::vector<Stretch> stretches, size_t count);

    /// Draws on `slider`, along `track`, which is as high as the line; what lies before `knob` is
    /// filled.
    void draw(QPainter& painter, const QWidget& slider, const QRectF& track, double knob) const;

  private:
    double drawBars(QPainter& painter, const QRectF& track, double knob, const QColor& pale,
                    double most) const;
    Stretch between(double from, double to) const;

    std::vector<Stretch> stretches_;
    size_t count_ = 0;
};

}  // namespace platform
