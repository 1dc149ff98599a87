#include "platform/media/TagReader.h"

#include "platform/containers/Mp4Boxes.h"
#include "platform/containers/TrailingTags.h"
#include "platform/media/ApeTag.h"
#include "platform/media/Id3v2.h"
#include "platform/media/Mp4.h"

namespace platform {

namespace {

// The readable ID3v2 tag at `offset`, or the first one, if there is one.
std::optional<Id3v2Header> tagAt(ByteReader& file, qint64 offset = 0) {
    const auto tag = offset == 0 ? firstId3v2Header(file) : id3v2HeaderAt(file, offset);
    return tag && tag->readable ? tag : std::nullopt;
}

}  // namespace

Tags tagsOfFile(const QString& path) {
    std::optional<ByteReader> file = ByteReader::open(path);
    return file ? tagsOf(*file) : Tags();
}

Tags tagsOf(ByteReader& file) {
    Tags tags;
    if (isMp4(file)) {
        readMp4(file, tags);
    } else {
        for (auto tag = tagAt(file); tag && !tags.complete(); tag = tagAt(file, tag->next))
            readId3v2(file, *tag, tags);
        if (!tags.complete()) {
            const TrailingTags tail = trailingTags(file);
            if (tail.apeFooter) readApe(file, *tail.apeFooter, tags);
            if (tail.id3v1) readId3v1(file.view(*tail.id3v1, TrailingTags::kId3v1Size), tags);
        }
    }
    // What was left unread may hold one.
    if (tags.complete()) tags.picture = true;
    return tags;
}

std::optional<QByteArray> pictureOfFile(const QString& path) {
    std::optional<ByteReader> file = ByteReader::open(path);
    return file ? pictureOf(*file) : std::nullopt;
}

std::optional<QByteArray> pictureOf(ByteReader& file) {
    if (isMp4(file)) return mp4Picture(file);
    for (auto tag = tagAt(file); tag; tag = tagAt(file, tag->next)) {
        if (auto picture = id3v2Picture(file, *tag)) return picture;
    }
    const TrailingTags tail = trailingTags(file);
    return tail.apeFooter ? apePicture(file, *tail.apeFooter) : std::nullopt;
}

}  // namespace platform
