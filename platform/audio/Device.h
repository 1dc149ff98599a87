#pragma once

#include "platform/audio/Floor.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>

namespace platform::audio {

class Mixer;

/// What a device's own threads tell of it. Any thread may read it at any time.
struct DeviceReport {
    enum class State { Opening, Open, Gone };
    std::atomic<State> state = State::Opening;
    std::atomic<int> rate = 0;               ///< Frames per second, once open.
    std::atomic<double> latency = 0;         ///< Seconds from a block's delivery to its hearing.
    std::atomic<int64_t> lastBlock = 0;      ///< When it took a block last, nowNanoseconds().
    std::atomic<int64_t> lastBlockEnds = 0;  ///< The same, plus the block's length.
    std::atomic<int64_t> startedAt = 0;      ///< When the server let it run, nowNanoseconds().
    std::atomic<bool> isHeld = false;        ///< It keeps no time and is made to.
    std::atomic<bool> leaked = false;        ///< It could not be opened, and files stayed open.
};

/// A stream to the system's default device on a thread of its own, since any call into the sound
/// system may wait for a server that never answers. Nobody waits for that thread: what is asked of
/// the device happens when the server lets it, and a device that can't end is left behind.
///
/// The stream renders while it has the floor, and takes silence otherwise.
class Device {
  public:
    /// Begins to open the device, through `backend` only where that is given. `changed` is called
    /// on a thread of the device's whenever its state has changed, but not once it is left behind.
    Device(Mixer& mixer, std::shared_ptr<Floor> floor, Floor::Speaker speaker,
           const std::optional<std::string>& backend, std::function<void()> changed);
    /// Leaves behind what has not ended.
    ~Device();
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    Floor::Speaker speaker() const;
    const DeviceReport& report() const;
    /// The backend's name, once the device is open.
    std::string backend() const;

    /// Lets the stream run or rest.
    void setRunning(bool running);
    /// Asks the device to end.
    void end();
    /// Waits for the end until `deadline` at most; returns whether it has come.
    bool hasEnded(std::chrono::steady_clock::time_point deadline = {});

  private:
    struct Shared;

    const std::shared_ptr<Shared> shared_;
    std::thread thread_;
};

}  // namespace platform::audio
