#pragma once

#include "decks/Navigation.h"
#include "decks/SeekShape.h"
#include "library/PDTrack.h"
#include "platform/audio/AudioPlayer.h"
#include "platform/ui/LevelMeter.h"
#include "presentation/PDPlayerType.h"

#include <QByteArray>
#include <QObject>
#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

struct DeckControls;
namespace platform {
class Image;
}

/// What a loaded file's tags tell; absent what they don't.
struct TrackTags {
    std::optional<QString> title;
    std::optional<QString> album;
    std::optional<QString> artist;
    std::optional<QByteArray> artwork;  ///< an encoded picture that decodes
};

/// One side's deck: a player, its modes and their display. Whoever wants something of a deck, a
/// control in its window, the bus or the command line, calls the same verb; what a verb changes is
/// shown and told before it returns. Main thread only.
class Deck {
  public:
    /// What tells one deck from the other.
    struct Side {
        PDPlayerType type;
        QString name;             ///< "Left" or "Right", as outlets and settings spell it
        QString prefix;           ///< "left" or "right", as actions spell it
        QString fallbackArtwork;  ///< bundle image shown for a track without artwork
        float pan;                ///< the channel that the deck sounds on: +1 right, -1 left
        TrackArray& tracks;       ///< the side's library
    };

    enum class Change {
        Status,  ///< the player, the play state, the shuffle flag or the repeat state, maybe
        Move,    ///< the position by a jump, the volume, or the list of tracks
    };

    /// A deck at rest that shows itself on `controls`, which need be connected only when a verb is
    /// called. `delegate` is told of the end of each track, `didChange` of each change.
    Deck(const Side& side, const DeckControls& controls, platform::AudioPlayerDelegate& delegate,
         std::function<void(Change)> didChange);
    ~Deck();
    Deck(const Deck&) = delete;
    Deck& operator=(const Deck&) = delete;

    PDPlayerType side() const { return side_.type; }
    const QString& name() const { return side_.name; }
    const QString& prefix() const { return side_.prefix; }
    const TrackArray& tracks() const { return side_.tracks; }

    /// The path of the last load; absent before the first.
    const std::optional<QString>& currentURL() const { return currentURL_; }
    /// Of the last load.
    const TrackTags& tags() const { return tags_; }
    /// Whether something can be played: not before the first load nor after one that failed. A deck
    /// without a player reads as not playing, at 0 seconds of 0.
    bool hasPlayer() const { return player_ != nullptr; }
    bool isPlaying() const { return player_ && player_->isPlaying(); }
    double currentTime() const { return player_ ? player_->currentTime() : 0.0; }
    double duration() const { return player_ ? player_->duration() : 0.0; }
    /// Whether `player` is the deck's own at this moment.
    bool plays(const platform::AudioPlayer* player) const {
        return player && player == player_.get();
    }
    float volume() const { return volume_; }
    bool isShuffling() const { return shuffle_; }
    std::int64_t repeat() const { return repeat_; }
    QString shuffleKey() const { return QStringLiteral("Pairdeck%1ShuffleState").arg(name()); }
    QString repeatKey() const { return QStringLiteral("Pairdeck%1RepeatState").arg(name()); }

    /// Begins to read the desktop's picture on another thread, for `desktopPicture`.
    static void readDesktopPictureAhead();
    /// The desktop's picture as it stands, for a backdrop; null when there is none.
    static platform::Image desktopPicture();
    /// Dresses the controls that the interface file leaves plain and shows `desktopPicture`,
    /// blurred, behind the deck; nothing for a picture that is none.
    void dress(const platform::Image& desktopPicture);
    /// Takes the shuffle flag and the repeat state from the settings; what is stored there under
    /// another type, or out of range, counts as off.
    void restore();
    /// Full volume, and the words of a deck that has played nothing yet.
    void showIdle();

    /// Has the code that plays loaded in the background, once there is a track to play and a window
    /// to choose it in: it is half of the program's memory, and no first frame should wait for it.
    void prepareToPlay() const;
    /// The same when a file is about to be loaded anyway.
    static void prepareToLoad() { platform::AudioPlayer::prepare(); }
    /// Makes a new player for the file at `path`, starts it and shows it. A file that can't be
    /// played, or does not come from its disk, leaves the deck without a player but shown. Nothing
    /// happens when the program is told to end meanwhile.
    void load(const QString& path);
    /// The path of the track in the selected row of the deck's table; absent without a selection or
    /// for a row beyond the list.
    std::optional<QString> selectedURL() const;
    /// Loads the selected row of the deck's table. Nothing happens without a selection or for a row
    /// beyond the list.
    void playSelection();
    /// Loads the track after the current one, wrapping, or any with shuffle on; nothing from an
    /// empty list.
    void playNext();
    /// The same backwards; from navigation::kRestartThreshold on the track starts again instead.
    void playPrevious();
    /// Has what would follow the current track at its end stand ready to follow without a seam: the
    /// track that the repeat state, the shuffle flag and the list ask for now. A later change of
    /// these takes it back and puts another in its place.
    void prepareSuccessor();
    /// The track has ended: plays what stands ready to follow, or what the repeat state asks for
    /// now, or pauses.
    void finishTrack();

    /// Plays a deck that doesn't, from the start again where its track has ended, and pauses one
    /// that does.
    void playPause();
    void play();
    void pause();
    /// Moves the position, in seconds, clamped to the track.
    void seek(double seconds);
    /// Linear gain, clamped to [0, 1], for this track and those to come; not a number is ignored.
    void setVolume(float volume);
    /// Whether each track is made as loud as its tags ask for, at once and from now on; else the
    /// volume is exact.
    void setLoudnessByTags(bool byTags);
    /// Volume 0, or from there what it was before: the last that could well be heard.
    void toggleMute();
    /// Stored, and on disk when the settings next save themselves.
    void setShuffle(bool shuffle);
    /// Off, all or one; stored, and on disk at once. Any other state changes nothing.
    void setRepeat(std::int64_t state);
    /// The state after the current one; from a state that is none of the three nothing changes, but
    /// the settings are flushed and the change is told all the same.
    void advanceRepeat();

    /// Brings the play/pause, shuffle and repeat buttons in line with the deck.
    void refresh();
    /// Brings the seek slider and the times in line with the player.
    void showTimes();
    /// "mm:ss" of a number of seconds that is not negative; the minutes wrap at 60.
    static QString secondToMinuteSecond(std::int32_t seconds);

  private:
    std::optional<QString> neighbour(navigation::Neighbour step) const;
    std::optional<QString> trackAfterEnd() const;
    void playNeighbour(navigation::Neighbour step);
    void updateSuccessor();
    void follow(const std::optional<QString>& path, float gain);
    void takeBackSuccessor();
    void showTrack(const QString& path);
    void showTitle(const QString& title);
    void showAlbumArtist();
    void showRepeat();
    /// What is heard of the deck, on the meter's scale; absent when it rests.
    std::optional<platform::LevelMeter::Level> level() const;
    void showHint();
    std::int64_t storedRepeat() const;

    const Side side_;
    const DeckControls& controls_;
    platform::AudioPlayerDelegate& delegate_;
    std::function<void(Change)> didChange_;
    QObject listContext_;  // ends the listening to the table with the deck

    std::unique_ptr<platform::AudioPlayer> player_;
    SeekShape shape_;
    std::optional<QString> currentURL_;
    std::optional<QString> successor_;  // what the player follows its track with
    std::uint64_t successorRequest_ = 0;
    bool isNearEnd_ = false;  // so that a successor may stand ready
    TrackTags tags_;
    float volume_ = 1.0F;
    float audibleVolume_ = 1.0F;  // what the end of muting restores
    bool loudnessByTags_ = false;
    bool shuffle_ = false;
    std::int64_t repeat_ = PDRepeatOff;
};
