#include "decks/Deck.h"

#include "decks/DeckControls.h"
#include "decks/Random.h"
#include "platform/foundation/Path.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/media/Loudness.h"
#include "platform/media/MediaAsset.h"
#include "platform/ui/Button.h"
#include "platform/ui/Font.h"
#include "platform/ui/ImageView.h"
#include "platform/ui/RunLoop.h"
#include "platform/ui/Slider.h"
#include "platform/ui/TableView.h"
#include "platform/ui/TextField.h"
#include "platform/workspace/Workspace.h"
#include "presentation/BlurredBackdrop.h"
#include "presentation/CenteredTextFieldCell.h"
#include "presentation/HoverControlView.h"

#include <QAbstractItemModel>
#include <QApplication>
#include <QPointer>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

using platform::AudioPlayer;
using platform::Button;
using platform::Image;
using platform::RunLoop;
using platform::UserDefaults;

namespace {

// Longer texts are set smaller, to fit.
constexpr qsizetype kLongText = 30;  // UTF-16 units

// A successor is read in the last ten seconds of the song before it.
constexpr std::chrono::minutes kLongestReadAhead(1);

constexpr double kBackdropWidth = 575.0;  // points

// A knob dragged to nothing passes what can hardly be heard; that is none to come back to.
constexpr float kLeastAudibleVolume = 0.05F;

// Blur levels, in pixels of the source picture.
constexpr double kDesktopBlurLevel = 150.0;
constexpr double kArtworkBlurLevel = 27.0;

TrackTags readTags(const QString& path) {
    const auto tags = RunLoop::resultOf([path](const std::atomic<bool>&) {
        const auto asset = platform::MediaAsset::URLAssetWithURL(path);
        RunLoop::noteProgress();
        const platform::Tags& texts = asset.metadata();
        return TrackTags{texts.title, texts.album, texts.artist, asset.artwork()};
    });
    return tags.value_or(TrackTags());
}

/// The factor that the track at `path` asks to be played with besides the volume.
float gainOf(const QString& path) {
    const auto gain = RunLoop::resultOf(
        [path](const std::atomic<bool>&) { return platform::loudnessOfFile(path).factor(); });
    return gain.value_or(1.0F);
}

std::unique_ptr<CenteredTextFieldCell> cellWithFontSize(double size) {
    auto cell = std::make_unique<CenteredTextFieldCell>();
    cell->setFont(platform::fontWithNameSize(QStringLiteral("Helvetica Neue Thin"), size));
    return cell;
}

std::optional<QString> desktopPicturePath() {
    return platform::Workspace::sharedWorkspace().desktopImageURLForScreen();
}

Image backdropOf(const Image& picture, double level) {
    const QSizeF size = picture.size();
    // The aspect ratio of a picture without a width is no number.
    if (size.width() <= 0.0) return {};
    return blurWithLevelAndSize(picture, level,
                                {kBackdropWidth, size.height() / (size.width() / kBackdropWidth)});
}

// Where an amplitude stands on a meter that ends at full scale.
double onMeter(float amplitude) {
    constexpr double kSpan = 48.0;  // dB
    return amplitude > 0.0F ? std::max(0.0, 1.0 + 20.0 * std::log10(double(amplitude)) / kSpan) : 0;
}

int buttonState(bool isOn) {
    return isOn ? Button::OnState : Button::OffState;
}

}  // namespace

Deck::Deck(const Side& side, const DeckControls& controls, platform::AudioPlayerDelegate& delegate,
           std::function<void(Change)> didChange)
    : side_(side), controls_(controls), delegate_(delegate), didChange_(std::move(didChange)) {}

Deck::~Deck() = default;

void Deck::readDesktopPictureAhead() {
    if (const auto path = desktopPicturePath()) Image::readAhead(*path, kDesktopBlurLevel);
}

Image Deck::desktopPicture() {
    const auto path = desktopPicturePath();
    return path ? Image::initWithContentsOfURL(*path, kDesktopBlurLevel) : Image();
}

void Deck::dress(const Image& desktopPicture) {
    controls_.songAlbumArt->setImage(Image::imageNamed(QStringLiteral("Default_Artwork")));
    controls_.songTitle->setCell(std::make_unique<CenteredTextFieldCell>());
    controls_.tableView->setDoubleAction(QStringLiteral("playTrackFromSelection"));
    controls_.tableView->setRowMarker([this](std::int64_t row) {
        const auto index = static_cast<size_t>(row);
        return index < tracks().size() && tracks()[index]->URL() == currentURL_;
    });
    // A scan or a search has renewed the list.
    QObject::connect(controls_.tableView->model(), &QAbstractItemModel::modelReset, &listContext_,
                     [this] {
                         updateSuccessor();
                         showHint();
                         prepareToPlay();
                         didChange_(Change::Move);
                     });
    controls_.songAlbumArt->setControlView(controls_.controlView);
    controls_.timeSlider->setValueSource([this] { return currentTime(); });
    controls_.levelMeter->setSource([this] { return level(); });
    controls_.background->setImage(backdropOf(desktopPicture, kDesktopBlurLevel));
    controls_.background->setImageAlignment(platform::ImageAlignment::Center);
    controls_.background->setImageScaling(platform::ImageScaling::None);
    controls_.next->setAction(QStringLiteral("playNextTrackAt"));
    controls_.prev->setAction(QStringLiteral("playPrevTrackAt"));
}

void Deck::restore() {
    repeat_ = storedRepeat();
    const auto stored = UserDefaults::standardUserDefaults().valueForKey(shuffleKey());
    // A number equal to one is as true as the boolean.
    shuffle_ = stored == platform::DefaultsValue(true) ||
               stored == platform::DefaultsValue(std::int32_t{1});
    showRepeat();
}

void Deck::showIdle() {
    volume_ = 1.0F;
    if (player_) player_->setVolume(volume_);
    controls_.songTitle->setStringValue(QStringLiteral("No Music Playing"));
    controls_.songAlbumArtist->setStringValue(QStringLiteral("Import a folder, then play a song"));
    showHint();
}

void Deck::showHint() {
    const bool hasSongs = !tracks().empty();
    const bool isIdle = !currentURL_;
    controls_.hint->setStringValue(hasSongs
                                       ? QStringLiteral("Double-click a song in the library below.")
                                       : QStringLiteral("No songs are loaded yet."));
    controls_.hint->setHidden(!isIdle);
    controls_.openFolder->setHidden(!isIdle || hasSongs);
}

void Deck::prepareToPlay() const {
    if (!tracks().empty() && controls_.tableView->window()->isVisible()) AudioPlayer::prepare();
}

void Deck::load(const QString& path) {
    // A track that follows the one before without a seam is read and under way already.
    auto player = player_ ? player_->takeSuccessor(path) : nullptr;
    const auto readAt =
        std::chrono::system_clock::now() - (player ? kLongestReadAhead : std::chrono::minutes(0));
    bool isDiskDead = false;
    if (!player) {
        const auto data = RunLoop::resultOf([path](const std::atomic<bool>& isLeft) {
            return platform::dataWithContentsOfFile(path, [&isLeft] {
                RunLoop::noteProgress();
                return !isLeft;
            });
        });
        if (RunLoop::isStopped()) return;
        isDiskDead = !data;
        player = data && *data ? AudioPlayer::initWithData(**data) : nullptr;
    }
    shape_.clear(*controls_.timeSlider);
    player_ = std::move(player);
    successor_.reset();
    ++successorRequest_;
    isNearEnd_ = false;
    currentURL_ = path;
    if (player_) player_->setDelegate(&delegate_);
    tags_ = isDiskDead ? TrackTags() : readTags(path);
    showTrack(path);
    showHint();
    if (player_) {
        player_->setPan(side_.pan);
        player_->setGain(loudnessByTags_ ? gainOf(path) : 1.0F);
        player_->play();
    }
    // A place held in the song before is none in this one.
    controls_.timeSlider->stopTracking();
    controls_.timeSlider->setMinValue(0.0);
    controls_.timeSlider->setMaxValue(duration());
    controls_.timeSlider->setDoubleValue(0.0);
    if (player_) {
        player_->setVolume(volume_);
        shape_.show(*controls_.timeSlider, path, *player_, readAt);
    }
    controls_.tableView->markDidMove();
    didChange_(Change::Status);
}

void Deck::showTrack(const QString& path) {
    const Image artwork = tags_.artwork ? Image::initWithData(*tags_.artwork) : Image();
    const bool hasArtwork = !artwork.isNull();
    if (!hasArtwork) tags_.artwork.reset();
    showTitle(tags_.title ? *tags_.title : platform::lastPathComponent(path));
    controls_.songAlbumArt->setImage(hasArtwork ? artwork
                                                : Image::imageNamed(side_.fallbackArtwork));
    showAlbumArtist();
    controls_.background->setImage(hasArtwork ? backdropOf(artwork, kArtworkBlurLevel)
                                              : backdropOf(desktopPicture(), kDesktopBlurLevel));
}

void Deck::showTitle(const QString& title) {
    controls_.songTitle->setCell(title.size() > kLongText
                                     ? cellWithFontSize(18.0)
                                     : std::make_unique<CenteredTextFieldCell>());
    controls_.songTitle->setStringValue(title);
}

void Deck::showAlbumArtist() {
    const QString absent = QStringLiteral("(null)");
    const QString text =
        tags_.album.value_or(absent) + QStringLiteral(" - ") + tags_.artist.value_or(absent);
    controls_.songAlbumArtist->setCell(cellWithFontSize(text.size() > kLongText ? 14.0 : 16.0));
    controls_.songAlbumArtist->setStringValue(text);
}

std::optional<QString> Deck::selectedURL() const {
    const std::int64_t row = controls_.tableView->selectedRow();
    if (row < 0 || row >= static_cast<std::int64_t>(tracks().size())) return std::nullopt;
    return tracks()[static_cast<size_t>(row)]->URL();
}

void Deck::playSelection() {
    if (const auto path = selectedURL()) load(*path);
}

std::optional<QString> Deck::neighbour(navigation::Neighbour step) const {
    if (shuffle_) {
        const auto* track = randomObject(tracks());
        return track ? std::optional((*track)->URL()) : std::nullopt;
    }
    // The place is found by the path at every step: a scan or a search may have moved it.
    const auto current = navigation::indexOfCurrentTrack(tracks(), currentURL_);
    const auto index = step(current, tracks().size());
    return index ? std::optional(tracks()[*index]->URL()) : std::nullopt;
}

std::optional<QString> Deck::trackAfterEnd() const {
    switch (navigation::endOfTrack(repeat_)) {
        case navigation::EndOfTrack::PlayNext:
            return neighbour(navigation::nextIndex);
        case navigation::EndOfTrack::PlayAgain:
            return currentURL_;
        default:
            return std::nullopt;
    }
}

void Deck::playNeighbour(navigation::Neighbour step) {
    takeBackSuccessor();
    if (const auto url = neighbour(step)) load(*url);
}

void Deck::prepareSuccessor() {
    isNearEnd_ = true;
    updateSuccessor();
}

void Deck::updateSuccessor() {
    if (!isNearEnd_ || !player_) return;
    const auto wanted = trackAfterEnd();
    // A draw is made anew, from the list as it now is.
    if (wanted == successor_ && !shuffle_) return;
    const std::uint64_t request = ++successorRequest_;
    if (!wanted || !loudnessByTags_) {
        follow(wanted, 1.0F);
        return;
    }
    // Nothing waits for its disk, not even what would follow without the pause for its loading.
    RunLoop::startThread([this, request, path = *wanted, alive = QPointer(&listContext_)] {
        const float gain = platform::loudnessOfFile(path).factor();
        QMetaObject::invokeMethod(qApp, [this, request, path, gain, alive] {
            RunLoop::perform([this, request, path, gain, alive] {
                if (alive && request == successorRequest_) follow(path, gain);
            });
        });
    });
}

void Deck::follow(const std::optional<QString>& path, float gain) {
    player_->setSuccessorGain(gain);
    if (player_->setSuccessor(path)) successor_ = path;
}

void Deck::takeBackSuccessor() {
    ++successorRequest_;
    if (!player_) return;
    if (player_->setSuccessor(std::nullopt)) {
        successor_.reset();
    } else {
        // It sounds already: what is asked for now is asked of that track.
        delegate_.audioPlayerDidFinishPlayingSuccessfully(player_.get(), true);
    }
}

void Deck::finishTrack() {
    const auto next = successor_ ? successor_ : trackAfterEnd();
    if (next) {
        load(*next);
    } else if (player_ && navigation::endOfTrack(repeat_) == navigation::EndOfTrack::Pause) {
        player_->pause();
    }
}

void Deck::playNext() {
    playNeighbour(navigation::nextIndex);
}

void Deck::playPrevious() {
    takeBackSuccessor();
    if (currentTime() < navigation::kRestartThreshold) {
        playNeighbour(navigation::previousIndex);
    } else {
        seek(0.0);
    }
}

void Deck::playPause() {
    takeBackSuccessor();
    if (isPlaying()) {
        player_->pause();
        isNearEnd_ = false;
    } else if (player_) {
        player_->play();
    }
    didChange_(Change::Status);
}

void Deck::play() {
    if (!isPlaying()) playPause();
}

void Deck::pause() {
    if (isPlaying()) playPause();
}

void Deck::seek(double seconds) {
    takeBackSuccessor();
    if (!player_) return;
    // The last word counts: whoever still holds the knob would take this one back.
    controls_.timeSlider->stopTracking();
    controls_.timeSlider->setDoubleValue(seconds);
    isNearEnd_ = false;
    player_->setCurrentTime(seconds);
    didChange_(Change::Move);
}

void Deck::setVolume(float volume) {
    if (std::isnan(volume)) return;
    volume_ = std::clamp(volume, 0.0F, 1.0F);
    if (volume_ >= kLeastAudibleVolume) audibleVolume_ = volume_;
    if (player_) player_->setVolume(volume_);
    controls_.muteButton->setState(buttonState(volume_ == 0.0F));
    // Not the slider's own value, rounded, back to it.
    if (controls_.volumeSlider->floatValue() != volume_) {
        controls_.volumeSlider->stopTracking();
        controls_.volumeSlider->setDoubleValue(volume_);
    }
    didChange_(Change::Move);
}

void Deck::setLoudnessByTags(bool byTags) {
    if (byTags == loudnessByTags_) return;
    loudnessByTags_ = byTags;
    const auto gain = [byTags](const QString& path) { return byTags ? gainOf(path) : 1.0F; };
    if (player_) player_->setGain(gain(*currentURL_));
    if (successor_) player_->setSuccessorGain(gain(*successor_));
}

void Deck::toggleMute() {
    setVolume(volume_ > 0.0F ? 0.0F : audibleVolume_);
}

void Deck::setShuffle(bool shuffle) {
    takeBackSuccessor();
    shuffle_ = shuffle;
    updateSuccessor();
    UserDefaults::standardUserDefaults().setValueForKey(shuffle_, shuffleKey());
    didChange_(Change::Status);
}

void Deck::setRepeat(std::int64_t state) {
    if (state < PDRepeatOff || state > PDRepeatOne) return;
    takeBackSuccessor();
    repeat_ = state;
    updateSuccessor();
    UserDefaults& defaults = UserDefaults::standardUserDefaults();
    defaults.setValueForKey(static_cast<std::int32_t>(repeat_), repeatKey());
    showRepeat();
    defaults.synchronize();
    didChange_(Change::Status);
}

void Deck::advanceRepeat() {
    if (const auto state = navigation::repeatStateAfter(repeat_)) {
        setRepeat(*state);
    } else {
        UserDefaults::standardUserDefaults().synchronize();
        didChange_(Change::Status);
    }
}

void Deck::refresh() {
    controls_.playPause->setState(buttonState(isPlaying()));
    controls_.shuffleButton->setState(buttonState(shuffle_));
    if (isPlaying()) controls_.levelMeter->follow();
    // The image follows only where the store and the deck agree on the state.
    if (storedRepeat() == repeat_) showRepeat();
}

void Deck::showTimes() {
    // The position is read afresh for each control, so that each shows the newest.
    controls_.timeSlider->setDoubleValue(currentTime());
    controls_.cTime->setStringValue(secondToMinuteSecond(static_cast<std::int32_t>(currentTime())));
    // Truncated after the subtraction: 200.4 s at 10.6 s leaves 189, not 190.
    const auto remaining = static_cast<std::int32_t>(duration() - currentTime());
    controls_.rTime->setStringValue(QLatin1Char('-') + secondToMinuteSecond(remaining));
}

QString Deck::secondToMinuteSecond(std::int32_t seconds) {
    const std::int32_t minutes = seconds / 60 % 60;
    return QStringLiteral("%1:%2")
        .arg(minutes, 2, 10, QLatin1Char('0'))
        .arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

void Deck::showRepeat() {
    struct Look {
        const char* image;
        const char* words;
    };
    const Look look = repeat_ == PDRepeatAll   ? Look{"Repeat", "Repeat: all"}
                      : repeat_ == PDRepeatOne ? Look{"Repeat_one", "Repeat: one"}
                                               : Look{"Repeat_inactive", "Repeat: off"};
    controls_.repeatButton->setImage(Image::imageNamed(QLatin1String(look.image)));
    controls_.repeatButton->setAccessibleDescription(QLatin1String(look.words));
}

std::optional<platform::LevelMeter::Level> Deck::level() const {
    const platform::SoundLevel level = player_ ? player_->level() : platform::SoundLevel();
    if (!isPlaying() && level.peak <= 0.0F) return std::nullopt;
    return platform::LevelMeter::Level{onMeter(level.loudness), onMeter(level.peak)};
}

std::int64_t Deck::storedRepeat() const {
    const std::int64_t known = UserDefaults::standardUserDefaults()
                                   .valueOfTypeForKey<std::int32_t>(repeatKey())
                                   .value_or(PDRepeatOff);
    return known == PDRepeatAll || known == PDRepeatOne ? known : std::int64_t{PDRepeatOff};
}
