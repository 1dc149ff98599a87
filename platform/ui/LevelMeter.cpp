#include "platform/ui/LevelMeter.h"

#include "platform/ui/Box.h"
#include "platform/ui/Theme.h"
#include "platform/ui/Window.h"
#include "platform/workspace/Workspace.h"

#include <QCoreApplication>
#include <QEvent>
#include <QPainter>
#include <QScreen>
#include <QTimer>
#include <QWindow>

#include <algorithm>
#include <cmath>

namespace platform {

namespace {

// What is shown falls by so much of the meter's length a second, at most.
constexpr double kFall = 0.9;
constexpr double kPeakFall = 0.45;
constexpr double kMark = 2.0;  // points
// Every so manieth frame of the screen: what one costs is the toolkit's and the window system's,
// and nobody sees a meter move by less.
constexpr double kScreenFrames = 2.0;

/// The frames of all meters, so that they are drawn at once.
QTimer& frames() {
    static QTimer& timer = *new QTimer(qApp);
    return timer;
}

int followers = 0;

double fallen(double shown, double now, double fall) {
    return std::max(now, shown - fall * frames().interval() / 1000.0);
}

}  // namespace

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
    connect(&frames(), &QTimer::timeout, this, &LevelMeter::step);
    if (followers++ > 0) return;
    frames().setTimerType(Qt::PreciseTimer);
    frames().start(
        std::max(1, qRound(kScreenFrames * 1000.0 / std::max(1.0, screen()->refreshRate()))));
}

void LevelMeter::rest() {
    if (!isFollowing_) return;
    isFollowing_ = false;
    disconnect(&frames(), nullptr, this, nullptr);
    if (--followers == 0) frames().stop();
}

void LevelMeter::step() {
    if (!window()->windowHandle()->isExposed()) return rest();
    const bool isStill = Workspace::sharedWorkspace().accessibilityDisplayShouldReduceMotion();
    const auto now = isStill ? std::nullopt : source_();
    const Level level = now.value_or(Level());
    shown_.loudness = fallen(shown_.loudness, level.loudness, kFall);
    shown_.peak = fallen(shown_.peak, level.peak, kPeakFall);
    const auto pixels = [this](double fraction) {
        return static_cast<int>(std::lround(fraction * width() * devicePixelRatioF()));
    };
    const int loudness = pixels(shown_.loudness);
    const int peak = pixels(shown_.peak);
    // As one piece: the window system is sent each by itself.
    if (loudness != drawnLoudness_ || peak != drawnPeak_) update();
    drawnLoudness_ = loudness;
    drawnPeak_ = peak;
    if (!now && peak <= 0 && loudness <= 0) rest();
}

void LevelMeter::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    if (const auto panel = panelColor()) {
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        painter.fillRect(rect(), *panel);
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    }
    if (drawnPeak_ <= 0) return;
    const double scale = devicePixelRatioF();
    painter.fillRect(QRectF(0, 0, drawnLoudness_ / scale, height()), theme::kAccent);
    const double mark = std::max(0.0, drawnPeak_ / scale - kMark);
    painter.fillRect(QRectF(mark, 0, drawnPeak_ / scale - mark, height()), Qt::white);
}

}  // namespace platform
