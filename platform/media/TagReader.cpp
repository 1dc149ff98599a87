#include "platform/media/TagReader.h"

#include "platform/media/ApeTag.h"
#include "platform/media/Id3v2.h"
#include "platform/media/Mp4.h"

#include <algorithm>

namespace platform {

namespace {

// The tags at the end of a file: ID3v1 in its last 128 bytes, APE in front of that or at the end.
struct Tail {
    QByteArray id3v1;
    std::optional<qint64> apeFooter;
};

Tail tailOf(ByteReader& file) {
    constexpr qint64 kId3v1Size = 128;
    constexpr qint64 kFooterSize = 32;
    Tail tail;
    const qint64 from = std::max<qint64>(file.size() - kId3v1Size - kFooterSize, 0);
    const QByteArray bytes = file.view(from, file.size() - from).toByteArray();
    qint64 end = bytes.size();
    if (end >= kId3v1Size && QByteArrayView(bytes).last(kId3v1Size).startsWith("TAG")) {
        tail.id3v1 = bytes.last(kId3v1Size);
        end -= kId3v1Size;
    }
    if (end >= kFooterSize &&
        QByteArrayView(bytes).sliced(end - kFooterSize).startsWith("APETAGEX"))
        tail.apeFooter = from + end - kFooterSize;
    return tail;
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
        for (auto tag = id3v2HeaderAt(file, 0); tag && !tags.complete();
             tag = id3v2HeaderAt(file, tag->next))
            readId3v2(file, *tag, tags);
        if (!tags.complete()) {
            const Tail tail = tailOf(file);
            if (tail.apeFooter) readApe(file, *tail.apeFooter, tags);
            readId3v1(tail.id3v1, tags);
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
    for (auto tag = id3v2HeaderAt(file, 0); tag; tag = id3v2HeaderAt(file, tag->next)) {
        if (auto picture = id3v2Picture(file, *tag)) return picture;
    }
    const Tail tail = tailOf(file);
    return tail.apeFooter ? apePicture(file, *tail.apeFooter) : std::nullopt;
}

}  // namespace platform
