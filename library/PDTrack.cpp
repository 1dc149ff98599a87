#include "library/PDTrack.h"

#include "platform/foundation/Path.h"
#include "platform/media/MediaAsset.h"

#include <optional>

std::shared_ptr<PDTrack> PDTrack::trackFromURL(const QString& path) {
    std::optional<QString> title;
    std::optional<QString> artist;
    const auto asset = platform::MediaAsset::URLAssetWithURL(path);
    for (const platform::MetadataItem& item : asset.metadata()) {
        const auto key = item.commonKey();
        if (key == QLatin1String("title")) title = item.stringValue();
        if (key == QLatin1String("artist")) artist = item.stringValue();
    }
    auto track = std::make_shared<PDTrack>();
    track->setURL(path);
    track->setName(title ? *title : platform::lastPathComponent(path));
    track->setArtist(artist.value_or(QStringLiteral("Unknown Artist")));
    return track;
}

QString PDTrack::valueForKey(const QString& key) const {
    if (key == QLatin1String("name")) return name();
    if (key == QLatin1String("artist")) return artist();
    if (key == QLatin1String("URL")) return URL();
    return {};
}
