#include "platform/media/Mp4.h"

#include "platform/containers/BigEndian.h"
#include "platform/containers/Mp4Boxes.h"
#include "platform/media/TagText.h"

#include <algorithm>
#include <array>

// After ISO/IEC 14496-12 (boxes) and Apple's "QuickTime File Format", Metadata (item lists and the
// well-known types of data atoms).

namespace platform {

namespace {

// The atoms in `meta`. It is a full atom, with version and flags before its content, except to
// writers that follow the older QuickTime layout, where an atom's type stands in that place.
qint64 contentOfMeta(ByteReader& file, const Mp4Box& meta) {
    const QByteArrayView bytes = file.view(meta.begin, 8);
    if (bytes.size() < 8) return meta.begin;
    const auto inside = static_cast<Mp4Type>(bigEndian(bytes.sliced(4, 4)));
    constexpr std::array kFirstAtoms = {mp4Type("hdlr"), mp4Type("ilst"), mp4Type("keys"),
                                        mp4Type("free")};
    const bool plain =
        std::find(kFirstAtoms.begin(), kFirstAtoms.end(), inside) != kFirstAtoms.end();
    return plain ? meta.begin : meta.begin + 4;
}

std::optional<Mp4Box> itemList(ByteReader& file) {
    Mp4BoxWalk top(file, 0, file.size());
    while (const auto moov = top.nextOfType(mp4Type("moov"))) {
        Mp4BoxWalk inMoov(file, moov->begin, moov->end);
        while (const auto udta = inMoov.nextOfType(mp4Type("udta"))) {
            Mp4BoxWalk inUdta(file, udta->begin, udta->end);
            while (const auto meta = inUdta.nextOfType(mp4Type("meta"))) {
                Mp4BoxWalk inMeta(file, contentOfMeta(file, *meta), meta->end);
                if (const auto list = inMeta.nextOfType(mp4Type("ilst"))) return list;
            }
        }
    }
    return std::nullopt;
}

// The text of a data atom; absent when it holds something else.
std::optional<QString> textOfData(ByteReader& file, const Mp4Box& data) {
    constexpr qsizetype kHeader = 8;  // the value's type and locale
    const QByteArrayView bytes = file.view(data.begin, data.size());
    if (bytes.size() < kHeader) return std::nullopt;
    const QByteArrayView value = bytes.sliced(kHeader);
    switch (bigEndian(bytes.first(4)) & 0xFFFFFF) {
        case 0:
            return textOfBytes(value);  // no type told
        case 1:
        case 4:
            return textOfUtf8(value);  // 4 and 5 are for sorting
        case 2:
        case 5:
            return textOfUtf16(value, true);
    }
    return std::nullopt;
}

std::optional<QString> textOfItem(ByteReader& file, const Mp4Box& item) {
    QStringList values;
    Mp4BoxWalk walk(file, item.begin, item.end);
    while (const auto data = walk.nextOfType(mp4Type("data"))) {
        if (const auto text = textOfData(file, *data)) values += joinedAtNuls(*text);
    }
    return values.isEmpty() ? std::nullopt : std::optional(joinedValues(values));
}

std::optional<QString>* textFor(Mp4Type item, Tags& tags) {
    switch (item) {
        case mp4Type("\xA9nam"):
            return &tags.title;
        case mp4Type(
            "\xA9"
            "ART"):
            return &tags.artist;
        case mp4Type(
            "\xA9"
            "alb"):
            return &tags.album;
        default:
            return nullptr;
    }
}

}  // namespace

void readMp4(ByteReader& file, Tags& tags) {
    const std::optional<Mp4Box> list = itemList(file);
    if (!list) return;
    Mp4BoxWalk walk(file, list->begin, list->end);
    while (!tags.complete()) {
        const std::optional<Mp4Box> item = walk.next();
        if (!item) return;
        if (item->type == mp4Type("covr")) tags.picture = true;
        std::optional<QString>* const text = textFor(item->type, tags);
        if (text && !*text) *text = textOfItem(file, *item);
    }
}

void readMp4Loudness(ByteReader& file, Loudness& loudness) {
    const std::optional<Mp4Box> list = itemList(file);
    if (!list) return;
    Mp4BoxWalk walk(file, list->begin, list->end);
    while (const auto item = walk.nextOfType(mp4Type("----"))) {
        Mp4BoxWalk inItem(file, item->begin, item->end);
        const auto name = inItem.nextOfType(mp4Type("name"));
        if (!name) continue;
        constexpr qint64 kHeader = 4;  // version and flags
        const QString key = textOfUtf8(file.view(name->begin + kHeader, name->size() - kHeader));
        if (const auto text = textOfItem(file, *item)) loudness.add(key, *text);
    }
}

std::optional<QByteArray> mp4Picture(ByteReader& file) {
    const std::optional<Mp4Box> list = itemList(file);
    if (!list) return std::nullopt;
    Mp4BoxWalk walk(file, list->begin, list->end);
    while (const auto covers = walk.nextOfType(mp4Type("covr"))) {
        Mp4BoxWalk inCovers(file, covers->begin, covers->end);
        while (const auto data = inCovers.nextOfType(mp4Type("data"))) {
            constexpr qint64 kHeader = 8;
            auto picture = pictureOfBytes(file.copy(data->begin + kHeader, data->size() - kHeader));
            if (picture) return picture;
        }
    }
    return std::nullopt;
}

}  // namespace platform
