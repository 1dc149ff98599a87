#include "platform/audio/VoiceFeed.h"

#include "platform/audio/Clock.h"

#include <algorithm>
#include <cmath>

namespace platform::audio {

using std::chrono::milliseconds;

namespace {

// What a lane holds when full: enough to sleep through a busy machine.
constexpr double laneSeconds = 0.6;
// What it holds when first offered: more than the callback takes at once.
constexpr double primedSeconds = 0.05;
// How often a playing voice's lane is filled up. Each time costs a cold start of decoder and
// resampler; so long as two thirds of the lane remain, rarely is as safe as often.
constexpr milliseconds fillingPeriod(200);
// How soon to look again whether the end, which is due, has been heard.
constexpr milliseconds endingPeriod(5);
// How soon to ask again for a place in a full mix.
constexpr milliseconds admissionPeriod(20);
// How soon to look again for a lane that the callback is about to give back.
constexpr milliseconds settlingPeriod(2);
// A released voice that the output does not fade out, because it stands still, goes anyway.
constexpr milliseconds fadeOutPatience(200);
// Decoded at once.
constexpr size_t stepFrames = 1152;

}  // namespace

VoiceFeed::VoiceFeed(std::shared_ptr<Voice> voice, std::shared_ptr<const Track> track, Mixer& mixer)
    : voice_(std::move(voice)), song_(std::move(track)), mixer_(mixer), frames_(2 * stepFrames) {}

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
    if (!isMixed_ && !(isMixed_ = mixer_.add(*voice_))) return admissionPeriod;
    if (needsLane()) {
        Lane* lane = freeLane();
        if (!lane) return settlingPeriod;
        prime(*lane);
        return milliseconds(0);
    }
    const bool complete = newest_->complete.load(std::memory_order_relaxed);
    if (!complete && newest_->ring.writable() >= stepFrames) {
        fill(*newest_, stepFrames);
        return milliseconds(0);
    }
    noticeEndWhenHeard();
    if (noticed_ == wanted_.number || !voice_->isPlaying()) return {};
    return complete ? std::clamp(untilEnd(), endingPeriod, fillingPeriod) : fillingPeriod;
}

void VoiceFeed::prime(Lane& lane) {
    const int songRate = song_.track().rate;
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
    song_.seek(sample, rate);
    fill(lane, static_cast<size_t>(primedSeconds * rate));
    voice_->offer(&lane);
}

void VoiceFeed::fill(Lane& lane, size_t frames) {
    while (frames > 0) {
        const size_t wanted = std::min(frames, stepFrames);
        const size_t got = song_.read(frames_.data(), wanted);
        lane.ring.write(frames_.data(), got);
        if (got < wanted) {
            lane.complete.store(true, std::memory_order_release);
            return;
        }
        frames -= got;
    }
}

milliseconds VoiceFeed::untilEnd() const {
    double left = static_cast<double>(newest_->ring.readable()) / newest_->rate;
    if (voice_->finishedRequest() == wanted_.number) left = untilHeard();
    return milliseconds(static_cast<int64_t>(std::ceil(left * 1000)));
}

double VoiceFeed::untilHeard() const {
    const double since = static_cast<double>(nowNanoseconds() - voice_->progress().at) * 1e-9;
    return mixer_.latency() - since;
}

void VoiceFeed::noticeEndWhenHeard() {
    if (voice_->finishedRequest() != wanted_.number || noticed_ == wanted_.number) return;
    if (untilHeard() > 0) return;
    noticed_ = wanted_.number;
    voice_->noticeEnd(wanted_.number, !song_.brokeOff());
}

}  // namespace platform::audio
