#pragma once

#include "platform/audio/Gain.h"
#include "platform/audio/Lane.h"
#include "platform/audio/LevelHistory.h"
#include "platform/audio/Snapshot.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>

namespace platform::audio {

/// How far a voice has got.
struct Progress {
    uint64_t request = 0;  ///< The request whose lane plays; 0 before the first.
    double time = 0;       ///< Song time that the block last delivered ends at, in seconds.
    int64_t at = 0;        ///< When that block was delivered, nowNanoseconds().
};

/// What the worker tells the main thread of a voice, each with the number of the request meant.
struct VoiceNotices {
    /// The end has been heard; `decoded` tells whether all of the song did.
    std::function<void(uint64_t request, bool decoded)> ended;
    /// The end is some seconds away.
    std::function<void(uint64_t request)> nearEnd;
};

/// One song in the mix, shared by three threads that never wait for each other here:
///
///  1. The main thread sets what is wanted: playing, volume, pan, and at last released.
///  2. The worker fills a lane for the newest request and offers it. Until the callback has taken
///     an offer it can be taken back; once taken, the lane before it is free again as soon as
///     `isSettled`.
///  3. The callback mixes the active lane, fading from one lane to the next, and publishes the
///     progress and the end. It never frees, locks or waits.
///
/// Another song may follow without a seam: the main thread allows it under the number of a request,
/// the worker offers its lane, and the callback begins it at the frame that the lane names. Whether
/// it has begun or was taken back before is decided in one exchange, so that all agree.
///
/// Lanes belong to the worker, which keeps them until the mixer has let go of the voice.
class Voice {
  public:
    // Main thread.
    void setPlaying(bool playing);
    void setVolume(float volume);
    /// A factor of the song's own, from 0 on, that its volume is multiplied by.
    void setGain(float gain);
    /// What that factor becomes as soon as a successor begins.
    void setSuccessorGain(float gain);
    void setPan(float pan);
    /// Fades out for good; the worker then takes the voice out of the mix.
    void release();
    /// What the worker calls. Once this has returned, the notices before are neither running nor
    /// called again.
    void setNotices(VoiceNotices notices);
    /// Has the notice of the near end given once, as soon as the end is near and the voice plays.
    void awaitNearEnd() { nearEndAwaited_.store(true, std::memory_order_release); }
    /// Lets a song follow this one as the request of that number, greater than all before.
    void allowSuccessor(uint64_t number);
    /// The successor that has begun is the song of this voice from now on; its end waits for that.
    void adoptSuccessor() { unheeded_.store(0, std::memory_order_release); }
    float volume() const { return volume_.load(std::memory_order_relaxed); }
    float pan() const { return pan_.load(std::memory_order_relaxed); }

    // Any thread.
    bool isPlaying() const { return playing_.load(std::memory_order_acquire); }
    bool isReleased() const { return released_.load(std::memory_order_acquire); }
    /// True while the callback makes no sound of this voice.
    bool isSilent() const { return silent_.load(std::memory_order_acquire); }
    Progress progress() const { return progress_.read(); }
    /// How loud it is with volume and pan, by the times at which its frames would be heard if that
    /// were at the end of each block's delivery.
    const LevelHistory& levels() const { return levels_; }
    /// Frames that were due while no lane had them.
    uint64_t missingFrames() const { return missing_.load(std::memory_order_relaxed); }
    /// The request whose last frame the callback has delivered; 0 for none yet.
    uint64_t finishedRequest() const { return finished_.load(std::memory_order_acquire); }
    /// Takes the successor of that number back: nothing of it is heard from now on. False when it
    /// has begun; it then goes on.
    bool takeBackSuccessor(uint64_t number);

    // Worker.
    void offer(Lane* lane);
    /// The lane offered, if the callback has not taken it; it is then no longer offered.
    Lane* takeBack();
    /// True when the last lane offered is the active one and no other is in use.
    bool isSettled() const;
    /// Whether the successor of that number may still begin.
    bool isSuccessorAllowed(uint64_t number) const {
        return succession_.load(std::memory_order_acquire) == 2 * number;
    }
    /// The lane that is to go on from another.
    void offerSuccessor(Lane* lane) { successor_.store(lane); }
    /// Takes that offer back. A block that began before may still begin the lane.
    void withdrawSuccessor() { successor_.store(nullptr); }
    /// The number of the successor that began last; 0 for none.
    uint64_t begunSuccessor() const { return begun_.load(std::memory_order_acquire); }
    /// Whether somebody waits for that request's end.
    bool isHeeded(uint64_t request) const {
        return unheeded_.load(std::memory_order_acquire) != request;
    }
    void noticeEnd(uint64_t request, bool decoded);
    void noticeNearEnd(uint64_t request);

    // Callback.
    /// Adds the voice's next `frames` frames at `rate` to the stereo `out` and returns how many
    /// frames of the song were delivered. `now` is the time.
    size_t mix(float* out, size_t frames, int rate, int64_t now);

  private:
    static constexpr size_t kChunkFrames = 256;

    void takeOffer(int rate);
    void fillChunk(size_t frames);
    Lane* dueSuccessor(size_t frames) const;
    void begin(Lane& successor);
    size_t readActive(size_t at, size_t frames);
    void fadeOutOld(size_t frames);
    void mixChunk(float* out, size_t frames);
    void publish(int64_t now);

    std::atomic<bool> playing_ = false;
    std::atomic<bool> released_ = false;
    std::atomic<float> volume_ = 1;
    std::atomic<float> gain_ = 1;
    std::atomic<float> successorGain_ = 1;
    std::atomic<float> pan_ = 0;

    std::atomic<Lane*> offered_ = nullptr;
    std::atomic<uint64_t> offeredRequest_ = 0;  // of the last offer
    std::atomic<uint64_t> taken_ = 0;           // offers that are taken and settled
    uint64_t offers_ = 0;                       // the worker's own count

    std::atomic<uint64_t> succession_ = 0;  // twice the successor's number, odd once begun
    std::atomic<Lane*> successor_ = nullptr;
    std::atomic<uint64_t> begun_ = 0;
    std::atomic<uint64_t> unheeded_ = 0;  // successor that was not yet adopted

    std::atomic<bool> silent_ = true;
    std::atomic<uint64_t> finished_ = 0;
    std::atomic<uint64_t> missing_ = 0;
    Snapshot<Progress> progress_;
    LevelHistory levels_;

    // The callback's own.
    Lane* active_ = nullptr;
    Lane* old_ = nullptr;  // fades out
    size_t fadeLength_ = 0;
    size_t fadeLeft_ = 0;
    uint64_t delivered_ = 0;  // frames of the active lane
    uint64_t total_ = 0;      // frames of all lanes
    uint64_t takes_ = 0;
    GainRamp gains_;
    std::array<float, 2 * kChunkFrames> chunk_ = {};
    std::array<float, 2 * kChunkFrames> heard_ = {};  // the same with its gains

    std::atomic<bool> nearEndAwaited_ = false;
    std::mutex noticeMutex_;
    VoiceNotices notices_;
};

}  // namespace platform::audio
