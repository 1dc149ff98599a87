#include "platform/audio/AudioPlayer.h"

#include "platform/audio/AudioEngine.h"
#include "platform/audio/Clock.h"

#include <QObject>

#include <algorithm>
#include <cmath>

namespace platform {

using audio::AudioEngine;
using audio::FeedRequest;
using audio::Progress;
using audio::Song;
using audio::Voice;

class AudioPlayer::Impl {
  public:
    Impl(AudioPlayer& player, std::shared_ptr<const Song> song)
        : player_(player), song_(std::move(song)), voice_(std::make_shared<Voice>()) {
        voice_->setEndNotice([this](uint64_t request, bool decoded) {
            QMetaObject::invokeMethod(
                &context_, [this, request, decoded] { didEnd(request, decoded); },
                Qt::QueuedConnection);
        });
    }

    ~Impl() {
        voice_->setEndNotice({});
        if (!isFed_) return;
        voice_->release();
        engine_.worker.wake();
    }

    void setDelegate(AudioPlayerDelegate* delegate) { delegate_ = delegate; }
    bool isPlaying() const { return isPlaying_; }
    double duration() const { return song_->duration(); }
    Voice& voice() { return *voice_; }

    void play() {
        if (isPlaying_) return;
        if (currentTime() >= duration()) setCurrentTime(0);
        isPlaying_ = true;
        voice_->setPlaying(true);
        if (isFed_)
            engine_.worker.wake();
        else
            engine_.worker.add(voice_, song_, request_);
        isFed_ = true;
        engine_.output.wake();
    }

    void pause() {
        isPlaying_ = false;
        voice_->setPlaying(false);
    }

    double currentTime() {
        if (hasEnded_) return duration();
        const Progress progress = voice_->progress();
        // What was asked for counts until the first of it is delivered.
        if (progress.request != request_.number) return lastTime_;
        const double since = static_cast<double>(audio::nowNanoseconds() - progress.at) * 1e-9;
        const double behind = std::max(0.0, engine_.mixer.latency() - std::max(0.0, since));
        const double heard = std::min(progress.time - behind, duration());
        return lastTime_ = std::max(lastTime_, heard);
    }

    void setCurrentTime(double seconds) {
        const double wanted = std::isnan(seconds) ? 0 : std::clamp(seconds, 0.0, duration());
        const auto sample = static_cast<int64_t>(std::llround(wanted * song_->rate));
        request_ = {request_.number + 1, std::min(sample, song_->length)};
        lastTime_ = static_cast<double>(request_.sample) / song_->rate;
        hasEnded_ = false;
        if (isFed_) engine_.worker.request(*voice_, request_);
    }

  private:
    void didEnd(uint64_t request, bool decoded) {
        // Moved since, or already told.
        if (request != request_.number || hasEnded_) return;
        hasEnded_ = true;
        if (!isPlaying_) return;
        pause();
        // The delegate may well replace this player: nothing is touched after this.
        if (delegate_) delegate_->audioPlayerDidFinishPlayingSuccessfully(&player_, decoded);
    }

    AudioPlayer& player_;
    AudioEngine& engine_ = AudioEngine::shared();
    const std::shared_ptr<const Song> song_;
    const std::shared_ptr<Voice> voice_;
    QObject context_;  // takes calls queued for it along when it goes
    AudioPlayerDelegate* delegate_ = nullptr;
    bool isPlaying_ = false;
    bool isFed_ = false;  // the worker knows the voice: from the first play on
    bool hasEnded_ = false;
    FeedRequest request_ = {1, 0};
    double lastTime_ = 0;
};

std::unique_ptr<AudioPlayer> AudioPlayer::initWithData(const QByteArray& data) {
    auto song = audio::openSong(data);
    if (!song) return nullptr;
    std::unique_ptr<AudioPlayer> player(new AudioPlayer(nullptr));
    player->impl_ = std::make_unique<Impl>(*player, std::move(song));
    return player;
}

AudioPlayer::AudioPlayer(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
AudioPlayer::~AudioPlayer() = default;

void AudioPlayer::setDelegate(AudioPlayerDelegate* delegate) {
    impl_->setDelegate(delegate);
}

void AudioPlayer::play() {
    impl_->play();
}

void AudioPlayer::pause() {
    impl_->pause();
}

bool AudioPlayer::isPlaying() const {
    return impl_->isPlaying();
}

double AudioPlayer::duration() const {
    return impl_->duration();
}

double AudioPlayer::currentTime() const {
    return impl_->currentTime();
}

void AudioPlayer::setCurrentTime(double seconds) {
    impl_->setCurrentTime(seconds);
}

void AudioPlayer::setVolume(float volume) {
    impl_->voice().setVolume(std::isnan(volume) ? 0.0F : std::clamp(volume, 0.0F, 1.0F));
}

void AudioPlayer::setPan(float pan) {
    impl_->voice().setPan(std::isnan(pan) ? 0.0F : std::clamp(pan, -1.0F, 1.0F));
}

}  // namespace platform
