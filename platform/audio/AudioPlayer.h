#pragma once

#include <QByteArray>

#include <memory>

namespace platform {

class AudioPlayer;

/// Is told, on the main thread, that a player has come to its end.
class AudioPlayerDelegate {
  public:
    /// `player` has stopped at its end; `successfully` is false when decoding broke off. Never
    /// called from inside a call into the player, never after the player is gone.
    virtual void audioPlayerDidFinishPlayingSuccessfully(AudioPlayer* player,
                                                         bool successfully) = 0;

  protected:
    ~AudioPlayerDelegate() = default;
};

/// Plays one encoded audio file held in memory. Main thread only.
class AudioPlayer {
  public:
    /// A paused player for `data`, at position 0, volume 1 and pan 0; null when the bytes aren't
    /// playable audio.
    static std::unique_ptr<AudioPlayer> initWithData(const QByteArray& data);

    /// Ends playback at once.
    ~AudioPlayer();
    AudioPlayer(const AudioPlayer&) = delete;
    AudioPlayer& operator=(const AudioPlayer&) = delete;

    /// The delegate (may be null) is not owned and must outlive the player or be taken back.
    void setDelegate(AudioPlayerDelegate* delegate);

    /// Starts or resumes; from the end it starts again at 0.
    void play();
    /// Stops, keeping the position.
    void pause();
    bool isPlaying() const;

    /// Length in seconds.
    double duration() const;
    /// Position that has reached the listener, in seconds; within [0, duration], never running
    /// backwards while playing.
    double currentTime() const;
    /// Moves the position (clamped to [0, duration]), keeping the play or pause state.
    void setCurrentTime(double seconds);

    /// Linear gain, clamped to [0, 1].
    void setVolume(float volume);
    /// Stereo position from -1 (all on the left) to +1 (all on the right), clamped. For p >= 0:
    /// left' = (1 - p) L, right' = (R + p L) / (1 + p); mirrored for p < 0.
    void setPan(float pan);

  private:
    class Impl;
    explicit AudioPlayer(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> impl_;
};

}  // namespace platform
