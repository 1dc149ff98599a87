#include "platform/audio/Mixer.h"

#include "platform/audio/Clock.h"
#include "platform/audio/ThreadRole.h"
#include "platform/audio/Voice.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace platform::audio {

bool Mixer::add(Voice& voice) {
    for (auto& slot : voices_) {
        Voice* empty = nullptr;
        if (slot.compare_exchange_strong(empty, &voice)) return true;
    }
    return false;
}

void Mixer::remove(Voice& voice) {
    for (auto& slot : voices_) {
        Voice* own = &voice;
        slot.compare_exchange_strong(own, nullptr);
    }
    // A block that began before may still hold the voice; any later one finds the slot empty.
    awaitBlockEnd();
}

void Mixer::awaitBlockEnd() const {
    const uint64_t edge = edges_.load();
    while (edge % 2 != 0 && edges_.load() == edge)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

void Mixer::render(float* out, size_t frames) {
    [[maybe_unused]] const uint64_t edgesBefore = edges_.fetch_add(1);
    Q_ASSERT(edgesBefore % 2 == 0);
    const InRole callback(ThreadRole::Callback);
    const int64_t now = nowNanoseconds();
    const int rate = this->rate();
    std::fill_n(out, 2 * frames, 0.0F);
    for (auto& slot : voices_) {
        Voice* voice = slot.load();
        if (!voice) continue;
        const uint64_t missingBefore = voice->missingFrames();
        delivered_.fetch_add(voice->mix(out, frames, rate, now), std::memory_order_release);
        missing_.fetch_add(voice->missingFrames() - missingBefore, std::memory_order_release);
    }
    for (size_t i = 0; i < 2 * frames; ++i)
        out[i] = std::clamp(out[i], -1.0F, 1.0F);
    lastBlock_.store(now, std::memory_order_release);
    edges_.fetch_add(1);
}

}  // namespace platform::audio
