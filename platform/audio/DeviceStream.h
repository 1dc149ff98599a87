#pragma once

#include <cubeb/cubeb.h>
#include <pthread.h>

#include <atomic>
#include <memory>
#include <optional>
#include <string>

namespace platform::audio {

class Mixer;

/// A stereo stream to the system's default device, at the device's own rate, that asks the mixer
/// for its frames while it runs. The sound system moves it where the default goes. One thread uses
/// it.
class DeviceStream {
  public:
    /// Opens a stream, through `backend` only when that is given (a name that backend() gave).
    /// Sets the mixer's rate. Null when there is no device; may take some hundred milliseconds.
    static std::unique_ptr<DeviceStream> open(Mixer& mixer,
                                              const std::optional<std::string>& backend);
    ~DeviceStream();
    DeviceStream(const DeviceStream&) = delete;
    DeviceStream& operator=(const DeviceStream&) = delete;

    bool start();
    void stop();

    /// False once the device or the server has gone; the stream is then of no more use.
    bool isAlive() const { return !failed_.load(std::memory_order_acquire); }
    /// True when the sound system has moved the stream to a device of another rate since it was
    /// last asked.
    bool isOutdated();
    std::string backend() const { return cubeb_get_backend_id(context_.get()); }
    /// Tells the mixer how far behind its blocks the listener is.
    void measureLatency();
    /// The kernel's ID of the thread that renders; 0 before it did.
    pid_t renderingThread() const;

  private:
    struct Deleter {
        void operator()(cubeb* context) const { cubeb_destroy(context); }
        void operator()(cubeb_stream* stream) const { cubeb_stream_destroy(stream); }
    };

    explicit DeviceStream(Mixer& mixer) : mixer_(mixer) {}
    bool openStream();
    std::optional<int> rateOf(const std::string& device) const;
    static long render(cubeb_stream* stream, void* self, const void* in, void* out, long frames);
    static void stateChanged(cubeb_stream* stream, void* self, cubeb_state state);

    Mixer& mixer_;
    std::unique_ptr<cubeb, Deleter> context_;
    std::unique_ptr<cubeb_stream, Deleter> stream_;
    std::string device_;  // that it was last seen on; empty before
    bool running_ = false;
    std::atomic<bool> failed_ = false;
    std::atomic<pthread_t> thread_ = 0;
    std::atomic<uint64_t> delivered_ = 0;  // frames, since the stream was opened
};

}  // namespace platform::audio
