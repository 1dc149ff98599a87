#pragma once

#include "platform/audio/SongShape.h"
#include "platform/audio/SoundLevel.h"

#include <QByteArray>
#include <QString>

#include <functional>
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
    /// Calls `notice`, which tells one of these: now, or later where now is not the time. It tells
    /// nothing once the player is gone.
    virtual void audioPlayerPerform(const std::function<void()>& notice) { notice(); }

  protected:
    ~AudioPlayerDelegate() = default;
};

/// Plays one encoded audio file held in memory. Main thread only.
class AudioPlayer {
  public:
    /// A paused player for `data`, at position 0, volume 1 and pan 0; null when the bytes aren't
    /// playable audio, or where the sound module (SoundModule.h) can't be had.
    static std::unique_ptr<AudioPlayer> initWithData(const QByteArray& data);
    /// Has what players need loaded on another thread, so that the first one is made at once.
    static void prepare();

    /// Ends playback at once.
    virtual ~AudioPlayer() = default;
    AudioPlayer(const AudioPlayer&) = delete;
    AudioPlayer& operator=(const AudioPlayer&) = delete;

    /// The delegate (may be null) is not owned and must outlive the player or be taken back.
    virtual void setDelegate(AudioPlayerDelegate* delegate) = 0;

    /// Starts or resumes; from the end it starts again at 0.
    virtual void play() = 0;
    /// Stops, keeping the position.
    virtual void pause() = 0;
    virtual bool isPlaying() const = 0;

    /// Length in seconds.
    virtual double duration() const = 0;
    /// Position that has reached the listener, in seconds; within [0, duration], never running
    /// backwards while playing.
    virtual double currentTime() const = 0;
    /// Moves the position (clamped to [0, duration]), keeping the play or pause state.
    virtual void setCurrentTime(double seconds) = 0;

    /// Linear gain, clamped to [0, 1].
    virtual void setVolume(float volume) = 0;
    /// A factor of the song's own, from 0 on and 1 at first, that its volume is multiplied by.
    /// Above 1 it is for songs that stay within full scale with it.
    virtual void setGain(float gain) = 0;
    /// The same for the successor, from its first sample on; to be told before it begins.
    virtual void setSuccessorGain(float gain) = 0;
    /// Stereo position from -1 (all on the left) to +1 (all on the right), clamped. For p >= 0:
    /// left' = (1 - p) L, right' = (R + p L) / (1 + p); mirrored for p < 0.
    virtual void setPan(float pan) = 0;

    /// How loud what reaches the listener at this moment is, with volume and pan; silence where
    /// nothing does.
    virtual SoundLevel level() const = 0;

    /// Begins to make the shape of the song on a thread that runs when no other wants to, and goes
    /// on for as long as somebody holds the result. Null where that can't be.
    virtual std::shared_ptr<const SongShape> makeShape() const = 0;

    /// Has the file at `path` follow without a seam, in place of what was set before; nothing for
    /// no path. It is read and decoded on other threads, and its first sample is heard right after
    /// this player's last, whatever the main thread does. A pause, a move of the position or a
    /// change of the file takes it back. False when the former one has begun already; it then goes
    /// on and nothing changes.
    virtual bool setSuccessor(const std::optional<QString>& path) = 0;
    /// The player of the successor, if that is the file at `path` and was read, and the file has
    /// not changed since. Where it has begun, the player takes over its sound, with volume, pan and
    /// state, at its place, and this one stands at its end; otherwise it is paused at 0 and nothing
    /// follows this one any more. Else null; what has begun falls silent.
    virtual std::unique_ptr<AudioPlayer> takeSuccessor(const QString& path) = 0;

  protected:
    AudioPlayer() = default;
};

}  // namespace platform
