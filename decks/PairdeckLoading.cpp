#include "decks/Backdrop.h"
#include "decks/Pairdeck.h"
#include "platform/foundation/Path.h"
#include "platform/foundation/Workspace.h"
#include "platform/media/MediaAsset.h"
#include "platform/ui/Font.h"
#include "presentation/CenteredTextFieldCell.h"

using platform::AudioPlayer;
using platform::Control;
using platform::Image;

namespace {

// Longer texts are set smaller, to fit.
constexpr qsizetype kLongText = 30;  // UTF-16 units

TrackTags readTags(const QString& path) {
    const auto asset = platform::MediaAsset::URLAssetWithURL(path);
    const platform::Tags& tags = asset.metadata();
    return {tags.title, tags.album, tags.artist, asset.artwork()};
}

std::unique_ptr<CenteredTextFieldCell> cellWithFontSize(double size) {
    auto cell = std::make_unique<CenteredTextFieldCell>();
    cell->setFont(platform::fontWithNameSize(QStringLiteral("Helvetica Neue Thin"), size));
    return cell;
}

void showTitle(Deck& deck, const QString& title) {
    deck.songTitle->setCell(title.size() > kLongText ? cellWithFontSize(18.0)
                                                     : std::make_unique<CenteredTextFieldCell>());
    deck.songTitle->setStringValue(title);
}

void showAlbumArtist(Deck& deck, const TrackTags& tags) {
    const QString absent = QStringLiteral("(null)");
    const QString text =
        tags.album.value_or(absent) + QStringLiteral(" - ") + tags.artist.value_or(absent);
    deck.songAlbumArtist->setCell(cellWithFontSize(text.size() > kLongText ? 14.0 : 16.0));
    deck.songAlbumArtist->setStringValue(text);
}

Image desktopPicture() {
    const auto path = platform::Workspace::sharedWorkspace().desktopImageURLForScreen();
    return path ? Image::initWithContentsOfURL(*path) : Image();
}

}  // namespace

void Pairdeck::playTrackFromSelection(Control* sender) {
    const Deck* deck = deckOf(sender, &Deck::tableView);
    if (!deck) return;
    const std::int64_t row = deck->tableView->selectedRow();
    if (row < 0 || row >= static_cast<std::int64_t>(deck->trackArray.size())) return;
    playTrackAtWithPlayer(deck->trackArray[static_cast<size_t>(row)]->URL(), deck->side);
}

void Pairdeck::playTrackAtWithPlayer(const QString& path, PDPlayerType side) {
    if (side == PDLeftPlayer || side == PDRightPlayer) {
        load(decks_[static_cast<size_t>(side)], path);
    }
    postStatus();
}

void Pairdeck::load(Deck& deck, const QString& path) {
    const auto data = platform::dataWithContentsOfFile(path);
    deck.player = data ? AudioPlayer::initWithData(*data) : nullptr;
    deck.currentURL = path;
    if (deck.player) deck.player->setDelegate(this);

    deck.tags = readTags(path);
    // Only the picture that counts, the last one, is decoded.
    const Image artwork = deck.tags.artwork ? Image::initWithData(*deck.tags.artwork) : Image();
    const bool hasArtwork = !artwork.isNull();
    if (!hasArtwork) deck.tags.artwork.reset();
    showTitle(deck, deck.tags.title ? *deck.tags.title : platform::lastPathComponent(path));
    deck.songAlbumArt->setImage(hasArtwork ? artwork : Image::imageNamed(deck.fallbackArtwork));
    showAlbumArtist(deck, deck.tags);
    deck.background->setImage(hasArtwork ? backdropFromImage(artwork, kArtworkBlurLevel)
                                         : backdropFromImage(desktopPicture(), kDesktopBlurLevel));

    if (deck.player) {
        deck.player->setPan(deck.pan);
        deck.player->play();
    }
    deck.timeSlider->setMinValue(0.0);
    deck.timeSlider->setMaxValue(deck.duration());
    deck.timeSlider->setDoubleValue(0.0);
    if (deck.player) deck.player->setVolume(deck.volume);
    deck.tableView->setNeedsDisplay();
}
