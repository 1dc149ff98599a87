#include "desktop/DeckFiles.h"

#include "decks/Pairdeck.h"
#include "library/PDSourceManager.h"
#include "platform/foundation/Path.h"
#include "platform/ui/RunLoop.h"
#include "platform/ui/View.h"

#include <algorithm>
#include <filesystem>

using platform::RunLoop;

namespace {

std::filesystem::file_type typeOf(const QString& path) {
    const auto type = RunLoop::resultOf([path](const std::atomic<bool>&) {
        std::error_code error;
        return std::filesystem::status(platform::standardPath(path), error).type();
    });
    return type.value_or(std::filesystem::file_type::none);
}

bool isFolder(const QString& path) {
    return typeOf(path) == std::filesystem::file_type::directory;
}

}  // namespace

DeckFiles::DeckFiles(Pairdeck& pairdeck, PDSourceManager& left, PDSourceManager& right)
    : pairdeck_(pairdeck), libraries_{&left, &right} {}

bool DeckFiles::isMusicFile(const QString& path) {
    const bool hasName = path.endsWith(QLatin1String(".mp3"), Qt::CaseInsensitive) ||
                         path.endsWith(QLatin1String(".m4a"), Qt::CaseInsensitive);
    return hasName && typeOf(path) == std::filesystem::file_type::regular;
}

bool DeckFiles::canOpen(const QString& path) {
    return isFolder(path) || isMusicFile(path);
}

void DeckFiles::openOn(PDPlayerType side, const QString& path) {
    if (isFolder(path)) {
        libraries_[static_cast<size_t>(side)]->getTracksFromURL(path);
    } else if (isMusicFile(path)) {
        pairdeck_.deck(side).load(path);
    }
}

void DeckFiles::open(const QStringList& paths) {
    auto side = static_cast<int>(PDLeftPlayer);
    for (const QString& path : paths) {
        if (side > PDRightPlayer) return;
        if (canOpen(path)) openOn(static_cast<PDPlayerType>(side++), path);
    }
}

void DeckFiles::takeDrops(PDPlayerType side, platform::View& view) {
    view.setFileDrop(
        {[](const QStringList& paths) { return std::any_of(paths.begin(), paths.end(), canOpen); },
         [this, side](const QStringList& paths) {
             RunLoop::perform([this, side, paths] {
                 const auto path = std::find_if(paths.begin(), paths.end(), canOpen);
                 if (path != paths.end()) openOn(side, *path);
             });
         }});
}
