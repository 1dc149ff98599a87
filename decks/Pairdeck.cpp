#include "decks/Pairdeck.h"

#include "library/PDSourceManager.h"
#include "platform/foundation/Bundle.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/image/Image.h"
#include "platform/ui/Application.h"
#include "platform/ui/Button.h"
#include "platform/ui/Font.h"
#include "platform/ui/ImageView.h"
#include "platform/ui/LevelMeter.h"
#include "platform/ui/RunLoop.h"
#include "platform/ui/Slider.h"
#include "platform/ui/TableView.h"
#include "platform/ui/TextField.h"
#include "platform/ui/Window.h"
#include "platform/workspace/Workspace.h"
#include "presentation/HoverControlView.h"

#include <cmath>

using platform::AudioPlayer;
using platform::Control;
using platform::Image;
using platform::NotificationCenter;
using platform::Slider;

namespace {

const QString kLoudnessByTagsKey = QStringLiteral("PairdeckLoudnessByTags");
// In per cent.
const QString kPanelDensityKey = QStringLiteral("PairdeckPanelDensity");

}  // namespace

const QString& Pairdeck::playerStatusDidChange() {
    static const QString name = QStringLiteral("com.ovrelin.Pairdeck.playerStatusDidChange");
    return name;
}

const QString& Pairdeck::playerDidMove() {
    static const QString name = QStringLiteral("com.ovrelin.Pairdeck.playerDidMove");
    return name;
}

Pairdeck::Pairdeck() {
    const Deck::Side sides[] = {
        {PDLeftPlayer, QStringLiteral("Left"), QStringLiteral("left"),
         QStringLiteral("Default_Artwork"), +1.0F, PDLeftSourceManager::trackArray()},
        {PDRightPlayer, QStringLiteral("Right"), QStringLiteral("right"),
         QStringLiteral("Default-Art"), -1.0F, PDRightSourceManager::trackArray()}};
    outlet(QStringLiteral("PDWindow"), window_);
    outlet(QStringLiteral("PDCloseWindow"), closeWindow_);
    for (size_t i = 0; i < decks_.size(); ++i) {
        decks_[i] = std::make_unique<Deck>(sides[i], controls_[i], *this,
                                           [this](Deck::Change change) { post(change); });
        declare(sides[i], controls_[i]);
    }
    outlet(QStringLiteral("PDLoudnessByTags"), loudnessByTags_);
    outlet(QStringLiteral("PDPanelDensity"), panelDensity_);
    outlet(QStringLiteral("PDPreferencesWindowClose"), preferencesWindowClose_);
    outlet(QStringLiteral("PDAboutWindow"), aboutWindow_);
    outlet(QStringLiteral("PDAboutWindowClose"), aboutWindowClose_);
    outlet(QStringLiteral("PDVersionBuildString"), versionBuildString_);
    action(
        QStringLiteral("quit"), [this](Control*) { quit(); }, Urgency::Urgent);
    action(QStringLiteral("perSecondInfoRefresh"), [this](Control*) { perSecondInfoRefresh(); });
    action(QStringLiteral("loudnessByTagsDidChange"),
           [this](Control*) { loudnessByTagsDidChange(); });
    action(QStringLiteral("panelDensityDidChange"), [this](Control*) { panelDensityDidChange(); });
    action(QStringLiteral("playTrackFromSelection"),
           [this](Control* sender) { playTrackFromSelection(sender); });
    action(QStringLiteral("playNextTrackAt"), [this](Control* sender) { playNextTrackAt(sender); });
    action(QStringLiteral("playPrevTrackAt"), [this](Control* sender) { playPrevTrackAt(sender); });
    action(QStringLiteral("playPauseTrackAt"),
           [this](Control* sender) { playPauseTrackAt(sender); });
}

Pairdeck::~Pairdeck() = default;

void Pairdeck::declare(const Deck::Side& side, DeckControls& controls) {
    const auto name = [&side](const char* role) {
        return QStringLiteral("PD") + side.name + QLatin1String(role);
    };
    outlet(name("SongTitle"), controls.songTitle);
    outlet(name("SongAlbumArt"), controls.songAlbumArt);
    outlet(name("Background"), controls.background);
    outlet(name("SongAlbumArtist"), controls.songAlbumArtist);
    outlet(name("Hint"), controls.hint);
    outlet(name("OpenFolder"), controls.openFolder);
    outlet(name("TimeSlider"), controls.timeSlider);
    outlet(name("VolumeSlider"), controls.volumeSlider);
    outlet(name("MuteButton"), controls.muteButton);
    outlet(name("CTime"), controls.cTime);
    outlet(name("RTime"), controls.rTime);
    outlet(name("ShuffleButton"), controls.shuffleButton);
    outlet(name("RepeatButton"), controls.repeatButton);
    outlet(name("ControlView"), controls.controlView);
    outlet(name("PlayPause"), controls.playPause);
    outlet(name("Prev"), controls.prev);
    outlet(name("Next"), controls.next);
    outlet(name("TableView"), controls.tableView);
    outlet(name("LevelMeter"), controls.levelMeter);
    action(side.prefix + QStringLiteral("TimeSliderDidChange"),
           [this, type = side.type](Control* sender) { timeSliderDidChange(type, sender); });
    action(side.prefix + QStringLiteral("VolumeSliderDidChange"),
           [this, type = side.type](Control* sender) { volumeSliderDidChange(type, sender); });
    action(side.prefix + QStringLiteral("MuteStateDidChange"),
           [this, type = side.type](Control*) { deck(type).toggleMute(); });
    action(side.prefix + QStringLiteral("PlaySelectionOnOther"),
           [this, type = side.type](Control*) { playSelectionOnOther(type); });
    action(side.prefix + QStringLiteral("ShowSelectionInFileManager"),
           [this, type = side.type](Control*) { showSelectionInFileManager(type); });
    action(side.prefix + QStringLiteral("ShuffleStateDidChange"),
           [this, type = side.type](Control*) { shuffleStateDidChange(type); });
    action(side.prefix + QStringLiteral("RepeatStateDidChange"),
           [this, type = side.type](Control*) { repeatStateDidChange(type); });
}

void Pairdeck::awakeFromNib() {
    registerDefaults();
    // Less than a second, so that no second is skipped on the display.
    refreshTimer_ = platform::Timer::scheduledTimerWithTimeInterval(
        double{0.9F}, [this] { perSecondInfoRefresh(); }, true);
    const Image desktopPicture = Deck::desktopPicture();
    for (const auto& deck : decks_)
        deck->dress(desktopPicture);
    dressCloseButtons();
    // The refresh looks at both decks, so both are restored before it.
    for (const auto& deck : decks_)
        deck->restore();
    restoreLoudness();
    restorePanelDensity();
    refreshInfo();
    for (const auto& deck : decks_)
        deck->showIdle();
    dressAboutPanel();
    NotificationCenter::defaultCenter().addObserver(
        statusObserver_, playerStatusDidChange(),
        [this](const platform::Notification&) { refreshInfo(); });
}

void Pairdeck::registerDefaults() {
    platform::UserDefaults& defaults = platform::UserDefaults::standardUserDefaults();
    const QString marker = QStringLiteral("PDDefaultNotRegistered");
    // Registered values are never stored and nothing writes the marker, so this runs at each start.
    if (defaults.valueForKey(marker)) return;
    QHash<QString, platform::DefaultsValue> values = {{marker, false}};
    for (const auto& deck : decks_) {
        values.insert(deck->shuffleKey(), false);
        values.insert(deck->repeatKey(), std::int32_t{PDRepeatOff});
    }
    defaults.registerDefaults(values);
    defaults.synchronize();
}

void Pairdeck::restoreLoudness() {
    const bool byTags = platform::UserDefaults::standardUserDefaults()
                            .valueOfTypeForKey<bool>(kLoudnessByTagsKey)
                            .value_or(false);
    loudnessByTags_->setState(byTags ? platform::Button::OnState : platform::Button::OffState);
    for (const auto& deck : decks_)
        deck->setLoudnessByTags(byTags);
}

void Pairdeck::loudnessByTagsDidChange() {
    const bool byTags = loudnessByTags_->state() == platform::Button::OnState;
    platform::UserDefaults& defaults = platform::UserDefaults::standardUserDefaults();
    defaults.setValueForKey(byTags, kLoudnessByTagsKey);
    defaults.synchronize();
    for (const auto& deck : decks_)
        deck->setLoudnessByTags(byTags);
}

void Pairdeck::restorePanelDensity() {
    const auto stored =
        platform::UserDefaults::standardUserDefaults().valueOfTypeForKey<std::int32_t>(
            kPanelDensityKey);
    panelDensity_->setDoubleValue(stored ? *stored / 100.0 : window_->panelDensity());
    window_->setPanelDensity(panelDensity_->doubleValue());
}

void Pairdeck::panelDensityDidChange() {
    window_->setPanelDensity(panelDensity_->doubleValue());
    const auto percent = static_cast<std::int32_t>(std::lround(100.0 * window_->panelDensity()));
    platform::UserDefaults::standardUserDefaults().setValueForKey(percent, kPanelDensityKey);
}

void Pairdeck::dressCloseButtons() {
    platform::ButtonCell cell;
    cell.backgroundColor = QColor::fromRgbF(0.8F, 0.3F, 0.3F, 1.0F);
    cell.attributedTitle = {QStringLiteral("✕"), platform::systemFontOfSize(15.0), Qt::white,
                            Qt::AlignHCenter};
    cell.bordered = false;
    closeWindow_->setCell(cell);
    closeWindow_->drawCell();
    closeWindow_->setAction(QStringLiteral("terminate"));
    preferencesWindowClose_->setCell(cell);
    aboutWindowClose_->setCell(cell);
    aboutWindowClose_->setTarget(aboutWindow_);
    aboutWindowClose_->setAction(QStringLiteral("orderOut"));
}

void Pairdeck::dressAboutPanel() {
    aboutWindow_->setBackgroundColor(QColor::fromRgbF(0.0F, 0.0F, 0.0F, 0.7F));
    aboutWindow_->setOpaque(false);
    const platform::Bundle& bundle = platform::Bundle::mainBundle();
    const auto value = [&bundle](const char* key) {
        return bundle.objectForInfoDictionaryKey(QLatin1String(key))
            .value_or(QStringLiteral("(null)"));
    };
    versionBuildString_->setStringValue(QStringLiteral("Version: ") +
                                        value("CFBundleShortVersionString") +
                                        QStringLiteral("\nBuild: ") + value("CFBundleVersion"));
}

void Pairdeck::quit() {
    platform::Application::sharedApplication().terminate();
}

void Pairdeck::playTrackFromSelection(Control* sender) {
    if (Deck* deck = deckOf(sender, &DeckControls::tableView)) deck->playSelection();
}

void Pairdeck::playSelectionOnOther(PDPlayerType side) {
    const auto path = deck(side).selectedURL();
    if (path) deck(side == PDLeftPlayer ? PDRightPlayer : PDLeftPlayer).load(*path);
}

void Pairdeck::showSelectionInFileManager(PDPlayerType side) {
    const auto path = deck(side).selectedURL();
    if (path) platform::Workspace::sharedWorkspace().activateFileViewerSelectingURL(*path);
}

void Pairdeck::playTrackAtWithPlayer(const QString& path, PDPlayerType side) {
    if (side == PDLeftPlayer || side == PDRightPlayer) {
        deck(side).load(path);
    } else {
        post(Deck::Change::Status);
    }
}

void Pairdeck::playNextTrackAt(Control* sender) {
    if (Deck* deck = deckOf(sender, &DeckControls::next)) deck->playNext();
}

void Pairdeck::playPrevTrackAt(Control* sender) {
    if (Deck* deck = deckOf(sender, &DeckControls::prev)) deck->playPrevious();
}

void Pairdeck::audioPlayerDidFinishPlayingSuccessfully(AudioPlayer* player, bool) {
    for (const auto& deck : decks_) {
        if (!deck->plays(player)) continue;
        deck->finishTrack();
        post(Deck::Change::Move);
        return;
    }
}

void Pairdeck::audioPlayerNearsItsEnd(AudioPlayer* player) {
    for (const auto& deck : decks_) {
        if (deck->plays(player)) deck->prepareSuccessor();
    }
}

void Pairdeck::audioPlayerPerform(const std::function<void()>& notice) {
    platform::RunLoop::perform(notice);
}

void Pairdeck::prepareToPlay() {
    for (const auto& deck : decks_)
        deck->prepareToPlay();
}

void Pairdeck::refreshInfo() {
    for (const auto& deck : decks_)
        deck->refresh();
}

void Pairdeck::perSecondInfoRefresh() {
    for (const auto& deck : decks_)
        deck->showTimes();
}

void Pairdeck::playPauseTrackAt(Control* sender) {
    if (Deck* deck = deckOf(sender, &DeckControls::playPause)) {
        deck->playPause();
    } else {
        post(Deck::Change::Status);
    }
}

void Pairdeck::timeSliderDidChange(PDPlayerType side, Control* sender) {
    if (const auto* slider = dynamic_cast<Slider*>(sender)) deck(side).seek(slider->doubleValue());
}

void Pairdeck::volumeSliderDidChange(PDPlayerType side, Control* sender) {
    if (const auto* slider = dynamic_cast<Slider*>(sender)) {
        deck(side).setVolume(slider->floatValue());
    }
}

void Pairdeck::shuffleStateDidChange(PDPlayerType side) {
    const platform::Button* button = controls_[static_cast<size_t>(side)].shuffleButton;
    deck(side).setShuffle(button->state() == platform::Button::OnState);
}

void Pairdeck::repeatStateDidChange(PDPlayerType side) {
    deck(side).advanceRepeat();
}

void Pairdeck::post(Deck::Change change) {
    NotificationCenter::defaultCenter().postNotification(
        {change == Deck::Change::Status ? playerStatusDidChange() : playerDidMove(), this});
}
