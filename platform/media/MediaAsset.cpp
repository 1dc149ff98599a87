#include "platform/media/MediaAsset.h"

#include "platform/media/ReadAheadQueue.h"
#include "platform/media/TagReader.h"

#include <utility>

namespace platform {

MetadataItem MetadataItem::text(const QString& key, const QString& value) {
    MetadataItem item;
    item.key_ = key;
    item.text_ = value;
    return item;
}

MetadataItem MetadataItem::artwork(const QString& path) {
    MetadataItem item;
    item.key_ = QStringLiteral("artwork");
    item.picturePath_ = path;
    return item;
}

std::optional<QByteArray> MetadataItem::dataValue() const {
    return picturePath_.isEmpty() ? std::nullopt : pictureOfFile(picturePath_);
}

MediaAsset MediaAsset::URLAssetWithURL(const QString& path) {
    MediaAsset asset;
    MediaReadAhead::Queue* const queue = MediaReadAhead::current();
    std::optional<QList<MetadataItem>> ready = queue ? queue->take(path) : std::nullopt;
    asset.items_ = ready ? std::move(*ready) : itemsOfFile(path);
    return asset;
}

QList<MetadataItem> MediaAsset::itemsOfFile(const QString& path) {
    const Tags tags = tagsOfFile(path);
    QList<MetadataItem> items;
    if (tags.title) items += MetadataItem::text(QStringLiteral("title"), *tags.title);
    if (tags.artist) items += MetadataItem::text(QStringLiteral("artist"), *tags.artist);
    if (tags.album) items += MetadataItem::text(QStringLiteral("albumName"), *tags.album);
    if (tags.picture) items += MetadataItem::artwork(path);
    return items;
}

}  // namespace platform
