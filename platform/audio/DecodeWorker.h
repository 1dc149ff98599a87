#pragma once

#include "platform/audio/VoiceFeed.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace platform::audio {

/// The thread that decodes all voices ahead of the callback. It starts with the first voice and
/// sleeps while none plays. The main thread calls it.
class DecodeWorker {
  public:
    explicit DecodeWorker(Mixer& mixer) : mixer_(mixer) {}
    /// Takes all voices out of the mix.
    ~DecodeWorker();
    DecodeWorker(const DecodeWorker&) = delete;
    DecodeWorker& operator=(const DecodeWorker&) = delete;

    /// Feeds `voice` with `song` from the request on, until the voice is released.
    void add(std::shared_ptr<Voice> voice, std::shared_ptr<const Song> song,
             const FeedRequest& request);
    /// Asks for another place in the song of a voice that was added.
    void request(const Voice& voice, const FeedRequest& request);
    /// Has `song` follow the one that `voice` plays, for as long as the voice allows a successor of
    /// that number. Any thread may call it.
    void succeed(const Voice& voice, uint64_t number, std::shared_ptr<const Song> song);
    /// Looks after all voices now: one was started, stopped or released, or the rate changed. Any
    /// thread may call it.
    void wake();

    /// True while a voice that was not released plays.
    bool hasPlayingVoice() const;

  private:
    struct Arrival {
        std::shared_ptr<Voice> voice;
        std::shared_ptr<const Song> song;
        FeedRequest request;
    };

    struct Succession {
        const Voice* voice;
        uint64_t number;
        std::shared_ptr<const Song> song;
    };

    /// Has `leave` leave a message, under the mutex, and wakes the worker, or starts it.
    template <typename Message>
    void post(Message leave);
    void run();
    void takeMessages();
    VoiceFeed* feedOf(const Voice* voice) const;

    Mixer& mixer_;
    mutable std::mutex mutex_;
    std::condition_variable condition_;
    // Messages to the worker, under the mutex.
    std::vector<Arrival> arrivals_;
    std::vector<std::pair<const Voice*, FeedRequest>> requests_;
    std::vector<Succession> successions_;
    std::vector<std::weak_ptr<Voice>> voices_;
    bool woken_ = false;
    bool ending_ = false;
    // The worker's own.
    std::vector<std::unique_ptr<VoiceFeed>> feeds_;
    std::thread thread_;
};

}  // namespace platform::audio
