#include "platform/audio/AudioOutput.h"

#include "platform/audio/Mixer.h"
#include "platform/audio/ThreadStart.h"

#include <sys/mman.h>

#include <algorithm>
#include <utility>

namespace platform::audio {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;
using State = DeviceReport::State;

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
// A device that is late by so much takes no blocks now.
constexpr milliseconds kBlockPatience(500);
// One that its server has just started may have to wake first, as headphones without a cable do;
// the beginning of a song is worth the wait.
constexpr seconds kStartPatience(2);
// One that takes blocks again has to be in time for so long before it gets the song back: a server
// that wakes may first make up for what it missed.
constexpr milliseconds kProbation(200);
constexpr milliseconds kSteadyGap(100);
// But it may as well never have had a clock.
constexpr seconds kLongProbation(3);
// The end of a device that is well takes some ten milliseconds.
constexpr milliseconds kFarewell(400);
// So many devices may be about to end at once before there is another.
constexpr size_t kMostEnding = 3;
constexpr Floor::Speaker kClock = 1;
// A client of PulseAudio maps four pools of 64 MB, its own and the server's, and its threads need
// stacks.
constexpr size_t kClientRoom = 288 << 20;

steady_clock::time_point timeOf(const std::atomic<int64_t>& moment) {
    return steady_clock::time_point(nanoseconds(moment.load(std::memory_order_acquire)));
}

/// Whether the process's limits leave a sound server's client what it takes. PulseAudio's ends the
/// program where it gets no memory.
bool hasRoomForClient() {
    void* const room = ::mmap(nullptr, kClientRoom, PROT_READ | PROT_WRITE,
                              MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    return room != MAP_FAILED && ::munmap(room, kClientRoom) == 0;
}

}  // namespace

AudioOutput::AudioOutput(Mixer& mixer, Demand demand, std::function<void()> rateChanged)
    : mixer_(mixer),
      demand_(std::move(demand)),
      rateChanged_(std::move(rateChanged)),
      lastSpeaker_(kClock),
      attemptPeriod_(kAttemptPeriod) {}

AudioOutput::~AudioOutput() {
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
    }
    condition_.notify_one();
    if (thread_.joinable()) thread_.join();
    // From here on no device touches the mixer, however long it lives.
    floor_->give(Floor::kNobody);
    if (device_) ended_.push_back(std::move(device_));
    for (const auto& device : ended_)
        device->end();
    const Time deadline = steady_clock::now() + kFarewell;
    for (const auto& device : ended_)
        device->hasEnded(deadline);
}

void AudioOutput::wake() {
    {
        const std::lock_guard lock(mutex_);
        woken_ = true;
        startIfNeeded(thread_, [this] { run(); });
    }
    condition_.notify_one();
}

void AudioOutput::tell() {
    {
        const std::lock_guard lock(mutex_);
        woken_ = true;
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
        const bool wasWanted = std::exchange(wanted_, now - lastDemand_ < kIdlePatience);
        // Who was stopped for a while can't tell who else was.
        const bool overslept = now - lastLook_ > untilNextLook() + kBlockPatience / 2;
        if (wanted_ && (!wasWanted || overslept)) expectedFrom_ = now;
        lastLook_ = now;
        replaceLostDevice(now);
        superviseDevice(now);
        if (clockedUntil_) runSilently(now);
        const int rate = mixer_.rate();
        if (rate != std::exchange(rate_, rate)) rateChanged_();
        lock.lock();
        condition_.wait_for(lock, untilNextLook(), [this] { return woken_ || ending_; });
    }
}

void AudioOutput::open(Time now) {
    lastAttempt_ = now;
    expectedFrom_ = now;
    wasOpen_ = false;
    if (backend_ && now - backendSince_ > kBackendPatience) backend_.reset();
    device_ =
        std::make_unique<Device>(mixer_, floor_, ++lastSpeaker_, backend_, [this] { tell(); });
    if (!clockedUntil_) floor_->give(device_->speaker());
}

void AudioOutput::replaceLostDevice(Time now) {
    std::erase_if(ended_, [](const auto& device) { return device->hasEnded(); });
    if (device_ && device_->report().state.load(std::memory_order_acquire) == State::Gone) {
        // Attempts that leave files open come ever later, before the process runs out of files.
        attemptPeriod_ = device_->report().leaked.load() ? 2 * attemptPeriod_ : kAttemptPeriod;
        nextAttempt_ = wasOpen_ ? Time() : lastAttempt_ + attemptPeriod_;
        if (!clockedUntil_) floor_->give(Floor::kNobody);
        ended_.push_back(std::move(device_));
    }
    if (device_ || now < nextAttempt_ || ended_.size() >= kMostEnding) return;
    if (hasRoomForClient())
        open(now);
    else
        nextAttempt_ = now + kAttemptPeriod;
}

void AudioOutput::superviseDevice(Time now) {
    const bool open =
        device_ && device_->report().state.load(std::memory_order_acquire) == State::Open;
    if (open) {
        backend_ = device_->backend();
        backendSince_ = now;
        device_->setRunning(wanted_);
        if (!wasOpen_) expectedFrom_ = now;
    }
    wasOpen_ = open;
    if (!wanted_) {
        // A device may have recovered by the time that something plays again.
        if (clockedUntil_) stopClock();
    } else if (clockedUntil_) {
        if (open && keepsTimeAgain(now)) stopClock();
    } else if (deviceIsLate(now)) {
        startClock(now);
    }
    if (open && !clockedUntil_)
        mixer_.setLatency(device_->report().latency.load(std::memory_order_relaxed));
}

bool AudioOutput::deviceIsLate(Time now) const {
    if (!device_) return true;
    const DeviceReport& report = device_->report();
    return now - std::max(timeOf(report.lastBlockEnds), expectedFrom_) > kBlockPatience &&
           now - timeOf(report.startedAt) > kStartPatience;
}

void AudioOutput::startClock(Time now) {
    floor_->give(kClock);
    mixer_.setLatency(0);
    clockedUntil_ = now;
    steadyFrom_.reset();
}

void AudioOutput::stopClock() {
    clockedUntil_.reset();
    const int rate = device_ ? device_->report().rate.load(std::memory_order_relaxed) : 0;
    if (rate != 0) mixer_.setRate(rate);
    floor_->give(device_ ? device_->speaker() : Floor::kNobody);
}

bool AudioOutput::keepsTimeAgain(Time now) {
    if (now - timeOf(device_->report().lastBlock) > kSteadyGap)
        steadyFrom_.reset();
    else if (!steadyFrom_)
        steadyFrom_ = now;
    const auto probation = device_->report().isHeld.load() ? kLongProbation : kProbation;
    return steadyFrom_ && now - *steadyFrom_ >= probation;
}

void AudioOutput::runSilently(Time now) {
    const Time from = std::max(*clockedUntil_, now - kLongestLag);
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
    return clockedUntil_ ? kClockPeriod : kTendingPeriod;
}

}  // namespace platform::audio
