#include "platform/media/MediaAsset.h"

#include "platform/foundation/Path.h"

#include <attachedpictureframe.h>
#include <fileref.h>
#include <id3v2tag.h>
#include <mp4file.h>
#include <mpegfile.h>
#include <tag.h>

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
    if (picturePath_.isEmpty()) return std::nullopt;
    const QByteArray name = fileSystemRepresentation(picturePath_);
    const TagLib::FileRef file(name.constData(), false);
    TagLib::ByteVector picture;
    if (auto* const mpeg = dynamic_cast<TagLib::MPEG::File*>(file.file());
        mpeg && mpeg->ID3v2Tag()) {
        const TagLib::ID3v2::FrameList frames = mpeg->ID3v2Tag()->frameList("APIC");
        if (frames.isEmpty()) return std::nullopt;
        if (auto* const frame = dynamic_cast<TagLib::ID3v2::AttachedPictureFrame*>(frames.front()))
            picture = frame->picture();
    } else if (auto* const mp4 = dynamic_cast<TagLib::MP4::File*>(file.file()); mp4 && mp4->tag()) {
        const TagLib::MP4::CoverArtList covers = mp4->tag()->item("covr").toCoverArtList();
        if (!covers.isEmpty()) picture = covers.front().data();
    }
    if (picture.isEmpty()) return std::nullopt;
    return QByteArray(picture.data(), static_cast<qsizetype>(picture.size()));
}

MediaAsset MediaAsset::URLAssetWithURL(const QString& path) {
    MediaAsset asset;
    const QByteArray name = fileSystemRepresentation(path);
    const TagLib::FileRef file(name.constData(), false);
    const TagLib::Tag* const tag = file.isNull() ? nullptr : file.tag();
    if (!tag || tag->isEmpty()) return asset;
    const auto add = [&](const QString& key, const TagLib::String& value) {
        if (!value.isEmpty())
            asset.items_ += MetadataItem::text(key, QString::fromStdWString(value.toWString()));
    };
    add(QStringLiteral("title"), tag->title());
    add(QStringLiteral("artist"), tag->artist());
    add(QStringLiteral("albumName"), tag->album());
    asset.items_ += MetadataItem::artwork(path);
    return asset;
}

}  // namespace platform
