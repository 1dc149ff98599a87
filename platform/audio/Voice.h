#pragma once

#include "platform/audio/Gain.h"
#include "platform/audio/Lane.h"
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

/// One song in the mix, shared by three threads that never wait for each other here:
///
///  1. The main thread sets what is wanted: playing, volume, pan, and at last released.
///  2. The worker fills a lane for the newest request and offers it. Until the callback has taken
///     an offer it can be taken back; once taken, the lane before it is free again as soon as
///     `isSettled`.
///  3. The callback mixes the active lane, fading from one lane to the next, and publishes the
///     progress and the end. It never frees, locks or waits.
///
/// Lanes belong to the worker, which keeps them until the mixer has let go of the voice.
class Voice {
  public:
    // Main thread.
    void setPlaying(bool playing);
    void setVolume(float volume);
    void setPan(float pan);
    /// Fades out for good; the worker then takes the voice out of the mix.
    void release();
    /// Is called by the worker at the end of the song with the request's number and whether all of
    /// it decoded. Once this has returned, the notice before is neither running nor called again.
    void setEndNotice(std::function<void(uint64_t request, bool decoded)> notice);

    // Any thread.
    bool isPlaying() const { return playing_.load(std::memory_order_acquire); }
    bool isReleased() const { return released_.load(std::memory_order_acquire); }
    /// True while the callback makes no sound of this voice.
    bool isSilent() const { return silent_.load(std::memory_order_acquire); }
    Progress progress() const { return progress_.read(); }
    /// Frames that were due while no lane had them.
    uint64_t missingFrames() const { return missing_.load(std::memory_order_relaxed); }
    /// The request whose last frame the callback has delivered; 0 for none yet.
    uint64_t finishedRequest() const { return finished_.load(std::memory_order_acquire); }

    // Worker.
    void offer(Lane* lane);
    /// The lane offered, if the callback has not taken it; it is then no longer offered.
    Lane* takeBack();
    /// True when the last lane offered is the active one and no other is in use.
    bool isSettled() const;
    void noticeEnd(uint64_t request, bool decoded);

    // Callback.
    /// Adds the voice's next `frames` frames at `rate` to the stereo `out` and returns how many
    /// frames of the song were delivered. `now` is the time.
    size_t mix(float* out, size_t frames, int rate, int64_t now);

  private:
    static constexpr size_t kChunkFrames = 256;

    void takeOffer(int rate);
    void fillChunk(size_t frames);
    void fadeOutOld(size_t frames);
    void publish(int64_t now);

    std::atomic<bool> playing_ = false;
    std::atomic<bool> released_ = false;
    std::atomic<float> volume_ = 1;
    std::atomic<float> pan_ = 0;

    std::atomic<Lane*> offered_ = nullptr;
    std::atomic<uint64_t> taken_ = 0;  // offers that are taken and settled
    uint64_t offers_ = 0;              // the worker's own count

    std::atomic<bool> silent_ = true;
    std::atomic<uint64_t> finished_ = 0;
    std::atomic<uint64_t> missing_ = 0;
    Snapshot<Progress> progress_;

    // The callback's own.
    Lane* active_ = nullptr;
    Lane* old_ = nullptr;  // fades out
    size_t fadeLength_ = 0;
    size_t fadeLeft_ = 0;
    uint64_t delivered_ = 0;  // frames of the active lane
    uint64_t takes_ = 0;
    GainRamp gains_;
    std::array<float, 2 * kChunkFrames> chunk_ = {};

    std::mutex noticeMutex_;
    std::function<void(uint64_t, bool)> notice_;
};

}  // namespace platform::audio
