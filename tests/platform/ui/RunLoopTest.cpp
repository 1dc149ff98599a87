#include "platform/ui/Application.h"
#include "platform/ui/Button.h"
#include "platform/ui/RunLoop.h"
#include "platform/ui/Window.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QShortcut>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <ctime>
#include <thread>

namespace platform {
namespace {

using std::chrono::milliseconds;

class RunLoopTest : public testing::Test {
  protected:
    RunLoopTest() {
        window_.resize(200, 100);
        button_.setGeometry(0, 0, 50, 50);
        field_.setGeometry(60, 0, 100, 30);
        QObject::connect(&button_, &QAbstractButton::clicked, [this] { order_ << "click"; });
        QObject::connect(&field_, &QLineEdit::textEdited,
                         [this](const QString& text) { order_ << text; });
        auto* shortcut = new QShortcut(QKeySequence("Ctrl+K"), &window_);
        QObject::connect(shortcut, &QShortcut::activated, [this] { order_ << "shortcut"; });
        window_.makeKeyAndOrderFront();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&window_));
    }

    // Has `act` called while a wait lasts; returns what the wait returns.
    static bool meanwhile(const std::function<void()>& act) {
        bool isDone = false;
        QMetaObject::invokeMethod(
            qApp, [&] { act(), isDone = true, RunLoop::wakeUp(); }, Qt::QueuedConnection);
        return RunLoop::attendUntil([&] { return isDone; });
    }

    Window window_;
    Button button_{&window_};
    QLineEdit field_{&window_};
    QStringList order_;
};

TEST_F(RunLoopTest, InputAndCallsWaitAndComeAfterwardsInOrder) {
    QWindow* const window = window_.windowHandle();
    EXPECT_TRUE(meanwhile([&] {
        QTest::mouseClick(window, Qt::LeftButton, {}, {20, 20});
        RunLoop::perform([this] {
            order_ << "call";
            // Waits itself; what arrives then comes behind what waits already.
            meanwhile([this] { RunLoop::perform([this] { order_ << "last"; }); });
        });
        QTest::mouseMove(window, {80, 10});
        QTest::mouseClick(window, Qt::LeftButton, {}, {80, 10});
        QTest::keyClick(window, Qt::Key_A, Qt::NoModifier);
        QTest::keyClick(window, Qt::Key_K, Qt::ControlModifier);
    }));
    EXPECT_EQ(order_, QStringList());
    QTest::qWait(1);
    EXPECT_EQ(order_.join(QLatin1Char(' ')).toStdString(), "click call a shortcut last");
    EXPECT_TRUE(field_.hasFocus());
    RunLoop::perform([this] { order_ << "at once"; });
    EXPECT_EQ(order_.last(), "at once");
}

TEST_F(RunLoopTest, ADeadDiskIsWaitedForAsLongAsItMoves) {
    std::atomic<int> steps = 0;
    constexpr milliseconds kPatience(300);
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [this] { order_ << "timer"; });
    timer.start(1);
    QElapsedTimer time;
    time.start();
    const std::clock_t before = std::clock();
    // Three steps of two thirds of the patience each, then none.
    const auto result = RunLoop::resultOf(
        [&](const std::atomic<bool>& isLeft) {
            for (; steps < 3; ++steps) {
                std::this_thread::sleep_for(kPatience * 2 / 3);
                RunLoop::noteProgress();
            }
            while (!isLeft)
                std::this_thread::sleep_for(milliseconds(1));
            return ++steps;
        },
        kPatience);
    EXPECT_EQ(result, std::nullopt);
    EXPECT_GE(time.elapsed(), 3 * kPatience.count() * 2 / 3);
    EXPECT_LT((std::clock() - before) * 1000 / CLOCKS_PER_SEC, time.elapsed() / 2);
    EXPECT_EQ(order_, QStringList());
    EXPECT_TRUE(RunLoop::hasThreads());
    EXPECT_TRUE(QTest::qWaitFor([&] { return steps == 4; }));
    EXPECT_EQ(RunLoop::resultOf([](const auto&) { return 5; }), 5);
}

TEST_F(RunLoopTest, TheEndIsObeyedAtOnce) {
    button_.setAction(QStringLiteral("terminate"));
    const std::function<void()> ends[] = {
        [this] {
            QTest::mouseClick(window_.windowHandle(), Qt::LeftButton, {}, {20, 20});
        },
        [] { Application::sharedApplication().terminate(); }};
    for (const auto& end : ends) {
        window_.makeKeyAndOrderFront();
        bool isObeyed = false;
        QTimer::singleShot(0, [&] {
            QMetaObject::invokeMethod(qApp, end, Qt::QueuedConnection);
            RunLoop::attendUntil([] { return false; }, milliseconds(10'000));
            // Nor does any other wait begin.
            RunLoop::runUntil([] { return false; }, milliseconds(10'000));
            isObeyed = RunLoop::isStopped();
        });
        RunLoop::run();
        EXPECT_TRUE(isObeyed);
        EXPECT_FALSE(window_.isVisible());
        EXPECT_FALSE(RunLoop::isStopped());
    }
}

}  // namespace
}  // namespace platform
