#pragma once

#include "platform/audio/DecodeWorker.h"
#include "platform/audio/Mixer.h"

#include <chrono>
#include <memory>
#include <thread>
#include <vector>

namespace platform::audio {

/// The engine without a device: the test itself is the callback.
class Rig {
  public:
    explicit Rig(int rate = 44100) { mixer.setRate(rate); }

    /// A voice that plays `bytes` from sample `start`; the worker has its lane ready.
    std::shared_ptr<Voice> play(const QByteArray& bytes, int64_t start = 0) {
        auto voice = std::make_shared<Voice>();
        voice->setPlaying(true);
        worker.add(voice, openSong(bytes), {1, start});
        awaitLane(*voice, 1);
        return voice;
    }

    void request(const Voice& voice, const FeedRequest& wanted) {
        worker.request(voice, wanted);
        awaitLane(voice, wanted.number);
    }

    /// Waits until the callback could take the lane for that request and takes it.
    void awaitLane(const Voice& voice, uint64_t request) {
        while (voice.progress().request != request)
            render(0);
    }

    /// The next `frames` frames in blocks, the worker given time to keep up.
    std::vector<float> render(size_t frames, size_t block = 480) {
        std::vector<float> stereo(2 * frames);
        size_t done = 0;
        do {
            const size_t count = std::min(block, frames - done);
            mixer.render(stereo.data() + 2 * done, count);
            done += count;
            worker.wake();
            std::this_thread::sleep_for(std::chrono::milliseconds(4));
        } while (done < frames);
        return stereo;
    }

    Mixer mixer;
    DecodeWorker worker{mixer};
};

}  // namespace platform::audio
