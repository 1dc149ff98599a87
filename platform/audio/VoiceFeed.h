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
    uint64_t number = 0;                         ///< Counts up from 1 within a voice.
    int64_t sample = 0;                          ///< Of the song, from 0 to its length.
    std::shared_ptr<const Song> song = nullptr;  ///< Null for the one that is being fed.
};

/// Decodes one voice's song ahead of the callback, and the beginning of the song that is to follow.
/// All of it runs on the worker.
class VoiceFeed {
  public:
    VoiceFeed(std::shared_ptr<Voice> voice, std::shared_ptr<const Song> song, Mixer& mixer);
    /// Takes the voice out of the mix.
    ~VoiceFeed();
    VoiceFeed(const VoiceFeed&) = delete;
    VoiceFeed& operator=(const VoiceFeed&) = delete;

    const Voice& voice() const { return *voice_; }
    void request(const FeedRequest& wanted) { wanted_ = wanted; }
    /// Has `song` stand behind the one that plays, for as long as the voice allows that number.
    void succeed(uint64_t number, std::shared_ptr<const Song> song) {
        arriving_ = {number, std::move(song), nullptr, nullptr};
    }

    /// Does the most urgent piece of work, some milliseconds of sound at most, and tells when the
    /// next is due: 0 for at once, absent for when something is asked of the voice.
    std::optional<std::chrono::milliseconds> serve();

    /// True when the voice was released and has faded out.
    bool isDone() const;

  private:
    /// A song that is to follow.
    struct Successor {
        uint64_t number = 0;  // 0 for none
        std::shared_ptr<const Song> song;
        // Neither until it stands behind the lane that plays.
        std::unique_ptr<SongStream> stream;
        std::unique_ptr<Lane> lane;
    };
    /// The end of a song that another has followed, not yet told.
    struct FollowedEnd {
        uint64_t request;
        uint64_t successor;
        bool decoded;
    };

    bool needsLane() const;
    Lane* freeLane();
    void prime(Lane& lane);
    void fill(Lane& lane, SongStream& stream, size_t frames);
    /// Adds a step to the lane; false when it is as full as it gets.
    bool top(Lane& lane, SongStream& stream);
    /// Goes over to the successor if it has begun, and forgets it if it may no longer begin.
    void settleSuccessor();
    /// Takes the successor's lane from behind the one that plays, unless it has begun.
    void withdrawSuccessor();
    void goOver();
    /// Makes the successor's lane and tops it; false when there is nothing to do.
    bool feedSuccessor();
    void primeSuccessor();
    void noticeNearEnd();
    void noticeFollowedEnd();
    /// Whether the callback has delivered the song's last frame.
    bool hasEnded() const { return voice_->finishedRequest() == wanted_.number; }
    /// Until the song's end is heard, as far as it can be told; its lane is complete.
    std::chrono::milliseconds untilEnd() const;
    /// Seconds until the block delivered last is heard.
    double untilHeard() const;
    void noticeEndWhenHeard();

    std::shared_ptr<Voice> voice_;
    std::unique_ptr<SongStream> stream_;
    Successor successor_;
    Successor arriving_;  // not yet looked at
    std::optional<FollowedEnd> followedEnd_;
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
