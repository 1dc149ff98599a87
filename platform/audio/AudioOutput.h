#pragma once

#include "platform/audio/DeviceStream.h"
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

/// Keeps the mixer running: through the default device while there is one, and by a silent clock in
/// real time while there is none. A device that goes away is replaced by the next that comes.
///
/// Its thread opens the device when it is first woken, starts the stream when something plays and
/// stops it a while after nothing does. Only that thread uses the device.
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
    void open(Time now);
    void close();
    void tendStream(Time now);
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
    std::unique_ptr<DeviceStream> stream_;
    std::optional<std::string> backend_;  // that served last
    Time backendSince_;                   // when it was last seen
    Time nextAttempt_;
    Time lastDemand_;
    std::optional<Time> clockedUntil_;  // set while the silent clock runs
    std::vector<float> discarded_;
    bool prioritised_ = false;
    bool wanted_ = false;
    std::thread thread_;
};

}  // namespace platform::audio
