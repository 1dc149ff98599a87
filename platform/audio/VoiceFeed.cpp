#include "platform/audio/VoiceFeed.h"

#include "platform/audio/Clock.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace platform::audio {

using std::chrono::milliseconds;

namespace {

// What a lane holds when full: enough to sleep through a busy machine.
constexpr double laneSeconds = 0.6;
// What it holds when first offered: more than the callback takes at once.
constexpr double primedSeconds = 0.05;
// How often a playing voice is looked after.
constexpr milliseconds playingPeriod(20);
// How soon to look again for a lane that the callback is about to give back.
constexpr milliseconds settlingPeriod(2);
// A released voice that the output does not fade out, because it stands still, goes anyway.
constexpr milliseconds fadeOutPatience(200);
// Decoded at once.
constexpr size_t stepFrames = 1152;
// Sound before the start that a resampler is given, so that its filter is in full swing there.
constexpr int historyFrames = 1024;

}  // namespace

VoiceFeed::VoiceFeed(std::shared_ptr<Voice> voice, std::shared_ptr<const Track> track, Mixer& mixer)
    : voice_(std::move(voice)),
      decoder_(std::move(track)),
      mixer_(mixer),
      decoded_(2 * stepFrames),
      produced_(2 * stepFrames) {}

VoiceFeed::~VoiceFeed() {
    if (isMixed_) mixer_.remove(*voice_);
}

bool VoiceFeed::isDone() const {
    if (!voice_->isReleased()) return false;
    const auto now = std::chrono::steady_clock::now();
    if (!releasedAt_) releasedAt_ = now;
    return voice_->isSilent() || now - *releasedAt_ > fadeOutPatience;
}

bool VoiceFeed::needsLane() const {
    return !newest_ || newest_->request != wanted_.number || newest_->rate != mixer_.rate();
}

Lane* VoiceFeed::freeLane() {
    if (Lane* lane = voice_->takeBack()) return lane;
    if (!voice_->isSettled()) return nullptr;
    const size_t other = newest_ == lanes_[0].get() ? 1 : 0;
    const auto frames = static_cast<size_t>(laneSeconds * mixer_.rate());
    if (!lanes_[other] || lanes_[other]->ring.capacity() < frames)
        lanes_[other] = std::make_unique<Lane>(frames);
    return lanes_[other].get();
}

std::optional<milliseconds> VoiceFeed::serve() {
    if (voice_->isReleased()) return settlingPeriod;
    if (!isMixed_ && !(isMixed_ = mixer_.add(*voice_))) return playingPeriod;
    if (needsLane()) {
        Lane* lane = freeLane();
        if (!lane) return settlingPeriod;
        prime(*lane);
        return milliseconds(0);
    }
    if (!newest_->complete.load(std::memory_order_relaxed) &&
        newest_->ring.writable() >= stepFrames) {
        fill(*newest_, stepFrames);
        return milliseconds(0);
    }
    if (noticeEndWhenHeard()) return {};
    return voice_->isPlaying() ? std::optional(playingPeriod) : std::nullopt;
}

void VoiceFeed::prime(Lane& lane) {
    const int songRate = decoder_.track().rate;
    const int rate = mixer_.rate();
    int64_t sample = wanted_.sample;
    // Asked for anew because the output's rate changed: go on from where the song is.
    const Progress progress = voice_->progress();
    if (newest_ && newest_->request == wanted_.number && progress.request == wanted_.number)
        sample = std::llround(progress.time * songRate);
    lane.ring.clear();
    lane.complete.store(false, std::memory_order_relaxed);
    lane.rate = rate;
    lane.start = static_cast<double>(sample) / songRate;
    lane.request = wanted_.number;
    newest_ = &lane;
    resampler_.reset();
    if (rate == songRate) {
        decoder_.seek(sample);
    } else {
        // A whole number of periods of both rates, so that frames stay where they would be.
        const int common = std::gcd(rate, songRate);
        const int periods = (historyFrames * common + songRate - 1) / songRate;
        resampler_.emplace(songRate, rate);
        decoder_.seek(sample - static_cast<int64_t>(periods) * (songRate / common));
        skipHistory(static_cast<size_t>(periods) * static_cast<size_t>(rate / common));
    }
    fill(lane, static_cast<size_t>(primedSeconds * rate));
    voice_->offer(&lane);
}

void VoiceFeed::skipHistory(size_t frames) {
    while (frames > 0) {
        const size_t got = produce(produced_.data(), std::min(frames, stepFrames));
        if (got == 0) return;
        frames -= got;
    }
}

void VoiceFeed::fill(Lane& lane, size_t frames) {
    while (frames > 0) {
        const size_t got = produce(produced_.data(), std::min(frames, stepFrames));
        if (got == 0) {
            lane.complete.store(true, std::memory_order_release);
            return;
        }
        lane.ring.write(produced_.data(), got);
        frames -= got;
    }
}

size_t VoiceFeed::produce(float* out, size_t frames) {
    if (!resampler_) return decoder_.read(out, frames);
    // The filter takes in more than it gives at first.
    for (;;) {
        const size_t taken = decoder_.read(decoded_.data(), stepFrames);
        if (taken == 0) return resampler_->drain(out, frames);
        const size_t got = resampler_->process(decoded_.data(), taken, out, frames);
        if (got > 0) return got;
    }
}

bool VoiceFeed::noticeEndWhenHeard() {
    if (voice_->finishedRequest() != wanted_.number || noticed_ == wanted_.number) return false;
    const Progress progress = voice_->progress();
    const double since = static_cast<double>(nowNanoseconds() - progress.at) * 1e-9;
    if (since < mixer_.latency()) return false;
    noticed_ = wanted_.number;
    voice_->noticeEnd(wanted_.number, !decoder_.brokeOff());
    return true;
}

}  // namespace platform::audio
