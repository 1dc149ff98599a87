#include "platform/ui/RunLoop.h"

#include "platform/ui/HeldInput.h"

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QSocketNotifier>

#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <system_error>
#include <thread>

namespace platform {

namespace {

using Clock = std::chrono::steady_clock;

// A frame: nobody sees that the window does nothing for so long.
constexpr RunLoop::Duration kFrame{16};
// Nor that several such times follow one another for so long.
constexpr RunLoop::Duration kInterval{50};
// What the toolkit leaves out while a wait lasts. Timers are held back either way, but newer
// versions, told to leave them out, no longer sleep.
constexpr QEventLoop::ProcessEventsFlag kLeftOut =
    QT_VERSION < QT_VERSION_CHECK(6, 7, 0) ? QEventLoop::X11ExcludeTimers : QEventLoop::AllEvents;

/// Wakes the event loop, whose timers stand still, again and again.
class Alarm {
  public:
    explicit Alarm(RunLoop::Duration period)
        : file_(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)) {
        if (file_ < 0) return;
        const auto milliseconds = std::max<std::int64_t>(period.count(), 1);
        itimerspec setting = {};
        setting.it_interval.tv_sec = milliseconds / 1000;
        setting.it_interval.tv_nsec = milliseconds % 1000 * 1'000'000;
        setting.it_value = setting.it_interval;
        ::timerfd_settime(file_, 0, &setting, nullptr);
        notifier_ = std::make_unique<QSocketNotifier>(file_, QSocketNotifier::Read);
        QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                         [file = file_] {
                             std::uint64_t count = 0;
                             [[maybe_unused]] const auto size = ::read(file, &count, sizeof count);
                         });
    }
    ~Alarm() {
        notifier_.reset();
        if (file_ >= 0) ::close(file_);
    }
    Alarm(const Alarm&) = delete;
    Alarm& operator=(const Alarm&) = delete;

  private:
    const int file_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

struct State {
    std::mutex mutex;
    std::condition_variable woken;
    std::uint64_t wakeUps = 0;                       // under the mutex
    QAbstractEventDispatcher* dispatcher = nullptr;  // under the mutex; while the loop is run
    std::atomic<std::uint64_t> progress = 0;
    std::atomic<int> threads = 0;
    Clock::time_point attended;  // when the event loop was last run by a wait, or could have been
    Clock::time_point asked;     // for the last wait
    bool hasGivenUp = false;
    bool isStopped = false;
};

// Threads that nobody waits for use it beyond the program's end.
State& state() {
    static State& state = *new State;
    return state;
}

/// The one of this application object.
HeldInput& heldInput() {
    static QPointer<HeldInput> held;
    if (!held) {
        held = new HeldInput;
        held->setParent(qApp);
    }
    return *held;
}

/// Until when the window system need not be looked at.
Clock::time_point calmUntil(Clock::time_point now) {
    // What has not waited for longer than this is back in the event loop.
    constexpr std::chrono::seconds kSeries(1);
    if (now - state().asked > kSeries) state().attended = now;
    state().asked = now;
    return state().attended + kInterval;
}

std::uint64_t wakeUpsUntilNow() {
    const std::lock_guard lock(state().mutex);
    return state().wakeUps;
}

}  // namespace

bool RunLoop::runUntil(const std::function<bool()>& isDone, Duration patience) {
    const auto begin = Clock::now();
    const auto end = std::min(begin + std::min(kFrame, patience), calmUntil(begin));
    std::uint64_t seen = wakeUpsUntilNow();
    while (!isDone()) {
        if (state().isStopped) return false;
        if (Clock::now() >= end) return attendUntil(isDone, patience);
        std::unique_lock lock(state().mutex);
        state().woken.wait_until(lock, end, [&] { return state().wakeUps != seen; });
        seen = state().wakeUps;
    }
    return true;
}

bool RunLoop::attendUntil(const std::function<bool()>& isDone, Duration patience) {
    HeldInput& held = heldInput();
    held.hold();
    std::unique_lock lock(state().mutex);
    QAbstractEventDispatcher* const outer =
        std::exchange(state().dispatcher, QAbstractEventDispatcher::instance());
    lock.unlock();
    constexpr int kLooks = 8;  // at the progress, while patience lasts
    const Alarm alarm(patience / kLooks);
    std::uint64_t seen = state().progress;
    auto deadline = Clock::now() + patience;
    bool done = false;
    QCoreApplication::processEvents(kLeftOut);
    while (!(done = isDone()) && !state().isStopped && Clock::now() < deadline) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | kLeftOut);
        const std::uint64_t now = state().progress;
        if (std::exchange(seen, now) != now) deadline = Clock::now() + patience;
    }
    state().attended = Clock::now();
    lock.lock();
    state().dispatcher = outer;
    lock.unlock();
    state().hasGivenUp = state().hasGivenUp || !done;
    if (state().isStopped) held.discard();
    held.release();
    return done;
}

void RunLoop::attend() {
    const auto now = Clock::now();
    if (now >= calmUntil(now)) attendUntil([] { return true; });
}

void RunLoop::noteProgress() {
    ++state().progress;
}

void RunLoop::wakeUp() {
    noteProgress();
    const std::lock_guard lock(state().mutex);
    ++state().wakeUps;
    state().woken.notify_all();
    if (state().dispatcher) state().dispatcher->wakeUp();
}

void RunLoop::stop() {
    state().isStopped = state().dispatcher != nullptr;
    // Some event loops go on waiting when an event from within has been handled.
    wakeUp();
}

bool RunLoop::isStopped() {
    return state().isStopped;
}

int RunLoop::run() {
    const int status = QApplication::exec();
    state().isStopped = false;
    return status;
}

void RunLoop::perform(std::function<void()> block) {
    heldInput().perform(std::move(block));
}

void RunLoop::startThread(std::function<void()> work) {
    ++state().threads;
    const auto run = [work = std::move(work)] {
        work();
        --state().threads;
        wakeUp();
    };
    try {
        std::thread(run).detach();
    } catch (const std::system_error&) {
        run();
    }
}

bool RunLoop::hasThreads() {
    return state().hasGivenUp || state().threads > 0;
}

}  // namespace platform
