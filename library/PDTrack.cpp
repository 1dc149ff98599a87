#include "library/PDTrack.h"

#include "platform/foundation/Path.h"
#include "platform/media/MediaAsset.h"

std::shared_ptr<PDTrack> PDTrack::trackFromURL(const QString& path) {
    return trackFromURL(path, platform::MediaAsset::URLAssetWithURL(path).metadata());
}

std::shared_ptr<PDTrack> PDTrack::trackFromURL(const QString& path, const platform::Tags& tags) {
    auto track = std::make_shared<PDTrack>();
    track->setURL(path);
    track->setName(tags.title ? *tags.title : platform::lastPathComponent(path));
    track->setArtist(tags.artist.value_or(QStringLiteral("Unknown Artist")));
    return track;
}

QString PDTrack::valueForKey(const QString& key) const {
    if (key == QLatin1String("name")) return name();
    if (key == QLatin1String("artist")) return artist();
    if (key == QLatin1String("URL")) return URL();
    return {};
}
