#include "platform/ui/LevelMeter.h"

#include "platform/ui/Box.h"
#include "platform/ui/Theme.h"
#include "platform/ui/Window.h"
#include "platform/workspace/Workspace.h"

#include <QBackingStore>
#include <QBasicTimer>
#include <QElapsedTimer>
#include <QEvent>
#include <QPainter>
#include <QScreen>
#include <QWindow>

#include <algorithm>
#include <cmath>

namespace platform {

namespace {

// What is shown falls by so much of the meter's length a second, at most.
constexpr double kFall = 0.9;
constexpr double kPeakFall = 0.45;
constexpr double kMark = 2.0;  // points
// Every so manieth frame of the screen: nobody sees a meter move by less, and each costs the window
// system's work, too.
constexpr double kScreenFrames = 2.0;
// What a frame takes at most, in seconds: after a pause nothing falls by all of it.
constexpr double kLongest = 0.05;

}  // namespace

/// The frames of all meters, each drawn at once.
class LevelMeter::Frames final : public QObject {
  public:
    static Frames& ofScreen() {
        static Frames& frames = *new Frames;
        return frames;
    }

    void add(LevelMeter& meter) {
        meters_.append(&meter);
        if (meters_.size() > 1) return;
        interval_.start();
        const double rate = std::max(1.0, meter.screen()->refreshRate());
        timer_.start(std::max(1, qRound(kScreenFrames * 1000.0 / rate)), Qt::PreciseTimer, this);
    }
    void remove(LevelMeter& meter) {
        meters_.removeOne(&meter);
        if (meters_.isEmpty()) timer_.stop();
    }

  protected:
    void timerEvent(QTimerEvent*) override {
        const double passed = static_cast<double>(interval_.restart()) / 1000.0;
        const double seconds = std::min(passed, kLongest);
        QList<LevelMeter*> covering;
        // One that rests leaves the list.
        for (LevelMeter* const meter : QList(meters_)) {
            if (!meter->moves(seconds)) continue;
            const bool isElsewhere =
                !covering.isEmpty() && covering.first()->window() != meter->window();
            if (meter->testAttribute(Qt::WA_OpaquePaintEvent) && !isElsewhere)
                covering.append(meter);
            else
                meter->update();
        }
        if (!covering.isEmpty()) draw(covering);
    }

  private:
    // Straight onto their window's picture: they cover what is below them, and the way of a repaint
    // through all that the window holds takes longer than they do.
    static void draw(const QList<LevelMeter*>& meters) {
        const QWidget* const window = meters.first()->window();
        QRegion places;
        for (const LevelMeter* const meter : meters)
            places += meter->place();
        QBackingStore& picture = *window->backingStore();
        picture.beginPaint(places);
        {
            QPainter painter(picture.paintDevice());
            for (const LevelMeter* const meter : meters)
                meter->draw(painter, meter->place().topLeft());
        }
        picture.endPaint();
        picture.flush(places, window->windowHandle());
    }

    QBasicTimer timer_;
    QElapsedTimer interval_;
    QList<LevelMeter*> meters_;
};

LevelMeter::LevelMeter(QWidget* parent) : QWidget(parent) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

LevelMeter::~LevelMeter() {
    rest();
}

void LevelMeter::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    // What covers all of itself has nothing below it drawn anew.
    setAttribute(Qt::WA_OpaquePaintEvent, panelColor().has_value());
    window()->windowHandle()->removeEventFilter(this);
    window()->windowHandle()->installEventFilter(this);
    follow();
}

std::optional<QColor> LevelMeter::panelColor() const {
    const auto* box = qobject_cast<const Box*>(parentWidget());
    // Elsewhere the panel lets its window's own background through.
    const auto* window = qobject_cast<const Window*>(this->window());
    const bool isAlone = window && window->backgroundColor().alpha() == 0;
    return box && isAlone ? box->panelColor() : std::nullopt;
}

bool LevelMeter::eventFilter(QObject* watched, QEvent* event) {
    // Seen again.
    if (event->type() == QEvent::Expose) follow();
    return QWidget::eventFilter(watched, event);
}

void LevelMeter::follow() {
    const QWindow* window = this->window()->windowHandle();
    if (isFollowing_ || !source_ || !isVisible() || !window || !window->isExposed()) return;
    isFollowing_ = true;
    Frames::ofScreen().add(*this);
}

void LevelMeter::rest() {
    if (!isFollowing_) return;
    isFollowing_ = false;
    Frames::ofScreen().remove(*this);
}

bool LevelMeter::moves(double seconds) {
    if (!isVisible() || !window()->windowHandle()->isExposed()) {
        rest();
        return false;
    }
    const bool isStill = Workspace::sharedWorkspace().accessibilityDisplayShouldReduceMotion();
    const auto now = isStill ? std::nullopt : source_();
    const Level level = now.value_or(Level());
    shown_.loudness = std::max(level.loudness, shown_.loudness - kFall * seconds);
    shown_.peak = std::max(level.peak, shown_.peak - kPeakFall * seconds);
    const auto pixels = [this](double fraction) {
        return static_cast<int>(std::lround(fraction * width() * devicePixelRatioF()));
    };
    const int loudness = pixels(shown_.loudness);
    const int peak = pixels(shown_.peak);
    const bool isOther = loudness != drawnLoudness_ || peak != drawnPeak_;
    drawnLoudness_ = loudness;
    drawnPeak_ = peak;
    if (!now && peak <= 0 && loudness <= 0) rest();
    return isOther;
}

QRect LevelMeter::place() const {
    return {mapTo(window(), QPoint()), size()};
}

void LevelMeter::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    draw(painter, {});
}

void LevelMeter::draw(QPainter& painter, const QPoint& corner) const {
    const QRectF all(corner, size());
    if (const auto panel = panelColor()) {
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        painter.fillRect(all, *panel);
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    }
    if (drawnPeak_ <= 0) return;
    const double scale = devicePixelRatioF();
    const auto fill = [&](double begin, double end, const QColor& color) {
        painter.fillRect(QRectF(all.x() + begin, all.y(), end - begin, all.height()), color);
    };
    fill(0, drawnLoudness_ / scale, theme::kAccent);
    fill(std::max(0.0, drawnPeak_ / scale - kMark), drawnPeak_ / scale, Qt::white);
}

}  // namespace platform
