#include "platform/audio/AudioEngine.h"
#include "platform/audio/AudioPlayer.h"
#include "platform/audio/Clock.h"
#include "platform/audio/PlayerMaker.h"
#include "platform/audio/ShapeMaker.h"
#include "platform/audio/SongAhead.h"

#include <QObject>
#include <QPointer>

#include <algorithm>
#include <cmath>
#include <utility>

namespace platform {

using audio::AudioEngine;
using audio::FeedRequest;
using audio::Progress;
using audio::Song;
using audio::SongAhead;
using audio::Voice;

namespace {

float legalGain(float gain) {
    return std::isfinite(gain) ? std::max(gain, 0.0F) : 1.0F;
}

/// A player whose sound is a voice of the process's engine.
class EnginePlayer final : public AudioPlayer {
  public:
    explicit EnginePlayer(std::shared_ptr<const Song> song)
        : song_(std::move(song)), voice_(std::make_shared<Voice>()) {
        listen();
    }

    /// Takes over the sound of `before`'s successor, which has begun as the request `number`.
    EnginePlayer(std::shared_ptr<const Song> song, EnginePlayer& before, uint64_t number)
        : song_(std::move(song)),
          voice_(std::exchange(before.voice_, before.silentVoice())),
          isPlaying_(voice_->isPlaying()),
          isFed_(true),
          request_{number, 0, song_},
          lastNumber_(before.lastNumber_) {
        before.isPlaying_ = before.isFed_ = false;
        before.hasEnded_ = true;
        before.listen();
        listen();
        voice_->adoptSuccessor();
        voice_->awaitNearEnd();
        engine_.worker.wake();
    }

    ~EnginePlayer() override {
        voice_->setNotices({});
        if (!isFed_) return;
        if (successor_) voice_->takeBackSuccessor(successor_->number);
        voice_->release();
        engine_.worker.wake();
    }

    void setDelegate(AudioPlayerDelegate* delegate) override { delegate_ = delegate; }
    bool isPlaying() const override { return isPlaying_; }
    double duration() const override { return song_->duration(); }

    void play() override {
        if (isPlaying_) return;
        if (currentTime() >= duration()) setCurrentTime(0);
        isPlaying_ = true;
        voice_->setPlaying(true);
        voice_->awaitNearEnd();
        if (isFed_)
            engine_.worker.wake();
        else
            engine_.worker.add(voice_, song_, request_);
        isFed_ = true;
        engine_.output.wake();
    }

    void pause() override {
        // Before its fade could run into the successor.
        takeBackSuccessor();
        isPlaying_ = false;
        voice_->setPlaying(false);
    }

    double currentTime() const override {
        if (hasEnded_) return duration();
        const Progress progress = voice_->progress();
        const bool followed = successor_ && progress.request == successor_->number;
        // What was asked for counts until the first of it is delivered.
        if (progress.request != request_.number && !followed) return lastTime_;
        const double since = static_cast<double>(audio::nowNanoseconds() - progress.at) * 1e-9;
        const double behind = std::max(0.0, engine_.mixer.latency() - std::max(0.0, since));
        const double delivered = progress.time + (followed ? duration() : 0);
        const double heard = std::min(delivered - behind, duration());
        return lastTime_ = std::max(lastTime_, heard);
    }

    void setCurrentTime(double seconds) override {
        takeBackSuccessor();
        // Of one that has begun nothing more is wanted either.
        successor_.reset();
        const double wanted = std::isnan(seconds) ? 0 : std::clamp(seconds, 0.0, duration());
        const auto sample = static_cast<int64_t>(std::llround(wanted * song_->rate));
        request_ = {++lastNumber_, std::min(sample, song_->length), song_};
        lastTime_ = static_cast<double>(request_.sample) / song_->rate;
        hasEnded_ = false;
        voice_->awaitNearEnd();
        if (isFed_) engine_.worker.request(*voice_, request_);
    }

    void setVolume(float volume) override {
        voice_->setVolume(std::isnan(volume) ? 0.0F : std::clamp(volume, 0.0F, 1.0F));
    }

    void setGain(float gain) override { voice_->setGain(legalGain(gain)); }
    void setSuccessorGain(float gain) override { voice_->setSuccessorGain(legalGain(gain)); }

    void setPan(float pan) override {
        voice_->setPan(std::isnan(pan) ? 0.0F : std::clamp(pan, -1.0F, 1.0F));
    }

    SoundLevel level() const override {
        const auto latency = static_cast<int64_t>(engine_.mixer.latency() * 1e9);
        return voice_->levels().at(audio::nowNanoseconds() - latency);
    }

    std::shared_ptr<const SongShape> makeShape() const override { return audio::makeShape(song_); }

    bool setSuccessor(const std::optional<QString>& path) override {
        if (!takeBackSuccessor()) return false;
        if (!path || !isPlaying_) return true;
        const uint64_t number = ++lastNumber_;
        voice_->allowSuccessor(number);
        successor_.emplace();
        successor_->number = number;
        successor_->file = std::make_unique<SongAhead>(
            *path,
            SongAhead::Notices{[&worker = engine_.worker, number, voice = voice_](auto song) {
                                   worker.succeed(*voice, number, std::move(song));
                               },
                               [&worker = engine_.worker, number, voice = voice_] {
                                   voice->takeBackSuccessor(number);
                                   worker.wake();
                               }});
        return true;
    }

    std::unique_ptr<AudioPlayer> takeSuccessor(const QString& path) override {
        if (!successor_) return nullptr;
        const auto [number, file] = *std::exchange(successor_, std::nullopt);
        const bool begun = !voice_->takeBackSuccessor(number);
        engine_.worker.wake();
        auto song = file->path() == path ? file->song() : nullptr;
        if (!song) {
            if (begun) stop();
            return nullptr;
        }
        return begun ? std::make_unique<EnginePlayer>(std::move(song), *this, number)
                     : std::make_unique<EnginePlayer>(std::move(song));
    }

  private:
    struct Successor {
        uint64_t number = 0;
        std::unique_ptr<SongAhead> file;
    };

    void listen() {
        const auto tell = [this](auto action) {
            const auto notify = [this, action] {
                if (!delegate_) return action();
                delegate_->audioPlayerPerform([alive = QPointer(&context_), action] {
                    if (alive) action();
                });
            };
            QMetaObject::invokeMethod(&context_, notify, Qt::QueuedConnection);
        };
        voice_->setNotices(
            {[this, tell](uint64_t request, bool decoded) {
                 tell([this, request, decoded] { didEnd(request, decoded); });
             },
             [this, tell](uint64_t request) { tell([this, request] { nearsItsEnd(request); }); }});
    }

    /// A voice that has the volume and the pan of the present one.
    std::shared_ptr<Voice> silentVoice() const {
        auto voice = std::make_shared<Voice>();
        voice->setVolume(voice_->volume());
        voice->setPan(voice_->pan());
        return voice;
    }

    /// Forgets the successor, unless it has begun: then false.
    bool takeBackSuccessor() {
        if (!successor_) return true;
        if (!voice_->takeBackSuccessor(successor_->number)) return false;
        successor_.reset();
        engine_.worker.wake();
        return true;
    }

    void stop() {
        isPlaying_ = false;
        voice_->setPlaying(false);
    }

    void nearsItsEnd(uint64_t request) {
        if (request != request_.number || !isPlaying_ || !delegate_) return;
        delegate_->audioPlayerNearsItsEnd(this);
    }

    void didEnd(uint64_t request, bool decoded) {
        // Moved since, or already told.
        if (request != request_.number || hasEnded_) return;
        hasEnded_ = true;
        if (!isPlaying_) return;
        isPlaying_ = false;
        const bool followed = successor_ && !voice_->takeBackSuccessor(successor_->number);
        if (!followed) stop();
        // The delegate may well replace this player.
        const QPointer<QObject> alive(&context_);
        if (delegate_) delegate_->audioPlayerDidFinishPlayingSuccessfully(this, decoded);
        // Nobody has taken over what sounds, so it ends here.
        if (alive && followed && successor_) stop();
    }

    AudioEngine& engine_ = AudioEngine::shared();
    const std::shared_ptr<const Song> song_;
    std::shared_ptr<Voice> voice_;
    QObject context_;  // takes calls queued for it along when it goes
    AudioPlayerDelegate* delegate_ = nullptr;
    bool isPlaying_ = false;
    bool isFed_ = false;  // the worker knows the voice: from the first play on
    bool hasEnded_ = false;
    FeedRequest request_ = {1, 0, song_};
    uint64_t lastNumber_ = 1;
    std::optional<Successor> successor_;
    mutable double lastTime_ = 0;
};

}  // namespace

}  // namespace platform

platform::AudioPlayer* PAIRDECK_PLAYER_MAKER(const QByteArray& data) {
    auto song = platform::audio::openSong(data);
    return song ? new platform::EnginePlayer(std::move(song)) : nullptr;
}
