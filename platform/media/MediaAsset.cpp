#include "platform/media/MediaAsset.h"

#include "platform/media/TagReader.h"

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
    const Tags tags = tagsOfFile(path);
    if (tags.title) asset.items_ += MetadataItem::text(QStringLiteral("title"), *tags.title);
    if (tags.artist) asset.items_ += MetadataItem::text(QStringLiteral("artist"), *tags.artist);
    if (tags.album) asset.items_ += MetadataItem::text(QStringLiteral("albumName"), *tags.album);
    if (tags.picture) asset.items_ += MetadataItem::artwork(path);
    return asset;
}

}  // namespace platform
