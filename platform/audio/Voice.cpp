#include "platform/audio/Voice.h"

#include "platform/audio/ThreadRole.h"

#include <algorithm>
#include <span>

namespace platform::audio {

namespace {

// Long enough that no step is heard, short enough to feel immediate.
constexpr double kRampSeconds = 0.006;

size_t rampFrames(int rate) {
    return static_cast<size_t>(kRampSeconds * rate);
}

}  // namespace

void Voice::setPlaying(bool playing) {
    expectRole(ThreadRole::Main);
    playing_.store(playing, std::memory_order_release);
}

void Voice::setVolume(float volume) {
    expectRole(ThreadRole::Main);
    volume_.store(volume, std::memory_order_relaxed);
}

void Voice::setGain(float gain) {
    expectRole(ThreadRole::Main);
    gain_.store(gain, std::memory_order_relaxed);
}

void Voice::setSuccessorGain(float gain) {
    expectRole(ThreadRole::Main);
    successorGain_.store(gain, std::memory_order_relaxed);
}

void Voice::setPan(float pan) {
    expectRole(ThreadRole::Main);
    pan_.store(pan, std::memory_order_relaxed);
}

void Voice::release() {
    expectRole(ThreadRole::Main);
    released_.store(true, std::memory_order_release);
}

void Voice::setNotices(VoiceNotices notices) {
    expectRole(ThreadRole::Main);
    const std::lock_guard lock(noticeMutex_);
    notices_ = std::move(notices);
}

void Voice::allowSuccessor(uint64_t number) {
    expectRole(ThreadRole::Main);
    unheeded_.store(number, std::memory_order_release);
    succession_.store(2 * number, std::memory_order_release);
}

bool Voice::takeBackSuccessor(uint64_t number) {
    uint64_t allowed = 2 * number;
    return succession_.compare_exchange_strong(allowed, 0) || allowed != 2 * number + 1;
}

void Voice::noticeEnd(uint64_t request, bool decoded) {
    expectRole(ThreadRole::Worker);
    const std::lock_guard lock(noticeMutex_);
    if (notices_.ended) notices_.ended(request, decoded);
}

void Voice::noticeNearEnd(uint64_t request) {
    expectRole(ThreadRole::Worker);
    if (!nearEndAwaited_.exchange(false, std::memory_order_acq_rel)) return;
    const std::lock_guard lock(noticeMutex_);
    if (notices_.nearEnd) notices_.nearEnd(request);
}

void Voice::offer(Lane* lane) {
    expectRole(ThreadRole::Worker);
    ++offers_;
    offeredRequest_.store(lane->request, std::memory_order_relaxed);
    offered_.store(lane, std::memory_order_release);
}

Lane* Voice::takeBack() {
    expectRole(ThreadRole::Worker);
    Lane* lane = offered_.exchange(nullptr, std::memory_order_acq_rel);
    if (lane) --offers_;
    return lane;
}

bool Voice::isSettled() const {
    expectRole(ThreadRole::Worker);
    return taken_.load(std::memory_order_acquire) == offers_;
}

void Voice::takeOffer(int rate) {
    // While one lane still fades out, the next has to wait: there are only two.
    if (old_) return;
    const bool audible = active_ && active_->rate == rate && !gains_.isSilent();
    // A pause fades what was playing: a place that was asked for since stays untouched.
    const bool moves =
        active_ && offeredRequest_.load(std::memory_order_relaxed) != active_->request;
    if (audible && moves && !isPlaying()) return;
    Lane* lane = offered_.exchange(nullptr, std::memory_order_acq_rel);
    if (!lane) return;
    if (audible) {
        old_ = active_;
        fadeLength_ = fadeLeft_ = rampFrames(rate);
    }
    active_ = lane;
    delivered_ = 0;
    ++takes_;
}

void Voice::fadeOutOld(size_t frames) {
    const auto total = static_cast<float>(fadeLength_);
    size_t left = fadeLeft_;
    old_->ring.read(std::min(frames, fadeLeft_), [&](const float* span, size_t done, size_t count) {
        for (size_t i = 0; i < count; ++i) {
            const float gain = static_cast<float>(--left) / total;
            chunk_[2 * (done + i)] += gain * span[2 * i];
            chunk_[2 * (done + i) + 1] += gain * span[2 * i + 1];
        }
    });
}

Lane* Voice::dueSuccessor(size_t frames) const {
    Lane* next = successor_.load();
    // One that comes too late, or belongs behind another lane, waits to be taken back.
    const bool due =
        next && next->after == active_ && delivered_ <= next->at && next->at - delivered_ < frames;
    return due ? next : nullptr;
}

void Voice::begin(Lane& successor) {
    uint64_t allowed = 2 * successor.request;
    if (!succession_.compare_exchange_strong(allowed, allowed + 1)) return;
    successor_.store(nullptr);
    active_ = &successor;
    gain_.store(successorGain_.load(std::memory_order_relaxed), std::memory_order_relaxed);
    delivered_ = 0;
    begun_.store(successor.request, std::memory_order_release);
}

size_t Voice::readActive(size_t at, size_t frames) {
    const auto total = static_cast<float>(std::max<size_t>(fadeLength_, 1));
    const size_t got =
        active_->ring.read(frames, [&](const float* span, size_t done, size_t count) {
            for (size_t i = 0; i < count; ++i) {
                const size_t to = at + done + i;
                const float gain =
                    to + 1 < fadeLeft_ ? 1 - static_cast<float>(fadeLeft_ - to - 1) / total : 1;
                chunk_[2 * to] = gain * span[2 * i];
                chunk_[2 * to + 1] = gain * span[2 * i + 1];
            }
        });
    delivered_ += got;
    total_ += got;
    return got;
}

void Voice::fillChunk(size_t frames) {
    chunk_.fill(0);
    size_t got = 0;
    if (Lane* next = dueSuccessor(frames)) {
        const auto before = static_cast<size_t>(next->at - delivered_);
        got = readActive(0, before);
        if (got == before) begin(*next);
    }
    // Asked before reading: whoever sees it set sees all frames.
    const bool complete = active_->complete.load(std::memory_order_acquire);
    got += readActive(got, frames - got);
    if (got < frames) {
        if (complete)
            finished_.store(active_->request, std::memory_order_release);
        else
            missing_.fetch_add(frames - got, std::memory_order_relaxed);
    }
    if (!old_) return;
    fadeOutOld(frames);
    fadeLeft_ -= std::min(frames, fadeLeft_);
    if (fadeLeft_ == 0) old_ = nullptr;
}

void Voice::mixChunk(float* out, size_t frames) {
    heard_.fill(0);
    gains_.mix(chunk_.data(), heard_.data(), frames);
    for (size_t i = 0; i < 2 * frames; ++i)
        out[i] += heard_[i];
}

void Voice::publish(int64_t now) {
    progress_.publish(
        {active_->request, active_->start + static_cast<double>(delivered_) / active_->rate, now});
}

size_t Voice::mix(float* out, size_t frames, int rate, int64_t now) {
    expectRole(ThreadRole::Callback);
    const Lane* activeBefore = active_;
    takeOffer(rate);
    const uint64_t totalBefore = total_;
    const bool playing = isPlaying() && !isReleased();
    const auto aim = [&] {
        const float volume =
            volume_.load(std::memory_order_relaxed) * gain_.load(std::memory_order_relaxed);
        const float pan = pan_.load(std::memory_order_relaxed);
        gains_.setTarget(playing ? panLaw(volume, pan) : GainMatrix(), rampFrames(rate));
    };
    aim();
    const bool ready = active_ && active_->rate == rate;
    size_t done = 0;
    while (ready && done < frames && (playing || !gains_.isSilent())) {
        // A successor may have begun, with a gain of its own.
        aim();
        size_t count = std::min(kChunkFrames, frames - done);
        // A pause stops where its fade has ended, not at the end of the block.
        if (!playing) count = std::min(count, gains_.framesLeft());
        fillChunk(count);
        mixChunk(out + 2 * done, count);
        done += count;
        const auto left = static_cast<int64_t>(frames - done);
        levels_.add(std::span(heard_).first(2 * count), rate, now - left * 1'000'000'000 / rate);
    }
    if (gains_.isSilent() || !ready) {
        old_ = nullptr;
        fadeLeft_ = 0;
    }
    if (active_ && (total_ != totalBefore || active_ != activeBefore)) publish(now);
    if (!old_) taken_.store(takes_, std::memory_order_release);
    silent_.store(!playing && (gains_.isSilent() || !ready), std::memory_order_release);
    return static_cast<size_t>(total_ - totalBefore);
}

}  // namespace platform::audio
