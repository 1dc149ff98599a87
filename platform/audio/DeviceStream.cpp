#include "platform/audio/DeviceStream.h"

#include "platform/audio/Clock.h"
#include "platform/audio/Device.h"
#include "platform/audio/Mixer.h"
#include "platform/audio/ThreadPriority.h"

#include <QCoreApplication>

#include <algorithm>
#include <thread>

namespace platform::audio {

namespace {

constexpr uint32_t kFallbackRate = 48000;
// The library's own range.
constexpr uint32_t kHighestRate = 192000;
constexpr uint32_t kLowestRate = 8000;
// The least that the library grants at 48 kHz on PulseAudio; no frame was missing under load:
// docs/sound.md.
constexpr uint32_t kLatencyMilliseconds = 25;

uint32_t deviceRate(cubeb* context) {
    uint32_t rate = 0;
    if (cubeb_get_preferred_sample_rate(context, &rate) != CUBEB_OK) return kFallbackRate;
    return std::clamp(rate, kLowestRate, kHighestRate);
}

}  // namespace

DeviceStream::ContextPointer DeviceStream::contextFor(const std::optional<std::string>& backend) {
    const QByteArray name = QCoreApplication::applicationName().toUtf8();
    cubeb* context = nullptr;
    if (cubeb_init(&context, name.constData(), backend ? backend->c_str() : nullptr) != CUBEB_OK)
        return nullptr;
    ContextPointer opened(context);
    // The library falls back to another backend silently.
    return !backend || cubeb_get_backend_id(context) == *backend ? std::move(opened) : nullptr;
}

std::unique_ptr<DeviceStream> DeviceStream::open(Mixer& mixer, Floor& floor, Floor::Speaker speaker,
                                                 const std::optional<std::string>& backend,
                                                 DeviceReport& report) {
    std::unique_ptr<DeviceStream> opened(new DeviceStream(mixer, floor, speaker, report));
    opened->context_ = contextFor(backend);
    return opened->context_ && opened->openStream() ? std::move(opened) : nullptr;
}

DeviceStream::~DeviceStream() {
    stop();
}

bool DeviceStream::openStream() {
    cubeb_stream_params parameters = {};
    parameters.format = CUBEB_SAMPLE_FLOAT32NE;
    parameters.rate = deviceRate(context_.get());
    parameters.channels = 2;
    parameters.layout = CUBEB_LAYOUT_STEREO;
    parameters.prefs = CUBEB_STREAM_PREF_NONE;
    uint32_t least = 0;
    if (cubeb_get_min_latency(context_.get(), &parameters, &least) != CUBEB_OK) least = 0;
    const uint32_t latency = std::max(least, parameters.rate * kLatencyMilliseconds / 1000);
    rate_ = static_cast<int>(parameters.rate);
    const double seconds = static_cast<double>(latency) / rate_;
    report_.rate.store(rate_, std::memory_order_relaxed);
    report_.latency.store(seconds, std::memory_order_relaxed);
    // The stream may ask for its first frames before it is started.
    floor_.speak(speaker_, [&] {
        mixer_.setRate(rate_);
        mixer_.setLatency(seconds);
    });
    const QByteArray name = QCoreApplication::applicationName().toUtf8();
    cubeb_stream* stream = nullptr;
    if (cubeb_stream_init(context_.get(), &stream, name.constData(), nullptr, nullptr, nullptr,
                          &parameters, latency, &dataWanted, &stateChanged, this) != CUBEB_OK)
        return false;
    stream_.reset(stream);
    return true;
}

bool DeviceStream::start() {
    running_ = running_ || cubeb_stream_start(stream_.get()) == CUBEB_OK;
    return running_;
}

void DeviceStream::stop() {
    if (running_) cubeb_stream_stop(stream_.get());
    running_ = false;
}

bool DeviceStream::isOutdated() {
    cubeb_device* device = nullptr;
    if (cubeb_stream_get_current_device(stream_.get(), &device) != CUBEB_OK) return false;
    const std::string name = device->output_name ? device->output_name : "";
    cubeb_stream_device_destroy(stream_.get(), device);
    const bool moved = !device_.empty() && name != device_;
    device_ = name;
    // Asked as the next stream will ask. The library's list of devices ends the program where the
    // server hangs before it answers.
    ContextPointer context;
    if (moved) context = contextFor(backend());
    return context && deviceRate(context.get()) != static_cast<uint32_t>(rate_);
}

void DeviceStream::measureLatency() {
    const uint64_t delivered = delivered_.load(std::memory_order_acquire);
    uint64_t heard = 0;
    // Not by the library's own latency: its PulseAudio side ends the program where the server has
    // none to tell. A device that tells no position keeps the latency that was asked for.
    if (!running_ || cubeb_stream_get_position(stream_.get(), &heard) != CUBEB_OK) return;
    if (heard == 0 || heard >= delivered) return;
    const double left = static_cast<double>(delivered - heard) / rate_;
    const int64_t last = report_.lastBlock.load(std::memory_order_acquire);
    const double since = static_cast<double>(nowNanoseconds() - last) * 1e-9;
    // The last block was this much further from the listener when it was delivered.
    constexpr double kLongestPeriod = 0.1;
    report_.latency.store(left + std::clamp(since, 0.0, kLongestPeriod), std::memory_order_relaxed);
}

pid_t DeviceStream::renderingThread() const {
    const pthread_t thread = thread_.load(std::memory_order_acquire);
    return thread == 0 ? 0 : kernelThreadId(thread);
}

void DeviceStream::render(float* out, size_t frames) {
    const auto length = static_cast<int64_t>(frames) * 1'000'000'000 / rate_;
    // Whoever keeps time is never made to wait: this is the device's real-time thread.
    if (const int64_t wait = pacer_.asked(length, nowNanoseconds()); wait > 0)
        std::this_thread::sleep_for(std::chrono::nanoseconds(wait));
    if (!floor_.speak(speaker_, [&] { mixer_.render(out, frames); }))
        std::fill_n(out, 2 * frames, 0.0F);
    const int64_t now = nowNanoseconds();
    pacer_.delivered(now);
    report_.isHeld.store(pacer_.isHeld(), std::memory_order_relaxed);
    report_.lastBlockEnds.store(now + length, std::memory_order_release);
    report_.lastBlock.store(now, std::memory_order_release);
}

long DeviceStream::dataWanted(cubeb_stream*, void* self, const void*, void* out, long frames) {
    auto& stream = *static_cast<DeviceStream*>(self);
    stream.thread_.store(pthread_self(), std::memory_order_release);
    stream.render(static_cast<float*>(out), static_cast<size_t>(frames));
    stream.delivered_.fetch_add(static_cast<uint64_t>(frames), std::memory_order_release);
    return frames;
}

void DeviceStream::stateChanged(cubeb_stream*, void* self, cubeb_state state) {
    if (state == CUBEB_STATE_ERROR)
        static_cast<DeviceStream*>(self)->failed_.store(true, std::memory_order_release);
}

}  // namespace platform::audio
