#pragma once

#include "library/PDTrack.h"
#include "platform/audio/AudioPlayer.h"
#include "platform/ui/Button.h"
#include "platform/ui/ImageView.h"
#include "platform/ui/Slider.h"
#include "platform/ui/TableView.h"
#include "platform/ui/TextField.h"
#include "presentation/HoverControlView.h"
#include "presentation/PDPlayerType.h"

#include <QString>

#include <cstdint>
#include <memory>
#include <optional>

/// What a deck does when a track ends.
enum PDRepeatStateType : std::int64_t {
    PDRepeatOff = 0,  ///< pause
    PDRepeatAll = 1,  ///< play the next track
    PDRepeatOne = 2,  ///< play the same track again
};

/// One side's deck: what tells it from the other, its state and its controls.
struct Deck {
    PDPlayerType side;
    QString name;             ///< "Left" or "Right", as outlets and settings spell it
    QString prefix;           ///< "left" or "right", as actions spell it
    QString fallbackArtwork;  ///< bundle image shown for a track without artwork
    float pan;                ///< the channel that the deck sounds on: +1 right, -1 left
    TrackArray& trackArray;   ///< the side's library

    std::unique_ptr<platform::AudioPlayer> player = nullptr;  ///< null before the first load and
                                                              ///< for a file that can't be played
    std::optional<QString> currentURL = std::nullopt;         ///< path of the last load
    float volume = 1.0F;
    bool shuffle = false;
    std::int64_t repeat = PDRepeatOff;

    platform::TextField* songTitle = nullptr;
    HoverControlView* songAlbumArt = nullptr;
    platform::ImageView* background = nullptr;
    platform::TextField* songAlbumArtist = nullptr;
    platform::Slider* timeSlider = nullptr;
    platform::Slider* volumeSlider = nullptr;
    platform::TextField* cTime = nullptr;
    platform::TextField* rTime = nullptr;
    platform::Button* shuffleButton = nullptr;
    platform::Button* repeatButton = nullptr;
    platform::View* controlView = nullptr;
    platform::Button* playPause = nullptr;
    platform::Button* prev = nullptr;
    platform::Button* next = nullptr;
    platform::TableView* tableView = nullptr;

    QString shuffleKey() const { return QStringLiteral("Pairdeck%1ShuffleState").arg(name); }
    QString repeatKey() const { return QStringLiteral("Pairdeck%1RepeatState").arg(name); }

    /// A deck without a player reads as not playing, at 0 seconds of 0.
    bool isPlaying() const { return player && player->isPlaying(); }
    double currentTime() const { return player ? player->currentTime() : 0.0; }
    double duration() const { return player ? player->duration() : 0.0; }
};
