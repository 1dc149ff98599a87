#include "platform/audio/VoiceFeed.h"
#include "tests/platform/audio/Songs.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <set>

// One voice and its worker's part, served and rendered in turn by the test: whatever is asked for
// around a join, only what may be heard is heard, and time goes forward.

namespace platform::audio {
namespace {

constexpr int kRate = 44100;
constexpr double kAngle = 0.2;  // between one song and the next

/// Each song lies in a direction of its own between left and right, which no fade changes.
std::vector<std::shared_ptr<const Song>> makeSongs() {
    std::vector<std::shared_ptr<const Song>> songs;
    for (const size_t length : {1, 60, 500, 3000, 9000, 30000, 60000}) {
        const double angle = kAngle * static_cast<double>(songs.size() + 1) - 0.1;
        std::vector<float> stereo;
        for (size_t i = 0; i < length; ++i) {
            const double level = 0.3 + 0.5 * static_cast<double>(i) / static_cast<double>(length);
            stereo.push_back(static_cast<float>(level * std::cos(angle)));
            stereo.push_back(static_cast<float>(level * std::sin(angle)));
        }
        songs.push_back(openSong(waveFile(stereo, kRate)));
    }
    return songs;
}

/// Where a sample lies, on the scale of the songs' indices: between two while they fade.
double placeOf(float left, float right) {
    return (std::atan(right / left) + 0.1) / kAngle - 1;
}

class Sequence {
  public:
    Sequence(const std::vector<std::shared_ptr<const Song>>& songs, unsigned seed)
        : songs_(songs), random_(seed), current_(below(static_cast<int>(songs.size()))) {
        mixer_.setRate(kRate);
        voice_->setNotices({[this](uint64_t request, bool) { noticeEnd(request); }, {}});
        voice_->setPlaying(true);
        seek();
    }

    ~Sequence() {
        const InRole worker(ThreadRole::Worker);
        feed_.reset();
    }

    void step() {
        const int action = below(100);
        if (action < 40) {
            serve(below(8));
        } else if (action < 70) {
            render(below(900));
        } else if (action < 80) {
            allow(below(static_cast<int>(songs_.size())));
        } else if (action < 85) {
            takeBack();
        } else if (action < 89) {
            takeBack();
            seek();
        } else if (action < 94) {
            takeBack();
            playing_ = !playing_;
            voice_->setPlaying(playing_);
        } else if (action < 96) {
            mixer_.setRate(below(2) == 0 ? 48000 : kRate);
            isExact_ = false;
        } else {
            adopt();
        }
    }

    /// Lets a successor stand and be heard, whatever went before.
    void finish() {
        adopt();
        if (!playing_) voice_->setPlaying(playing_ = true);
        mixer_.setRate(kRate);
        seek();
        allow(current_ == 2 ? 3 : 2);
        const uint64_t before = number_;
        for (int i = 0; i < 400 && voice_->progress().request != successor_; ++i) {
            serve(40);
            render(480);
        }
        serve(40);
        ASSERT_EQ(voice_->progress().request, successor_);
        ASSERT_TRUE(ended_.contains(before));
        ASSERT_EQ(voice_->missingFrames(), missing_);
    }

  private:
    int below(int count) { return std::uniform_int_distribution<int>(0, count - 1)(random_); }

    void noticeEnd(uint64_t request) {
        ASSERT_LE(request, number_) << "of a song that nobody has gone over to";
        if (request < number_) return;
        ASSERT_TRUE(ended_.insert(request).second) << "told once";
        ASSERT_GE(position(), song().duration() - 1.0 / kRate);
    }

    const Song& song() const { return *songs_[static_cast<size_t>(current_)]; }

    /// In the current song, beyond its end while the successor plays; in seconds.
    double position() const {
        const Progress progress = voice_->progress();
        if (successor_ != 0 && progress.request == successor_)
            return song().duration() + progress.time;
        return progress.request == number_ ? progress.time : start_;
    }

    void serve(int times) {
        const InRole worker(ThreadRole::Worker);
        for (int i = 0; i < times; ++i)
            feed_->serve();
    }

    void seek() {
        const auto sample = std::max<int64_t>(0, song().length - below(2500));
        number_ = ++lastNumber_;
        start_ = static_cast<double>(sample) / kRate;
        const auto shared = songs_[static_cast<size_t>(current_)];
        const InRole worker(ThreadRole::Worker);
        if (!feed_) feed_ = std::make_unique<VoiceFeed>(voice_, shared, mixer_);
        feed_->request({number_, sample, shared});
    }

    void allow(int song) {
        if (!takeBack()) return;
        next_ = song;
        successor_ = ++lastNumber_;
        voice_->allowSuccessor(successor_);
        const InRole worker(ThreadRole::Worker);
        feed_->succeed(successor_, songs_[static_cast<size_t>(song)]);
    }

    /// As a deck does: what has begun is gone over to, and the new song is not held back.
    bool takeBack() {
        if (successor_ == 0) return true;
        if (!voice_->takeBackSuccessor(successor_)) {
            adopt();
            return false;
        }
        successor_ = 0;
        return true;
    }

    void adopt() {
        if (successor_ == 0 || voice_->progress().request != successor_) return;
        voice_->adoptSuccessor();
        number_ = std::exchange(successor_, 0);
        // It may have been sought shortly before, and a lane of it fade out yet.
        fading_ = std::minmax({fading_.first, fading_.second, current_});
        fadingFrames_ = 300;
        current_ = next_;
        start_ = 0;
    }

    void render(int frames) {
        const double before = position();
        const uint64_t request = voice_->progress().request;
        std::vector<float> block(2 * static_cast<size_t>(frames));
        const uint64_t missingBefore = voice_->missingFrames();
        mixer_.render(block.data(), static_cast<size_t>(frames));
        // The worker is not always served in time here: only at the end must it have kept up.
        missing_ += voice_->missingFrames() - missingBefore;
        const double after = position();
        // A change of the rate goes on from the nearest sample.
        const bool moved = voice_->progress().request == number_ && request != number_;
        ASSERT_GE(after, (moved ? start_ : before) - (isExact_ ? 0 : 1.0 / kRate)) << "backwards";
        for (size_t i = 0; isExact_ && i < block.size(); i += 2) {
            if (block[i] == 0 && block[i + 1] == 0) continue;
            const double place = placeOf(block[i], block[i + 1]);
            const int other = successor_ != 0 ? next_ : current_;
            ASSERT_GT(place, std::min({current_, other, fading_.first}) - 0.01) << i / 2;
            ASSERT_LT(place, std::max({current_, other, fading_.second}) + 0.01) << i / 2;
        }
        fadingFrames_ -= std::min(fadingFrames_, frames);
        if (fadingFrames_ == 0) fading_ = {current_, current_};
    }

    const std::vector<std::shared_ptr<const Song>>& songs_;
    std::mt19937 random_;
    Mixer mixer_;
    std::shared_ptr<Voice> voice_ = std::make_shared<Voice>();
    std::unique_ptr<VoiceFeed> feed_;
    bool playing_ = true;
    bool isExact_ = true;  // no resampler has mixed two songs
    int current_;
    int next_ = 0;
    std::pair<int, int> fading_ = {current_, current_};  // the first and last song that may
    int fadingFrames_ = 0;
    uint64_t number_ = 0;
    uint64_t successor_ = 0;
    uint64_t lastNumber_ = 0;
    uint64_t missing_ = 0;
    double start_ = 0;
    std::set<uint64_t> ended_;
};

// Instrumented, a sequence takes twenty times as long.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr unsigned kSequences = 500;
#else
constexpr unsigned kSequences = 10'000;
#endif

TEST(Succession, WhateverIsAskedForAroundAJoinNothingDroppedIsHeard) {
    const auto songs = makeSongs();
    for (unsigned seed = 0; seed < kSequences && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        Sequence sequence(songs, seed);
        for (int i = 0; i < 40 && !testing::Test::HasFatalFailure(); ++i)
            sequence.step();
        if (!testing::Test::HasFatalFailure()) sequence.finish();
    }
}

}  // namespace
}  // namespace platform::audio
