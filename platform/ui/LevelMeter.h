#pragma once

#include <QColor>
#include <QWidget>

#include <functional>
#include <optional>
#include <utility>

namespace platform {

/// A slim bar that shows how loud something is at this moment: its loudness, and its peak as a mark
/// that falls slowly. Silence shows as nothing. It moves at every second frame of the screen, all
/// meters in one, and only while there is something to follow and the window can be seen; not at
/// all where the desktop asks for less motion.
class LevelMeter : public QWidget {
    Q_OBJECT

  public:
    /// As fractions of the meter's length.
    struct Level {
        double loudness = 0.0;
        double peak = 0.0;
    };
    /// Absent when there is nothing to follow any more.
    using Source = std::function<std::optional<Level>()>;

    explicit LevelMeter(QWidget* parent = nullptr);
    ~LevelMeter() override;

    void setSource(Source source) { source_ = std::move(source); }
    /// Follows the source until that is absent and what was shown has sunk.
    void follow();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    class Frames;

    /// The colour of the panel that it stands on; absent without one.
    std::optional<QColor> panelColor() const;
    void rest();
    /// Goes on by so much time; whether it then looks otherwise.
    bool moves(double seconds);
    /// Where it stands in its window.
    QRect place() const;
    void draw(QPainter& painter, const QPoint& corner) const;

    Source source_;
    bool isFollowing_ = false;
    Level shown_;
    int drawnLoudness_ = 0;  // pixels of the screen
    int drawnPeak_ = 0;
};

}  // namespace platform
