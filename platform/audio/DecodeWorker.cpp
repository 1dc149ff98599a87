#include "platform/audio/DecodeWorker.h"

#include "platform/audio/ThreadRole.h"
#include "platform/audio/ThreadStart.h"

#include <algorithm>

namespace platform::audio {

using std::chrono::milliseconds;

DecodeWorker::~DecodeWorker() {
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
    }
    condition_.notify_one();
    if (thread_.joinable()) thread_.join();
}

template <typename Message>
void DecodeWorker::post(Message leave) {
    {
        const std::lock_guard lock(mutex_);
        leave();
        woken_ = true;
        startIfNeeded(thread_, [this] { run(); });
    }
    condition_.notify_one();
}

void DecodeWorker::add(std::shared_ptr<Voice> voice, std::shared_ptr<const Song> song,
                       const FeedRequest& request) {
    post([&] {
        std::erase_if(voices_, [](const auto& known) { return known.expired(); });
        voices_.push_back(voice);
        arrivals_.push_back({std::move(voice), std::move(song), request});
    });
}

void DecodeWorker::request(const Voice& voice, const FeedRequest& request) {
    post([&] { requests_.emplace_back(&voice, request); });
}

void DecodeWorker::succeed(const Voice& voice, uint64_t number, std::shared_ptr<const Song> song) {
    post([&] { successions_.push_back({&voice, number, std::move(song)}); });
}

void DecodeWorker::wake() {
    post([] {});
}

bool DecodeWorker::hasPlayingVoice() const {
    const std::lock_guard lock(mutex_);
    return std::any_of(voices_.begin(), voices_.end(), [](const auto& known) {
        const auto voice = known.lock();
        return voice && voice->isPlaying() && !voice->isReleased();
    });
}

VoiceFeed* DecodeWorker::feedOf(const Voice* voice) const {
    const auto feed = std::find_if(feeds_.begin(), feeds_.end(),
                                   [&](const auto& each) { return &each->voice() == voice; });
    return feed == feeds_.end() ? nullptr : feed->get();
}

void DecodeWorker::takeMessages() {
    for (Arrival& arrival : arrivals_) {
        feeds_.push_back(
            std::make_unique<VoiceFeed>(std::move(arrival.voice), std::move(arrival.song), mixer_));
        feeds_.back()->request(arrival.request);
    }
    arrivals_.clear();
    for (const auto& [voice, request] : requests_)
        if (VoiceFeed* feed = feedOf(voice)) feed->request(request);
    requests_.clear();
    for (Succession& succession : successions_)
        if (VoiceFeed* feed = feedOf(succession.voice))
            feed->succeed(succession.number, std::move(succession.song));
    successions_.clear();
    woken_ = false;
}

void DecodeWorker::run() {
    const InRole worker(ThreadRole::Worker);
    std::unique_lock lock(mutex_);
    while (!ending_) {
        takeMessages();
        lock.unlock();
        std::optional<milliseconds> next;
        for (const auto& feed : feeds_) {
            const auto due = feed->serve();
            if (due) next = std::min(next.value_or(*due), *due);
        }
        std::erase_if(feeds_, [](const auto& feed) { return feed->isDone(); });
        lock.lock();
        const auto called = [this] { return woken_ || ending_; };
        if (!next)
            condition_.wait(lock, called);
        else if (*next > milliseconds(0))
            condition_.wait_for(lock, *next, called);
    }
    lock.unlock();
    feeds_.clear();
}

}  // namespace platform::audio
