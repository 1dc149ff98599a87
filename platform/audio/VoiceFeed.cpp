#include "platform/audio/VoiceFeed.h"

#include "platform/audio/Clock.h"

#include <algorithm>
#include <cmath>
#include <utility>

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
// How long before the end it is asked what follows: time enough to read a file from a slow disk.
constexpr double kNearEndSeconds = 10;
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
    : voice_(std::move(voice)),
      stream_(std::make_unique<SongStream>(std::move(song))),
      mixer_(mixer),
      frames_(2 * kStepFrames) {}

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
    settleSuccessor();
    if (needsLane()) {
        withdrawSuccessor();
        Lane* lane = freeLane();
        if (!lane) return kSettlingPeriod;
        prime(*lane);
        return milliseconds(0);
    }
    if (top(*newest_, *stream_) || feedSuccessor()) return milliseconds(0);
    noticeNearEnd();
    noticeFollowedEnd();
    noticeEndWhenHeard();
    if (followedEnd_) return kEndingPeriod;
    if (noticed_ == wanted_.number || !voice_->isPlaying()) return std::nullopt;
    // Over, and nobody knows yet that it began.
    if (hasEnded() && !voice_->isHeeded(wanted_.number)) return std::nullopt;
    const bool complete = newest_->complete.load(std::memory_order_relaxed);
    return complete ? std::clamp(untilEnd(), kEndingPeriod, kFillingPeriod) : kFillingPeriod;
}

void VoiceFeed::prime(Lane& lane) {
    if (wanted_.song && wanted_.song != stream_->sharedSong())
        stream_ = std::make_unique<SongStream>(wanted_.song);
    const int songRate = stream_->song().rate;
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
    lane.grid = {sample, 0};
    lane.after = nullptr;
    newest_ = &lane;
    stream_->seek(sample, rate);
    fill(lane, *stream_, static_cast<size_t>(kPrimedSeconds * rate));
    voice_->offer(&lane);
}

void VoiceFeed::fill(Lane& lane, SongStream& stream, size_t frames) {
    while (frames > 0) {
        const size_t wanted = std::min(frames, kStepFrames);
        const size_t got = stream.read(frames_.data(), wanted);
        lane.ring.write(frames_.data(), got);
        if (got < wanted) {
            lane.complete.store(true, std::memory_order_release);
            return;
        }
        frames -= got;
    }
}

bool VoiceFeed::top(Lane& lane, SongStream& stream) {
    if (lane.complete.load(std::memory_order_relaxed) || lane.ring.writable() < kStepFrames)
        return false;
    fill(lane, stream, kStepFrames);
    return true;
}

void VoiceFeed::settleSuccessor() {
    if (successor_.number != 0) {
        if (voice_->begunSuccessor() == successor_.number) goOver();
        if (!voice_->isSuccessorAllowed(successor_.number)) {
            withdrawSuccessor();
            successor_ = {};
        }
    }
    if (arriving_.number != 0) successor_ = std::exchange(arriving_, {});
}

void VoiceFeed::withdrawSuccessor() {
    if (!successor_.lane) return;
    voice_->withdrawSuccessor();
    mixer_.awaitBlockEnd();
    if (voice_->begunSuccessor() == successor_.number)
        goOver();
    else
        successor_.lane.reset();
}

void VoiceFeed::goOver() {
    const bool decoded = !stream_->brokeOff() && !successor_.stream->brokeOffBefore();
    if (noticed_ != newest_->request) followedEnd_ = {newest_->request, successor_.number, decoded};
    // The callback has left the lane for good.
    auto& lane = newest_ == lanes_[0].get() ? lanes_[0] : lanes_[1];
    lane = std::move(successor_.lane);
    newest_ = lane.get();
    stream_ = std::move(successor_.stream);
    // Another place in the song before may have been asked for since.
    if (wanted_.number < successor_.number) wanted_ = {successor_.number, 0, successor_.song};
    successor_ = {};
}

bool VoiceFeed::feedSuccessor() {
    if (successor_.number == 0) return false;
    if (successor_.lane) return top(*successor_.lane, *successor_.stream);
    primeSuccessor();
    return true;
}

void VoiceFeed::primeSuccessor() {
    const int rate = newest_->rate;
    auto lane = std::make_unique<Lane>(static_cast<size_t>(kLaneSeconds * rate));
    auto stream = std::make_unique<SongStream>(successor_.song);
    const auto join = stream->follow(stream_->sharedSong(), newest_->grid, rate);
    lane->rate = rate;
    lane->start = static_cast<double>(join.grid.sample) / stream->song().rate -
                  static_cast<double>(join.grid.frame) / rate;
    lane->request = successor_.number;
    lane->grid = join.grid;
    lane->after = newest_;
    lane->at = join.frame;
    fill(*lane, *stream, static_cast<size_t>(kPrimedSeconds * rate));
    successor_.lane = std::move(lane);
    successor_.stream = std::move(stream);
    voice_->offerSuccessor(successor_.lane.get());
}

milliseconds VoiceFeed::untilEnd() const {
    double left = static_cast<double>(newest_->ring.readable()) / newest_->rate;
    if (hasEnded()) left = untilHeard();
    return milliseconds(static_cast<int64_t>(std::ceil(left * 1000)));
}

double VoiceFeed::untilHeard() const {
    const double since = static_cast<double>(nowNanoseconds() - voice_->progress().at) * 1e-9;
    return mixer_.latency() - since;
}

void VoiceFeed::noticeNearEnd() {
    if (!voice_->isPlaying()) return;
    const Song& song = stream_->song();
    const Progress progress = voice_->progress();
    const double time = progress.request == wanted_.number
                            ? progress.time
                            : static_cast<double>(wanted_.sample) / song.rate;
    if (song.duration() - time < kNearEndSeconds) voice_->noticeNearEnd(wanted_.number);
}

void VoiceFeed::noticeFollowedEnd() {
    if (!followedEnd_) return;
    const Progress progress = voice_->progress();
    if (progress.request == followedEnd_->request) return;
    const bool moved = progress.request != followedEnd_->successor;
    // Its last frames may still be to come, however long ago the last block was.
    if (!moved && (progress.time < 0 || untilHeard() > progress.time)) return;
    if (!moved) voice_->noticeEnd(followedEnd_->request, followedEnd_->decoded);
    followedEnd_.reset();
}

void VoiceFeed::noticeEndWhenHeard() {
    if (!hasEnded() || noticed_ == wanted_.number) return;
    if (untilHeard() > 0 || !voice_->isHeeded(wanted_.number)) return;
    noticed_ = wanted_.number;
    voice_->noticeEnd(wanted_.number, !stream_->brokeOff());
}

}  // namespace platform::audio
