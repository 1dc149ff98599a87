#pragma once

#include "decks/Deck.h"
#include "decks/DeckControls.h"
#include "platform/audio/AudioPlayer.h"
#include "platform/foundation/NotificationCenter.h"
#include "platform/foundation/Timer.h"
#include "platform/ui/Controller.h"

#include <QObject>
#include <QString>

#include <array>
#include <memory>

namespace platform {
class Button;
class Slider;
class TextField;
class Window;
}  // namespace platform

/// The controller of both decks: brings them up, finds the deck that an action is meant for, by its
/// sender or its name, and calls that deck's verb. What exists once per side is declared under the
/// side's name, {Side} being Left and Right, {side} left and right.
///
/// Outlets: PDWindow, PDCloseWindow, PDLoudnessByTags, PDPanelDensity, PDPreferencesWindowClose,
/// PDAboutWindow, PDAboutWindowClose, PDVersionBuildString; PD{Side}SongTitle,
/// PD{Side}SongAlbumArt, PD{Side}Background, PD{Side}SongAlbumArtist, PD{Side}Hint,
/// PD{Side}OpenFolder, PD{Side}TimeSlider, PD{Side}VolumeSlider, PD{Side}MuteButton, PD{Side}CTime,
/// PD{Side}RTime, PD{Side}ShuffleButton, PD{Side}RepeatButton, PD{Side}ControlView,
/// PD{Side}PlayPause, PD{Side}Prev, PD{Side}Next, PD{Side}TableView, PD{Side}LevelMeter.
///
/// Actions: quit, perSecondInfoRefresh, playTrackFromSelection, playNextTrackAt, playPrevTrackAt,
/// playPauseTrackAt, loudnessByTagsDidChange, panelDensityDidChange; {side}TimeSliderDidChange,
/// {side}VolumeSliderDidChange, {side}MuteStateDidChange, {side}PlaySelectionOnOther,
/// {side}ShowSelectionInFileManager, {side}ShuffleStateDidChange, {side}RepeatStateDidChange.
class Pairdeck final : public platform::Controller, public platform::AudioPlayerDelegate {
  public:
    /// The notification that a deck's player, play state, shuffle flag or repeat state may have
    /// changed; its object is the controller.
    static const QString& playerStatusDidChange();
    /// The notification of what that one leaves out: a deck's position has jumped within its track,
    /// its volume has changed, its track has ended or its list is another; its object is the
    /// controller.
    static const QString& playerDidMove();

    Pairdeck();
    ~Pairdeck() override;

    /// The deck of that side, which is one of the two.
    Deck& deck(PDPlayerType side) { return *decks_[static_cast<size_t>(side)]; }

    /// Brings both decks into their idle state, with the stored settings.
    void awakeFromNib() override;
    /// Ends the program.
    void quit();

    /// Plays the track in the selected row of `sender`, a deck's table.
    void playTrackFromSelection(platform::Control* sender);
    /// Loads the file at `path` on a deck, starts it and shows it. The status notification is
    /// posted in any case, for a side that is neither deck's too.
    void playTrackAtWithPlayer(const QString& path, PDPlayerType side);

    /// Plays the selected row of a deck's table on the other deck.
    void playSelectionOnOther(PDPlayerType side);
    /// Shows the file of the selected row of a deck's table in the file manager.
    void showSelectionInFileManager(PDPlayerType side);

    /// Plays the track after the deck's current one. `sender` is a deck's next button; for any
    /// other nothing happens.
    void playNextTrackAt(platform::Control* sender);
    /// The same backwards, for a previous button.
    void playPrevTrackAt(platform::Control* sender);
    /// Pauses, goes on or plays again, as the repeat state of the deck whose player it is says.
    void audioPlayerDidFinishPlayingSuccessfully(platform::AudioPlayer* player,
                                                 bool successfully) override;
    /// Has what follows stand ready on the deck whose player it is.
    void audioPlayerNearsItsEnd(platform::AudioPlayer* player) override;
    /// Not while a disk is waited for.
    void audioPlayerPerform(const std::function<void()>& notice) override;

    /// Has each deck load, in the background, what its first track would wait for.
    void prepareToPlay();
    /// Brings the play/pause, shuffle and repeat buttons of both decks in line with their state.
    void refreshInfo();
    /// Brings the seek sliders and the times of both decks in line with their players.
    void perSecondInfoRefresh();

    /// Plays or pauses the deck whose play/pause button `sender` is. The status notification is
    /// posted for any sender.
    void playPauseTrackAt(platform::Control* sender);
    /// Moves the deck's position to the slider's value, in seconds.
    void timeSliderDidChange(PDPlayerType side, platform::Control* sender);
    /// The slider's value becomes the deck's volume.
    void volumeSliderDidChange(PDPlayerType side, platform::Control* sender);
    /// The state of the deck's shuffle button becomes its shuffle flag.
    void shuffleStateDidChange(PDPlayerType side);
    /// The state of the button becomes the shared setting of loudness by tags, for both decks at
    /// once; on disk at once.
    void loudnessByTagsDidChange();
    /// The place of the slider becomes the density of the main window's panels.
    void panelDensityDidChange();
    /// Advances the deck's repeat state, off, all, one.
    void repeatStateDidChange(PDPlayerType side);

  private:
    void declare(const Deck::Side& side, DeckControls& controls);
    /// The deck whose `control` is the sender; null when it is neither's.
    template <typename ControlType>
    Deck* deckOf(const platform::Control* sender, ControlType* DeckControls::*control) {
        for (size_t i = 0; i < decks_.size(); ++i) {
            if (sender && controls_[i].*control == sender) return decks_[i].get();
        }
        return nullptr;
    }

    void registerDefaults();
    void restoreLoudness();
    void restorePanelDensity();
    void dressCloseButtons();
    void dressAboutPanel();
    void post(Deck::Change change);

    std::array<DeckControls, 2> controls_;
    std::array<std::unique_ptr<Deck>, 2> decks_;
    platform::Window* window_ = nullptr;
    platform::Button* closeWindow_ = nullptr;
    platform::Button* loudnessByTags_ = nullptr;
    platform::Slider* panelDensity_ = nullptr;
    platform::Button* preferencesWindowClose_ = nullptr;
    platform::Window* aboutWindow_ = nullptr;
    platform::Button* aboutWindowClose_ = nullptr;
    platform::TextField* versionBuildString_ = nullptr;
    std::unique_ptr<platform::Timer> refreshTimer_;
    QObject statusObserver_;
};
