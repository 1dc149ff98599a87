#pragma once

#include "platform/audio/Floor.h"
#include "platform/audio/Pacer.h"

#include <cubeb/cubeb.h>
#include <pthread.h>

#include <atomic>
#include <memory>
#include <optional>
#include <string>

namespace platform::audio {

class Mixer;
struct DeviceReport;

/// A stereo stream to the system's default device, at the device's own rate, that asks the mixer
/// for its frames while it runs and has the floor. The sound system moves it where the default
/// goes. One thread uses it; each call may wait for as long as a sound server doesn't answer. The
/// mixer may go before the stream once that will never have the floor again.
class DeviceStream {
  public:
    /// Opens a stream, through `backend` only when that is given (a name that backend() gave).
    /// Sets the mixer's rate if it has the floor as `speaker`, and the report's. Null when there is
    /// no device; takes some hundred milliseconds where the server is well.
    static std::unique_ptr<DeviceStream> open(Mixer& mixer, Floor& floor, Floor::Speaker speaker,
                                              const std::optional<std::string>& backend,
                                              DeviceReport& report);
    ~DeviceStream();
    DeviceStream(const DeviceStream&) = delete;
    DeviceStream& operator=(const DeviceStream&) = delete;

    bool start();
    void stop();

    /// False once the device or the server has gone; the stream is then of no more use.
    bool isAlive() const { return !failed_.load(std::memory_order_acquire); }
    /// True when the sound system has moved the stream since it was last asked, and the default
    /// device has another rate than the stream.
    bool isOutdated();
    std::string backend() const { return cubeb_get_backend_id(context_.get()); }
    /// Reports how far behind its blocks the listener is.
    void measureLatency();
    /// The kernel's ID of the thread that renders; 0 before it did.
    pid_t renderingThread() const;

  private:
    struct Deleter {
        void operator()(cubeb* context) const { cubeb_destroy(context); }
        void operator()(cubeb_stream* stream) const { cubeb_stream_destroy(stream); }
    };

    using ContextPointer = std::unique_ptr<cubeb, Deleter>;
    static ContextPointer contextFor(const std::optional<std::string>& backend);

    DeviceStream(Mixer& mixer, Floor& floor, Floor::Speaker speaker, DeviceReport& report)
        : mixer_(mixer), floor_(floor), speaker_(speaker), report_(report) {}
    bool openStream();
    void render(float* out, size_t frames);
    static long dataWanted(cubeb_stream* stream, void* self, const void* in, void* out,
                           long frames);
    static void stateChanged(cubeb_stream* stream, void* self, cubeb_state state);

    Mixer& mixer_;
    Floor& floor_;
    const Floor::Speaker speaker_;
    DeviceReport& report_;
    Pacer pacer_;   // the callback's own
    int rate_ = 0;  // frames per second
    ContextPointer context_;
    std::unique_ptr<cubeb_stream, Deleter> stream_;
    std::string device_;  // that it was last seen on; empty before
    bool running_ = false;
    std::atomic<bool> failed_ = false;
    std::atomic<pthread_t> thread_ = 0;
    std::atomic<uint64_t> delivered_ = 0;  // frames, since the stream was opened
};

}  // namespace platform::audio
