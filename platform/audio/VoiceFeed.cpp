#include "platform/audio/VoiceFeed.h"

#include "platform/audio/Clock.h"

#include <algorithm>
#include <cmath>

namespace platform::audio {

using std::chrono::milliseconds;

namespace {

// What a lane holds when full: enough to sleep through a busy machine.
constexpr double kLaneSeconds = 0.6;
// What it holds when first offered: more than the callback takes at once.
constexpr double kPrimedSeconds = 0.05;
// How often a playing voice's lane is filled up. Each time costs a cold start of decoder and
// resampler; so long as two thirds of the lane remain, rarely is as safe as often.
constexpr milliseconds kFillingPeriod(200);
// How soon to look again whether the end, which is due, has been heard.
constexpr milliseconds kEndingPeriod(5);
// How soon to ask again for a place in a full mix.
constexpr milliseconds kAdmissionPeriod(20);
// How soon to look again for a lane that the callback is about to give back.
constexpr milliseconds kSettlingPeriod(2);
// A released voice that the output does not fade out, because it stands still, goes anyway.
constexpr milliseconds kFadeOutPatience(200);
// Decoded at once.
constexpr size_t kStepFrames = 1152;

}  // namespace

VoiceFeed::VoiceFeed(std::shared_ptr<Voice> voice, std::shared_ptr<const Song> song, Mixer& mixer)
    : voice_(std::move(voice)), stream_(std::move(song)), mixer_(mixer), frames_(2 * kStepFrames) {}

VoiceFeed::~VoiceFeed() {
    if (isMixed_) mixer_.remove(*voice_);
}

bool VoiceFeed::isDone() const {
    if (!voice_->isReleased()) return false;
    const bool waitedEnough =
        releasedAt_ && std::chrono::steady_clock::now() - *releasedAt_ > kFadeOutPatience;
    return voice_->isSilent() || waitedEnough;
}

bool VoiceFeed::needsLane() const {
    return !newest_ || newest_->request != wanted_.number || newest_->rate != mixer_.rate();
}

Lane* VoiceFeed::freeLane() {
    if (Lane* lane = voice_->takeBack()) return lane;
    if (!voice_->isSettled()) return nullptr;
    const size_t other = newest_ == lanes_[0].get() ? 1 : 0;
    const auto frames = static_cast<size_t>(kLaneSeconds * mixer_.rate());
    if (!lanes_[other] || lanes_[other]->ring.capacity() < frames)
        lanes_[other] = std::make_unique<Lane>(frames);
    return lanes_[other].get();
}

std::optional<milliseconds> VoiceFeed::serve() {
    if (voice_->isReleased()) {
        if (!releasedAt_) releasedAt_ = std::chrono::steady_clock::now();
        return kSettlingPeriod;
    }
    if (!isMixed_ && !(isMixed_ = mixer_.add(*voice_))) return kAdmissionPeriod;
    if (needsLane()) {
        Lane* lane = freeLane();
        if (!lane) return kSettlingPeriod;
        prime(*lane);
        return milliseconds(0);
    }
    const bool complete = newest_->complete.load(std::memory_order_relaxed);
    if (!complete && newest_->ring.writable() >= kStepFrames) {
        fill(*newest_, kStepFrames);
        return milliseconds(0);
    }
    noticeEndWhenHeard();
    if (noticed_ == wanted_.number || !voice_->isPlaying()) return std::nullopt;
    return complete ? std::clamp(untilEnd(), kEndingPeriod, kFillingPeriod) : kFillingPeriod;
}

void VoiceFeed::prime(Lane& lane) {
    const int songRate = stream_.song().rate;
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
    stream_.seek(sample, rate);
    fill(lane, static_cast<size_t>(kPrimedSeconds * rate));
    voice_->offer(&lane);
}

void VoiceFeed::fill(Lane& lane, size_t frames) {
    while (frames > 0) {
        const size_t wanted = std::min(frames, kStepFrames);
        const size_t got = stream_.read(frames_.data(), wanted);
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
    voice_->noticeEnd(wanted_.number, !stream_.brokeOff());
}

}  // namespace platform::audio
