#pragma once

#include "platform/audio/Lane.h"
#include "platform/audio/Mixer.h"
#include "platform/audio/SongStream.h"
#include "platform/audio/Voice.h"

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

namespace platform::audio {

/// From where on a song is wanted.
struct FeedRequest {
    uint64_t number = 0;  ///< Counts up from 1 within a voice.
    int64_t sample = 0;   ///< Of the song, from 0 to its length.
};

/// Decodes one voice's song ahead of the callback. All of it runs on the worker.
class VoiceFeed {
  public:
    VoiceFeed(std::shared_ptr<Voice> voice, std::shared_ptr<const Song> song, Mixer& mixer);
    /// Takes the voice out of the mix.
    ~VoiceFeed();
    VoiceFeed(const VoiceFeed&) = delete;
    VoiceFeed& operator=(const VoiceFeed&) = delete;

    const Voice& voice() const { return *voice_; }
    void request(const FeedRequest& wanted) { wanted_ = wanted; }

    /// Does the most urgent piece of work, some milliseconds of sound at most, and tells when the
    /// next is due: 0 for at once, absent for when something is asked of the voice.
    std::optional<std::chrono::milliseconds> serve();

    /// True when the voice was released and has faded out.
    bool isDone() const;

  private:
    bool needsLane() const;
    Lane* freeLane();
    void prime(Lane& lane);
    void fill(Lane& lane, size_t frames);
    /// Until the song's end is heard, as far as it can be told; its lane is complete.
    std::chrono::milliseconds untilEnd() const;
    /// Seconds until the block delivered last is heard.
    double untilHeard() const;
    void noticeEndWhenHeard();

    std::shared_ptr<Voice> voice_;
    SongStream stream_;
    Mixer& mixer_;
    bool isMixed_ = false;
    FeedRequest wanted_;
    uint64_t noticed_ = 0;  // request whose end was told
    std::unique_ptr<Lane> lanes_[2];
    Lane* newest_ = nullptr;     // offered last
    std::vector<float> frames_;  // on their way into a lane
    // When it was first seen to be released.
    std::optional<std::chrono::steady_clock::time_point> releasedAt_;
};

}  // namespace platform::audio
