#include "platform/audio/AudioOutput.h"

#include "platform/audio/ThreadPriority.h"
#include "platform/audio/ThreadStart.h"

#include <algorithm>

namespace platform::audio {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

namespace {

// How often a running device is looked after.
constexpr milliseconds kTendingPeriod(100);
// Period of the silent clock.
constexpr milliseconds kClockPeriod(10);
// After a machine slept, the clock does not catch up on more than this.
constexpr milliseconds kLongestLag(500);
constexpr milliseconds kAttemptPeriod(500);
// A stream that stands ready costs the device its sleep, one that has to start costs a moment.
constexpr seconds kIdlePatience(10);
// A server that restarts is waited for before another backend takes the hardware from it.
constexpr seconds kBackendPatience(10);

}  // namespace

AudioOutput::AudioOutput(Mixer& mixer, Demand demand, std::function<void()> rateChanged)
    : mixer_(mixer), demand_(std::move(demand)), rateChanged_(std::move(rateChanged)) {}

AudioOutput::~AudioOutput() {
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
    }
    condition_.notify_one();
    if (thread_.joinable()) thread_.join();
}

void AudioOutput::wake() {
    {
        const std::lock_guard lock(mutex_);
        woken_ = true;
        startIfNeeded(thread_, [this] { run(); });
    }
    condition_.notify_one();
}

void AudioOutput::run() {
    std::unique_lock lock(mutex_);
    while (!ending_) {
        woken_ = false;
        lock.unlock();
        const Time now = steady_clock::now();
        if (demand_()) lastDemand_ = now;
        wanted_ = now - lastDemand_ < kIdlePatience;
        if (stream_ && (!stream_->isAlive() || stream_->isOutdated())) close();
        if (!stream_ && now >= nextAttempt_) open(now);
        if (stream_)
            tendStream(now);
        else
            runSilently(now);
        lock.lock();
        condition_.wait_for(lock, untilNextLook(), [this] { return woken_ || ending_; });
    }
    lock.unlock();
    close();
}

void AudioOutput::open(Time now) {
    nextAttempt_ = now + kAttemptPeriod;
    if (backend_ && now - backendSince_ > kBackendPatience) backend_.reset();
    const int rateBefore = mixer_.rate();
    stream_ = DeviceStream::open(mixer_, backend_);
    if (stream_) {
        backend_ = stream_->backend();
        clockedUntil_.reset();
        prioritised_ = false;
    }
    if (mixer_.rate() != rateBefore) rateChanged_();
}

void AudioOutput::close() {
    stream_.reset();
    nextAttempt_ = {};
}

void AudioOutput::tendStream(Time now) {
    backendSince_ = now;
    if (!wanted_) {
        stream_->stop();
        return;
    }
    if (!stream_->start()) {
        close();
        return;
    }
    stream_->measureLatency();
    if (const pid_t thread = stream_->renderingThread(); thread != 0 && !prioritised_) {
        askForRealTime(thread);
        prioritised_ = true;
    }
}

void AudioOutput::runSilently(Time now) {
    if (!wanted_) {
        clockedUntil_.reset();
        return;
    }
    mixer_.setLatency(0);
    const Time from = std::max(clockedUntil_.value_or(now), now - kLongestLag);
    const auto elapsed = std::chrono::duration<double>(now - from).count();
    const auto frames = static_cast<size_t>(elapsed * mixer_.rate());
    discarded_.resize(2 * frames);
    mixer_.render(discarded_.data(), frames);
    // Advances by whole frames, so that no time is lost to rounding.
    clockedUntil_ =
        from + std::chrono::duration_cast<steady_clock::duration>(
                   std::chrono::duration<double>(static_cast<double>(frames) / mixer_.rate()));
}

milliseconds AudioOutput::untilNextLook() const {
    if (!wanted_) return seconds(3600);
    return stream_ ? kTendingPeriod : kClockPeriod;
}

}  // namespace platform::audio
