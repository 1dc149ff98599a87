#pragma once

#include <QElapsedTimer>
#include <QWidget>

namespace platform {

/// A determinate progress bar.
class ProgressIndicator : public QWidget {
    Q_OBJECT

  public:
    explicit ProgressIndicator(QWidget* parent = nullptr);

    void setMinValue(double value) { setRange(value, maxValue_); }
    double minValue() const { return minValue_; }
    void setMaxValue(double value) { setRange(minValue_, value); }
    double maxValue() const { return maxValue_; }
    void setDoubleValue(double value) { value_ = value; }
    double doubleValue() const { return value_; }

    /// Redraws at once, without the event loop, if what shows has changed since the last drawing
    /// and that is a frame of the screen ago, as is the bar's being shown.
    void displayIfNeeded();

    /// In a window that is seen, a bar is shown by the next drawing or the event loop: it never
    /// comes if it is hidden again before that.
    void setVisible(bool visible) override;

    QSize sizeHint() const override { return {120, 4}; }

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    void setRange(double least, double greatest);
    int filledPixels() const;
    void come();

    double minValue_ = 0.0;
    double maxValue_ = 1.0;
    double value_ = 0.0;
    int drawnPixels_ = -1;
    // The values that fill as many pixels as the one that was last looked at; none at first.
    double seenFrom_ = 0.0;
    double seenUntil_ = 0.0;
    QElapsedTimer sinceDrawing_;  // or since it was to be shown
    bool isComing_ = false;
};

}  // namespace platform
