#include "decks/Backdrop.h"
#include "decks/Pairdeck.h"
#include "decks/RepeatState.h"
#include "library/PDSourceManager.h"
#include "platform/foundation/Bundle.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/foundation/Workspace.h"
#include "platform/ui/Application.h"
#include "platform/ui/Font.h"
#include "presentation/CenteredTextFieldCell.h"

using platform::Control;
using platform::DefaultsValue;
using platform::Image;
using platform::UserDefaults;

const QString& Pairdeck::playerStatusDidChange() {
    static const QString name = QStringLiteral("com.ovrelin.Pairdeck.playerStatusDidChange");
    return name;
}

Pairdeck::Pairdeck()
    : decks_{Deck{PDLeftPlayer, QStringLiteral("Left"), QStringLiteral("left"),
                  QStringLiteral("Default_Artwork"), +1.0F, PDLeftSourceManager::trackArray()},
             Deck{PDRightPlayer, QStringLiteral("Right"), QStringLiteral("right"),
                  QStringLiteral("Default-Art"), -1.0F, PDRightSourceManager::trackArray()}} {
    outlet(QStringLiteral("PDWindow"), window_);
    outlet(QStringLiteral("PDCloseWindow"), closeWindow_);
    for (Deck& deck : decks_)
        declare(deck);
    outlet(QStringLiteral("PDAboutWindow"), aboutWindow_);
    outlet(QStringLiteral("PDAboutWindowClose"), aboutWindowClose_);
    outlet(QStringLiteral("PDVersionBuildString"), versionBuildString_);
    action(QStringLiteral("quit"), [this](Control*) { quit(); });
    action(QStringLiteral("playTrackFromSelection"),
           [this](Control* sender) { playTrackFromSelection(sender); });
    action(QStringLiteral("playNextTrackAt"), [this](Control* sender) { playNextTrackAt(sender); });
    action(QStringLiteral("playPrevTrackAt"), [this](Control* sender) { playPrevTrackAt(sender); });
    action(QStringLiteral("playPauseTrackAt"),
           [this](Control* sender) { playPauseTrackAt(sender); });
}

Pairdeck::~Pairdeck() = default;

void Pairdeck::declare(Deck& deck) {
    const auto name = [&deck](const char* role) {
        return QStringLiteral("PD") + deck.name + QLatin1String(role);
    };
    outlet(name("SongTitle"), deck.songTitle);
    outlet(name("SongAlbumArt"), deck.songAlbumArt);
    outlet(name("Background"), deck.background);
    outlet(name("SongAlbumArtist"), deck.songAlbumArtist);
    outlet(name("TimeSlider"), deck.timeSlider);
    outlet(name("VolumeSlider"), deck.volumeSlider);
    outlet(name("CTime"), deck.cTime);
    outlet(name("RTime"), deck.rTime);
    outlet(name("ShuffleButton"), deck.shuffleButton);
    outlet(name("RepeatButton"), deck.repeatButton);
    outlet(name("ControlView"), deck.controlView);
    outlet(name("PlayPause"), deck.playPause);
    outlet(name("Prev"), deck.prev);
    outlet(name("Next"), deck.next);
    outlet(name("TableView"), deck.tableView);
    action(deck.prefix + QStringLiteral("TimeSliderDidChange"),
           [this, &deck](Control* sender) { timeSliderDidChange(deck, sender); });
    action(deck.prefix + QStringLiteral("VolumeSliderDidChange"),
           [this, &deck](Control* sender) { volumeSliderDidChange(deck, sender); });
    action(deck.prefix + QStringLiteral("ShuffleStateDidChange"),
           [this, &deck](Control*) { shuffleStateDidChange(deck); });
    action(deck.prefix + QStringLiteral("RepeatStateDidChange"),
           [this, &deck](Control*) { repeatStateDidChange(deck); });
}

void Pairdeck::awakeFromNib() {
    registerDefaults();
    // Less than a second, so that no second is skipped on the display.
    refreshTimer_ = platform::Timer::scheduledTimerWithTimeInterval(
        double{0.9F}, [this] { perSecondInfoRefresh(); }, true);
    for (Deck& deck : decks_) {
        deck.songAlbumArt->setImage(Image::imageNamed(QStringLiteral("Default_Artwork")));
    }
    for (Deck& deck : decks_)
        deck.songTitle->setCell(std::make_unique<CenteredTextFieldCell>());
    for (Deck& deck : decks_) {
        deck.tableView->setDoubleAction(QStringLiteral("playTrackFromSelection"));
        deck.tableView->setRowMarker([&deck](std::int64_t row) {
            const auto index = static_cast<size_t>(row);
            return index < deck.trackArray.size() &&
                   deck.trackArray[index]->URL() == deck.currentURL;
        });
    }
    for (Deck& deck : decks_)
        deck.songAlbumArt->setControlView(deck.controlView);
    showDesktopBackdrops();
    dressCloseButtons();
    wireSkipButtons();
    restoreSettings();
    refreshInfo();
    for (Deck& deck : decks_) {
        deck.volume = 1.0F;
        if (deck.player) deck.player->setVolume(deck.volume);
    }
    for (Deck& deck : decks_) {
        deck.songTitle->setStringValue(QStringLiteral("No Music Playing"));
        deck.songAlbumArtist->setStringValue(QStringLiteral("Import a folder, then play a song"));
    }
    dressAboutPanel();
    statusObserver_ = platform::NotificationCenter::defaultCenter().addObserver(
        [this](const platform::Notification&) { refreshInfo(); }, playerStatusDidChange());
}

void Pairdeck::registerDefaults() {
    UserDefaults& defaults = UserDefaults::standardUserDefaults();
    const QString marker = QStringLiteral("PDDefaultNotRegistered");
    // Registered values are never stored and nothing writes the marker, so this runs at each start.
    if (defaults.valueForKey(marker)) return;
    QHash<QString, DefaultsValue> values = {{marker, false}};
    for (const Deck& deck : decks_) {
        values.insert(deck.shuffleKey(), false);
        values.insert(deck.repeatKey(), std::int32_t{PDRepeatOff});
    }
    defaults.registerDefaults(values);
    defaults.synchronize();
}

void Pairdeck::showDesktopBackdrops() {
    const auto path = platform::Workspace::sharedWorkspace().desktopImageURLForScreen();
    const Image picture = path ? Image::initByReferencingURL(*path) : Image();
    for (Deck& deck : decks_) {
        deck.background->setImage(backdropFromImage(picture, kDesktopBlurLevel));
        deck.background->setImageAlignment(platform::ImageAlignment::Center);
        deck.background->setImageScaling(platform::ImageScaling::None);
    }
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
    aboutWindowClose_->setCell(cell);
    aboutWindowClose_->setTarget(aboutWindow_);
    aboutWindowClose_->setAction(QStringLiteral("orderOut"));
}

void Pairdeck::wireSkipButtons() {
    for (Deck& deck : decks_) {
        deck.next->setAction(QStringLiteral("playNextTrackAt"));
        deck.prev->setAction(QStringLiteral("playPrevTrackAt"));
    }
}

void Pairdeck::restoreSettings() {
    const UserDefaults& defaults = UserDefaults::standardUserDefaults();
    for (Deck& deck : decks_)
        deck.repeat = storedRepeatState(deck);
    for (Deck& deck : decks_) {
        const auto stored = defaults.valueForKey(deck.shuffleKey());
        // A number equal to one is as true as the boolean.
        deck.shuffle = stored == DefaultsValue(true) || stored == DefaultsValue(std::int32_t{1});
    }
    for (Deck& deck : decks_)
        deck.repeatButton->setImage(repeatImage(deck.repeat));
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
