#pragma once

#include "platform/audio/Device.h"
#include "platform/audio/Floor.h"
#include "platform/audio/Mixer.h"

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace platform::audio {

/// Keeps the mixer running: through the default device while that takes blocks, and by a silent
/// clock in real time while there is none, or while it takes none for half a second: its server
/// hangs, or its sink is suspended. A device that goes away is replaced by the next that comes, and
/// one that takes blocks again goes on where the clock is.
///
/// Its thread never calls the sound system; each device has a thread of its own for that, which may
/// wait for a server for ever. It tells the device to run when something plays and to rest a while
/// after nothing does.
class AudioOutput {
  public:
    /// Tells whether something plays.
    using Demand = std::function<bool()>;

    /// `demand` and `rateChanged` are called on the output's thread.
    AudioOutput(Mixer& mixer, Demand demand, std::function<void()> rateChanged);
    /// Ends the sound.
    ~AudioOutput();
    AudioOutput(const AudioOutput&) = delete;
    AudioOutput& operator=(const AudioOutput&) = delete;

    /// Something began or is about to begin to play.
    void wake();

  private:
    using Time = std::chrono::steady_clock::time_point;

    void run();
    void tell();
    void open(Time now);
    void replaceLostDevice(Time now);
    void superviseDevice(Time now);
    bool deviceIsLate(Time now) const;
    void startClock(Time now);
    void stopClock();
    bool keepsTimeAgain(Time now);
    void runSilently(Time now);
    std::chrono::milliseconds untilNextLook() const;

    Mixer& mixer_;
    const Demand demand_;
    const std::function<void()> rateChanged_;

    std::mutex mutex_;
    std::condition_variable condition_;
    bool woken_ = false;
    bool ending_ = false;

    // The thread's own.
    const std::shared_ptr<Floor> floor_ = std::make_shared<Floor>();
    Floor::Speaker lastSpeaker_;
    std::unique_ptr<Device> device_;
    bool wasOpen_ = false;                        // the device, when it was last looked at
    std::vector<std::unique_ptr<Device>> ended_;  // gone for us, but not yet destroyed
    std::optional<std::string> backend_;          // that served last
    Time backendSince_;                           // when it was last seen
    Time lastAttempt_;
    Time nextAttempt_;
    std::chrono::milliseconds attemptPeriod_;
    Time lastDemand_;
    Time lastLook_;
    Time expectedFrom_;                 // from when on the device has to take blocks
    std::optional<Time> clockedUntil_;  // set while the silent clock runs
    std::optional<Time> steadyFrom_;    // from when on the device takes blocks beside the clock
    std::vector<float> discarded_;
    int rate_ = 0;  // that was told last
    bool wanted_ = false;
    std::thread thread_;
};

}  // namespace platform::audio
