#include "platform/ui/Box.h"
#include "platform/ui/Button.h"
#include "platform/ui/Controller.h"
#include "platform/ui/LevelMeter.h"
#include "platform/ui/ProgressIndicator.h"
#include "platform/ui/SearchField.h"
#include "platform/ui/Slider.h"
#include "platform/ui/Theme.h"
#include "platform/ui/Window.h"

#include <QAccessible>
#include <QApplication>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QTest>
#include <QThread>

#include <gtest/gtest.h>

#include <functional>
#include <utility>

namespace platform {
namespace {

// Counts the actions that reach it.
class Counter : public Controller {
  public:
    Counter() {
        action(QStringLiteral("count"), [this](Control*) { ++count; });
    }
    template <typename ControlType>
    void watch(ControlType& control) {
        control.setTarget(this);
        control.setAction(QStringLiteral("count"));
    }
    int count = 0;
};

void mouse(QWidget& widget, QEvent::Type type, double x) {
    const QPointF at(x, widget.height() / 2.0);
    const auto buttons = type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent event(type, at, widget.mapToGlobal(at), Qt::LeftButton, buttons, Qt::NoModifier);
    QApplication::sendEvent(&widget, &event);
}

// Runs what a search field asks for.
class Searcher : public Controller {
  public:
    explicit Searcher(std::function<void()> search) {
        action(QStringLiteral("search"), [run = std::move(search)](Control*) { run(); });
    }
};

void processEventsUntil(const std::function<bool()>& condition) {
    QElapsedTimer time;
    for (time.start(); !condition() && time.elapsed() < 10'000;)
        QApplication::processEvents();
}

void key(QWidget& widget, int code, const QString& text = {}) {
    QKeyEvent event(QEvent::KeyPress, code, Qt::NoModifier, text);
    QApplication::sendEvent(&widget, &event);
}

TEST(ButtonStates, AClickTurnsOnOffAndOutOfMixed) {
    Counter counter;
    Button button;
    counter.watch(button);
    button.click();
    EXPECT_EQ(button.state(), 0);
    button.setCheckable(true);
    for (const int after : {1, 0, 1}) {
        button.click();
        EXPECT_EQ(button.state(), after);
    }
    button.setState(-1);
    EXPECT_EQ(button.state(), -1);
    button.click();
    EXPECT_EQ(button.state(), 1);
    EXPECT_EQ(counter.count, 5);
    // As a screen reader's user does.
    QAccessible::queryAccessibleInterface(&button)->actionInterface()->doAction(
        QAccessibleActionInterface::toggleAction());
    EXPECT_EQ(button.state(), 0);
    EXPECT_EQ(counter.count, 6);
}

TEST(SliderValues, AreExactAndClamped) {
    Slider slider;
    slider.setMaxValue(215.7);
    slider.setDoubleValue(10.123456789);
    EXPECT_EQ(slider.doubleValue(), 10.123456789);
    slider.setDoubleValue(400.0);
    EXPECT_EQ(slider.doubleValue(), 215.7);
    slider.setMaxValue(0.0);
    EXPECT_EQ(slider.doubleValue(), 0.0);
    slider.setDoubleValue(5.0);
    EXPECT_EQ(slider.doubleValue(), 0.0);
}

TEST(SliderByHand, FollowsThePointerAndHoldsAgainstTheClock) {
    Counter counter;
    Slider slider;
    counter.watch(slider);
    slider.resize(216, 22);
    slider.setMaxValue(100.0);
    slider.setProperty("continuous", false);
    mouse(slider, QEvent::MouseButtonPress, 108);
    EXPECT_NEAR(slider.doubleValue(), 50.0, 1e-6);
    slider.setDoubleValue(3.0);
    EXPECT_NEAR(slider.doubleValue(), 50.0, 1e-6);
    mouse(slider, QEvent::MouseMove, 500);
    EXPECT_EQ(slider.doubleValue(), 100.0);
    EXPECT_EQ(counter.count, 0);
    mouse(slider, QEvent::MouseButtonRelease, 8);
    EXPECT_EQ(slider.doubleValue(), 0.0);
    EXPECT_EQ(counter.count, 1);
    slider.setDoubleValue(3.0);
    EXPECT_EQ(slider.doubleValue(), 3.0);

    slider.setProperty("continuous", true);
    mouse(slider, QEvent::MouseButtonPress, 108);
    mouse(slider, QEvent::MouseMove, 120);
    EXPECT_EQ(counter.count, 3);
    // Hidden under the pointer: the release never comes, the clock moves it again.
    slider.show();
    slider.hide();
    slider.setDoubleValue(7.0);
    EXPECT_EQ(slider.doubleValue(), 7.0);

    slider.setProperty("keyStep", 5.0);
    key(slider, Qt::Key_Right);
    EXPECT_EQ(slider.doubleValue(), 12.0);
    key(slider, Qt::Key_End);
    EXPECT_EQ(slider.doubleValue(), 100.0);
    slider.setValueSource([] { return 31.0; });
    key(slider, Qt::Key_Left);
    EXPECT_EQ(slider.doubleValue(), 26.0);
}

TEST(SliderByHand, TellsTheTimeUnderThePointer) {
    QWidget window;
    Slider slider(&window);
    slider.setGeometry(20, 60, 216, 22);
    slider.setProperty("unit", int(Slider::Unit::Seconds));
    slider.setMaxValue(7200.0);
    window.resize(300, 100);
    window.show();
    const auto tag = [&window] {
        const auto* label = window.findChild<QLabel*>();
        return label && label->isVisible() ? label->text() : QString();
    };
    QTest::mouseMove(&slider, {58, 11});
    EXPECT_EQ(tag(), QStringLiteral("30:00"));
    EXPECT_EQ(slider.doubleValue(), 0.0);
    mouse(slider, QEvent::MouseButtonPress, 158);
    mouse(slider, QEvent::MouseMove, 133);
    EXPECT_EQ(tag(), QStringLiteral("1:15:00"));
    EXPECT_EQ(slider.valueText(), QStringLiteral("1:15:00 of 2:00:00"));
    mouse(slider, QEvent::MouseMove, 900);
    EXPECT_EQ(tag(), QStringLiteral("2:00:00"));
    mouse(slider, QEvent::MouseButtonRelease, 900);
    EXPECT_EQ(tag(), QString());
}

TEST(SliderGroove, RisesAsFarAsItIsKnown) {
    Slider slider;
    slider.resize(416, 30);
    slider.setDoubleValue(0.25);
    // The rows of pixels that stand out; every third column is a gap.
    const auto heightAt = [&](int x) {
        const QImage shown = slider.grab().toImage();
        int height = 0;
        for (int i = 0; i < 3 * shown.height(); ++i)
            height += shown.pixel(x + i % 3, i / 3) != shown.pixel(0, 0);
        return height / 3;
    };
    EXPECT_LE(heightAt(60), 4);
    slider.setGroove(std::vector<Groove::Stretch>(64, {0.5F, 1.0F}), 128);
    EXPECT_EQ(heightAt(60), 20);
    EXPECT_EQ(heightAt(180), 20);
    EXPECT_LE(heightAt(300), 4);
    slider.setGroove({}, 0);
    EXPECT_LE(heightAt(60), 4);
}

TEST(Meter, FollowsWhatSoundsWhileItIsSeen) {
    QWidget window;
    LevelMeter meter(&window);
    meter.setGeometry(10, 10, 100, 4);
    std::optional<LevelMeter::Level> level = LevelMeter::Level{0.5, 0.75};
    int asked = 0;
    meter.setSource([&] { return ++asked, level; });
    const auto shows = [&](int x, const QColor& color) {
        return window.grab().toImage().pixelColor(10 + x, 12) == color;
    };
    const auto isAsked = [&] {
        QTest::qWait(50);
        const int before = asked;
        QTest::qWait(100);
        return asked != before;
    };
    meter.follow();
    EXPECT_FALSE(isAsked());
    window.show();
    processEventsUntil([&] { return shows(49, theme::kAccent); });
    EXPECT_TRUE(shows(49, theme::kAccent) && !shows(52, theme::kAccent) && shows(74, Qt::white));
    window.hide();
    EXPECT_FALSE(isAsked());
    window.show();
    EXPECT_TRUE(isAsked());
    level.reset();
    processEventsUntil([&] { return !shows(0, theme::kAccent) && !isAsked(); });
    EXPECT_FALSE(isAsked());
}

class SeeThrough final : public Window {
  public:
    bool isOpaque() const override { return false; }
    QColor backgroundColor() const override { return Qt::transparent; }
};

TEST(Meter, LooksLikeItsPanelWhereNothingSounds) {
    SeeThrough window;
    Box box(&window);
    box.setPanel(true);
    box.setGeometry(0, 0, 200, 100);
    LevelMeter meter(&box);
    meter.setGeometry(50, 50, 100, 4);
    window.makeKeyAndOrderFront();
    EXPECT_TRUE(meter.testAttribute(Qt::WA_OpaquePaintEvent));
    const auto shown = [&](int y) {
        const QPixmap picture = window.screen()->grabWindow(window.winId());
        return picture.toImage().pixelColor(60, y);
    };
    for (const double density : {0.5, 1.0}) {
        window.setPanelDensity(density);
        QCoreApplication::processEvents();
        EXPECT_EQ(shown(52), shown(60)) << density;
    }
    meter.setSource([] { return LevelMeter::Level{0.5, 0.75}; });
    meter.follow();
    processEventsUntil([&] { return shown(52) == theme::kAccent; });
    EXPECT_EQ(shown(52), theme::kAccent);
    EXPECT_EQ(shown(54), shown(60));
}

TEST(Search, ActsOnceNoKeyWaitsAndAtOnceOnReturn) {
    Counter counter;
    SearchField field;
    counter.watch(field);
    for (const char letter : {'e', 'r', 'i'})
        key(field, letter, QLatin1String(&letter, 1));
    EXPECT_EQ(counter.count, 0);
    processEventsUntil([&] { return counter.count > 0; });
    EXPECT_EQ(counter.count, 1);
    key(field, Qt::Key_Return);
    EXPECT_EQ(counter.count, 2);
    field.selectAll();
    key(field, Qt::Key_Backspace);
    EXPECT_EQ(field.stringValue(), QString());
    processEventsUntil([&] { return counter.count == 3; });
    EXPECT_EQ(counter.count, 3);
    // A text set by the program is nobody's search; one that an assistive tool sets is the user's.
    field.setStringValue(QStringLiteral("x"));
    QAccessible::queryAccessibleInterface(&field)->setText(QAccessible::Value,
                                                           QStringLiteral("read"));
    processEventsUntil([&] { return counter.count == 4; });
    EXPECT_EQ(counter.count, 4);
}

TEST(Search, TakesTogetherWhatIsTypedWhileItRuns) {
    SearchField field;
    QStringList searches;
    Searcher searcher([&] {
        searches << field.stringValue();
        if (searches.size() > 1) return;
        for (const int code : {Qt::Key_B, Qt::Key_Backspace, Qt::Key_Backspace, Qt::Key_C})
            QApplication::postEvent(
                &field,
                new QKeyEvent(QEvent::KeyPress, code, Qt::NoModifier,
                              code == Qt::Key_Backspace ? QString() : QString(QChar(code))));
    });
    field.setTarget(&searcher);
    field.setAction(QStringLiteral("search"));
    key(field, Qt::Key_A, QStringLiteral("a"));
    processEventsUntil([&] { return searches.size() == 2; });
    EXPECT_EQ(searches, (QStringList{QStringLiteral("a"), QStringLiteral("C")}));
}

TEST(Progress, IsDrawnAtOnceAndNoOftenerThanItShows) {
    class Bar : public ProgressIndicator {
      public:
        using ProgressIndicator::ProgressIndicator;
        int drawings = 0;
        void paintEvent(QPaintEvent* event) override {
            ++drawings;
            ProgressIndicator::paintEvent(event);
        }
    };
    QWidget window;
    Bar bar(&window);
    bar.resize(100, 4);
    window.show();
    QApplication::processEvents();
    bar.setMaxValue(10'000.0);
    const auto show = [&](double value) {
        bar.setDoubleValue(value);
        bar.displayIfNeeded();
        return std::exchange(bar.drawings, 0);
    };
    show(0);
    QThread::msleep(20);
    EXPECT_EQ(show(5'000), 1);
    QThread::msleep(20);
    EXPECT_EQ(show(5'001), 0);
    QElapsedTimer passed;
    passed.start();
    int drawings = 0;
    for (int i = 0; i < 10'000; ++i)
        drawings += show(i);
    EXPECT_LE(drawings, 1 + passed.elapsed() / 16);
    bar.setHidden(true);
    QThread::msleep(20);
    EXPECT_EQ(show(0), 0);

    bar.setHidden(false);
    EXPECT_EQ(show(1), 0);
    EXPECT_TRUE(bar.isHidden());
    QThread::msleep(20);
    EXPECT_EQ(show(5'000), 1);
    bar.setHidden(true);
    bar.setHidden(false);
    bar.setHidden(true);
    QApplication::processEvents();
    EXPECT_TRUE(bar.isHidden());
    bar.setHidden(false);
    QApplication::processEvents();
    EXPECT_TRUE(bar.isVisible());
}

}  // namespace
}  // namespace platform
