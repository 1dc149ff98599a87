#pragma once

#include "decks/Deck.h"
#include "platform/audio/AudioPlayer.h"
#include "platform/foundation/NotificationCenter.h"
#include "platform/foundation/Timer.h"
#include "platform/image/Image.h"
#include "platform/ui/Controller.h"
#include "platform/ui/Window.h"

#include <QString>

#include <array>
#include <cstdint>
#include <memory>

/// The controller of both decks: start-up, loading, navigation, status and transport, each in a
/// source file of its own. Every operation works on a Deck; what exists once per side is public
/// under the side's name, {Side} being Left and Right, {side} left and right.
///
/// Outlets: PDWindow, PDCloseWindow, PDAboutWindow, PDAboutWindowClose, PDVersionBuildString;
/// PD{Side}SongTitle, PD{Side}SongAlbumArt, PD{Side}Background, PD{Side}SongAlbumArtist,
/// PD{Side}TimeSlider, PD{Side}VolumeSlider, PD{Side}CTime, PD{Side}RTime, PD{Side}ShuffleButton,
/// PD{Side}RepeatButton, PD{Side}ControlView, PD{Side}PlayPause, PD{Side}Prev, PD{Side}Next,
/// PD{Side}TableView.
///
/// Actions: quit, perSecondInfoRefresh, playTrackFromSelection, playNextTrackAt, playPrevTrackAt,
/// playPauseTrackAt; {side}TimeSliderDidChange, {side}VolumeSliderDidChange,
/// {side}ShuffleStateDidChange, {side}RepeatStateDidChange.
class Pairdeck final : public platform::Controller, public platform::AudioPlayerDelegate {
  public:
    /// The notification that a deck's player, play state, shuffle flag or repeat state may have
    /// changed; its object is the controller.
    static const QString& playerStatusDidChange();
    /// The notification of what that one leaves out: a deck's position has jumped within its track,
    /// its volume has changed or its track has ended; its object is the controller.
    static const QString& playerDidMove();

    Pairdeck();
    ~Pairdeck() override;

    /// Brings both decks into their idle state, with the stored settings.
    void awakeFromNib() override;
    /// Ends the program.
    void quit();

    /// Plays the track in the selected row of `sender`, a deck's table. Nothing happens for any
    /// other sender, without a selection, or for a row beyond the deck's list.
    void playTrackFromSelection(platform::Control* sender);
    /// Loads the file at `path` on a deck, starts it and shows it. A file that can't be played
    /// leaves the deck without a player but shown; the status notification is posted in any case.
    void playTrackAtWithPlayer(const QString& path, PDPlayerType side);

    /// Plays the track after the deck's current one, wrapping, or any with shuffle on. `sender` is
    /// a deck's next button; for any other nothing happens.
    void playNextTrackAt(platform::Control* sender);
    /// The same backwards, for a previous button; from 10 seconds on the track starts again.
    void playPrevTrackAt(platform::Control* sender);
    void audioPlayerDidFinishPlayingSuccessfully(platform::AudioPlayer* player,
                                                 bool successfully) override;

    /// Brings the play/pause, shuffle and repeat buttons of both decks in line with their state.
    void refreshInfo();
    /// Brings the seek sliders and the times of both decks in line with their players.
    void perSecondInfoRefresh();
    /// "mm:ss" of a number of seconds that is not negative; the minutes wrap at 60.
    static QString secondToMinuteSecond(std::int32_t seconds);

    /// Plays or pauses the deck whose play/pause button `sender` is.
    void playPauseTrackAt(platform::Control* sender);
    /// Moves the deck's position to the slider's value, in seconds.
    void timeSliderDidChange(Deck& deck, platform::Control* sender);
    /// The slider's value becomes the deck's volume, for this track and those to come.
    void volumeSliderDidChange(Deck& deck, platform::Control* sender);
    /// The state of the deck's shuffle button becomes its shuffle flag and is stored.
    void shuffleStateDidChange(Deck& deck);
    /// Advances the deck's repeat state, off, all, one, and stores it on disk at once.
    void repeatStateDidChange(Deck& deck);

    const Deck& deck(PDPlayerType side) const { return decks_[static_cast<size_t>(side)]; }

  private:
    void declare(Deck& deck);
    /// The deck whose `control` is the sender; null when it is neither's.
    template <typename ControlType>
    Deck* deckOf(const platform::Control* sender, ControlType* Deck::*control) {
        for (Deck& deck : decks_) {
            if (sender && deck.*control == sender) return &deck;
        }
        return nullptr;
    }

    void registerDefaults();
    void showDesktopBackdrops();
    void dressCloseButtons();
    void wireSkipButtons();
    void restoreSettings();
    void dressAboutPanel();

    void load(Deck& deck, const QString& path);
    void playNeighbour(Deck& deck,
                       std::optional<size_t> (*neighbour)(std::optional<size_t>, size_t));
    void postStatus();
    void postMove();

    std::array<Deck, 2> decks_;
    platform::Window* window_ = nullptr;
    platform::Button* closeWindow_ = nullptr;
    platform::Window* aboutWindow_ = nullptr;
    platform::Button* aboutWindowClose_ = nullptr;
    platform::TextField* versionBuildString_ = nullptr;
    std::unique_ptr<platform::Timer> refreshTimer_;
    platform::ObserverToken statusObserver_;
};
