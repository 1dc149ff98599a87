#pragma once

#include <QByteArray>
#include <QString>

#include <memory>
#include <optional>

namespace platform {

class AudioPlayer;

/// Is told, on the main thread, that a player has come to its end.
class AudioPlayerDelegate {
  public:
    /// `player` has stopped at its end; `successfully` is false when decoding broke off. Never
    /// called from inside a call into the player, never after the player is gone.
    virtual void audioPlayerDidFinishPlayingSuccessfully(AudioPlayer* player,
                                                         bool successfully) = 0;
    /// `player`, which plays, is some seconds from its end: time to set its successor. Told once
    /// after each start and each move of the position, in the same way as the end.
    virtual void audioPlayerNearsItsEnd(AudioPlayer* /*player*/) {}

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
    /// A factor of the song's own, from 0 on and 1 at first, that its volume is multiplied by.
    /// Above 1 it is for songs that stay within full scale with it.
    void setGain(float gain);
    /// The same for the successor, from its first sample on; to be told before it begins.
    void setSuccessorGain(float gain);
    /// Stereo position from -1 (all on the left) to +1 (all on the right), clamped. For p >= 0:
    /// left' = (1 - p) L, right' = (R + p L) / (1 + p); mirrored for p < 0.
    void setPan(float pan);

    /// Has the file at `path` follow without a seam, in place of what was set before; nothing for
    /// no path. It is read and decoded on other threads, and its first sample is heard right after
    /// this player's last, whatever the main thread does. A pause, a move of the position or a
    /// change of the file takes it back. False when the former one has begun already; it then goes
    /// on and nothing changes.
    bool setSuccessor(const std::optional<QString>& path);
    /// The player of the successor, if that is the file at `path` and was read, and the file has
    /// not changed since. Where it has begun, the player takes over its sound, with volume, pan and
    /// state, at its place, and this one stands at its end; otherwise it is paused at 0 and nothing
    /// follows this one any more. Else null; what has begun falls silent.
    std::unique_ptr<AudioPlayer> takeSuccessor(const QString& path);

  private:
    class Impl;
    explicit AudioPlayer(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> impl_;
};

}  // namespace platform
