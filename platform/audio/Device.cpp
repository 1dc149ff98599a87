#include "platform/audio/Device.h"

#include "platform/audio/Clock.h"
#include "platform/audio/DeviceStream.h"
#include "platform/audio/ThreadPriority.h"
#include "platform/audio/ThreadStart.h"

#include <dirent.h>
#include <unistd.h>

#include <condition_variable>
#include <mutex>
#include <string_view>

namespace platform::audio {

using std::chrono::milliseconds;
using State = DeviceReport::State;

namespace {

// How often a running stream is looked after.
constexpr milliseconds kTendingPeriod(100);

/// How many event counters the process has open: what a sound server sends its clients, and its
/// library forgets where it is short of memory.
int openEventCounters() {
    DIR* const folder = ::opendir("/proc/self/fd");
    if (!folder) return 0;
    int count = 0;
    while (const dirent* entry = ::readdir(folder)) {
        char target[64] = {};
        if (::readlinkat(::dirfd(folder), entry->d_name, target, sizeof target - 1) > 0)
            count += std::string_view(target) == "anon_inode:[eventfd]" ? 1 : 0;
    }
    ::closedir(folder);
    return count;
}

}  // namespace

/// What the device and its thread share; it outlives both.
struct Device::Shared {
    Shared(Mixer& mix, std::shared_ptr<Floor> turn, Floor::Speaker own,
           const std::optional<std::string>& through, std::function<void()> notice)
        : mixer(mix),
          floor(std::move(turn)),
          speaker(own),
          wantedBackend(through),
          changed(std::move(notice)) {}

    Mixer& mixer;
    const std::shared_ptr<Floor> floor;
    const Floor::Speaker speaker;
    const std::optional<std::string> wantedBackend;
    DeviceReport report;

    std::mutex mutex;
    std::condition_variable condition;
    std::function<void()> changed;  // none once the device is left behind
    std::string backend;
    bool running = false;
    bool ending = false;
    bool ended = false;
    bool told = false;  // something new since the thread last looked

    void run();
    void tend(DeviceStream& stream);
    void enter(State state);
};

void Device::Shared::enter(State state) {
    report.state.store(state, std::memory_order_release);
    const std::lock_guard lock(mutex);
    if (changed) changed();
}

void Device::Shared::tend(DeviceStream& stream) {
    bool prioritised = false;
    bool ran = false;
    std::unique_lock lock(mutex);
    while (!ending) {
        const bool run = running;
        told = false;
        lock.unlock();
        if (!stream.isAlive() || stream.isOutdated()) return;
        if (run) {
            if (!stream.start()) return;
            if (!ran) report.startedAt.store(nowNanoseconds(), std::memory_order_release);
            stream.measureLatency();
            if (const pid_t thread = stream.renderingThread(); thread != 0 && !prioritised) {
                askForRealTime(thread);
                prioritised = true;
            }
        } else {
            stream.stop();
        }
        ran = run;
        lock.lock();
        const auto news = [this] { return told; };
        if (run)
            condition.wait_for(lock, kTendingPeriod, news);
        else
            condition.wait(lock, news);
    }
}

void Device::Shared::run() {
    const int countersBefore = openEventCounters();
    auto stream = DeviceStream::open(mixer, *floor, speaker, wantedBackend, report);
    report.leaked.store(!stream && openEventCounters() > countersBefore, std::memory_order_relaxed);
    if (stream) {
        {
            const std::lock_guard lock(mutex);
            backend = stream->backend();
        }
        enter(State::Open);
        tend(*stream);
    }
    // Told before the stream is destroyed, which may take for ever.
    enter(State::Gone);
    stream.reset();
    const std::lock_guard lock(mutex);
    ended = true;
    condition.notify_all();
}

Device::Device(Mixer& mixer, std::shared_ptr<Floor> floor, Floor::Speaker speaker,
               const std::optional<std::string>& backend, std::function<void()> changed)
    : shared_(new Shared(mixer, std::move(floor), speaker, backend, std::move(changed))) {
    startIfNeeded(thread_, [shared = shared_] { shared->run(); });
    if (thread_.joinable()) return;
    shared_->report.state.store(State::Gone, std::memory_order_release);
    shared_->ended = true;
}

Device::~Device() {
    if (!thread_.joinable()) return;
    if (hasEnded())
        thread_.join();
    else
        thread_.detach();
    end();
    const std::lock_guard lock(shared_->mutex);
    shared_->changed = nullptr;
}

Floor::Speaker Device::speaker() const {
    return shared_->speaker;
}

const DeviceReport& Device::report() const {
    return shared_->report;
}

std::string Device::backend() const {
    const std::lock_guard lock(shared_->mutex);
    return shared_->backend;
}

void Device::setRunning(bool running) {
    const std::lock_guard lock(shared_->mutex);
    if (shared_->running == running) return;
    shared_->running = running;
    shared_->told = true;
    shared_->condition.notify_all();
}

void Device::end() {
    const std::lock_guard lock(shared_->mutex);
    shared_->ending = shared_->told = true;
    shared_->condition.notify_all();
}

bool Device::hasEnded(std::chrono::steady_clock::time_point deadline) {
    std::unique_lock lock(shared_->mutex);
    return shared_->condition.wait_until(lock, deadline, [this] { return shared_->ended; });
}

}  // namespace platform::audio
