#include "platform/media/Mp4.h"

#include "platform/media/TagText.h"

#include <algorithm>
#include <array>

// After ISO/IEC 14496-12 (boxes) and Apple's "QuickTime File Format", Metadata (item lists and the
// well-known types of data atoms).

namespace platform {

namespace {

using Type = quint32;

constexpr Type type(const char (&name)[5]) {
    Type value = 0;
    for (int i = 0; i < 4; ++i)
        value = value << 8 | static_cast<unsigned char>(name[i]);
    return value;
}

struct Atom {
    Type type = 0;
    qint64 begin = 0;  // of the content
    qint64 end = 0;    // within the atom around it
};

// Walks the atoms side by side between two offsets.
class AtomWalk {
  public:
    AtomWalk(ByteReader& file, qint64 begin, qint64 end)
        : file_(file), next_(begin), end_(std::min(end, file.size())) {}

    std::optional<Atom> next() {
        constexpr qint64 kHeader = 8;
        constexpr qint64 kLongHeader = 16;
        const QByteArrayView bytes = file_.view(next_, std::min(kLongHeader, end_ - next_));
        if (bytes.size() < kHeader) return std::nullopt;
        auto size = static_cast<qint64>(bigEndian(bytes.first(4)));
        qint64 header = kHeader;
        if (size == 0) size = end_ - next_;  // up to the end
        if (size == 1 && bytes.size() == kLongHeader) {
            header = kLongHeader;
            // Beyond 2^63 is beyond the end all the same.
            size = static_cast<qint64>(bigEndian(bytes.sliced(8, 8)) & INT64_MAX);
        }
        if (size < header) return std::nullopt;
        const Atom atom = {static_cast<Type>(bigEndian(bytes.sliced(4, 4))), next_ + header,
                           next_ + std::min(size, end_ - next_)};
        next_ = atom.end;
        return atom;
    }

    std::optional<Atom> nextOfType(Type wanted) {
        while (const std::optional<Atom> atom = next()) {
            if (atom->type == wanted) return atom;
        }
        return std::nullopt;
    }

  private:
    ByteReader& file_;
    qint64 next_ = 0;
    qint64 end_ = 0;
};

// The atoms in `meta`. It is a full atom, with version and flags before its content, except to
// writers that follow the older QuickTime layout, where an atom's type stands in that place.
qint64 contentOfMeta(ByteReader& file, const Atom& meta) {
    const QByteArrayView bytes = file.view(meta.begin, 8);
    if (bytes.size() < 8) return meta.begin;
    const auto inside = static_cast<Type>(bigEndian(bytes.sliced(4, 4)));
    constexpr std::array kFirstAtoms = {type("hdlr"), type("ilst"), type("keys"), type("free")};
    const bool plain =
        std::find(kFirstAtoms.begin(), kFirstAtoms.end(), inside) != kFirstAtoms.end();
    return plain ? meta.begin : meta.begin + 4;
}

std::optional<Atom> itemList(ByteReader& file) {
    AtomWalk top(file, 0, file.size());
    while (const auto moov = top.nextOfType(type("moov"))) {
        AtomWalk inMoov(file, moov->begin, moov->end);
        while (const auto udta = inMoov.nextOfType(type("udta"))) {
            AtomWalk inUdta(file, udta->begin, udta->end);
            while (const auto meta = inUdta.nextOfType(type("meta"))) {
                AtomWalk inMeta(file, contentOfMeta(file, *meta), meta->end);
                if (const auto list = inMeta.nextOfType(type("ilst"))) return list;
            }
        }
    }
    return std::nullopt;
}

// The text of a data atom; absent when it holds something else.
std::optional<QString> textOfData(ByteReader& file, const Atom& data) {
    constexpr qsizetype kHeader = 8;  // the value's type and locale
    const QByteArrayView bytes = file.view(data.begin, data.end - data.begin);
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

std::optional<QString> textOfItem(ByteReader& file, const Atom& item) {
    QStringList values;
    AtomWalk walk(file, item.begin, item.end);
    while (const auto data = walk.nextOfType(type("data"))) {
        if (const auto text = textOfData(file, *data)) values += joinedAtNuls(*text);
    }
    return values.isEmpty() ? std::nullopt : std::optional(joinedValues(values));
}

std::optional<QString>* textFor(Type item, Tags& tags) {
    switch (item) {
        case type("\xA9nam"):
            return &tags.title;
        case type(
            "\xA9"
            "ART"):
            return &tags.artist;
        case type(
            "\xA9"
            "alb"):
            return &tags.album;
        default:
            return nullptr;
    }
}

}  // namespace

bool isMp4(ByteReader& file) {
    const QByteArrayView bytes = file.view(0, 8);
    if (bytes.size() < 8) return false;
    constexpr std::array kFirstAtoms = {type("ftyp"), type("moov"), type("mdat"),
                                        type("free"), type("skip"), type("wide")};
    return std::find(kFirstAtoms.begin(), kFirstAtoms.end(), bigEndian(bytes.sliced(4, 4))) !=
           kFirstAtoms.end();
}

void readMp4(ByteReader& file, Tags& tags) {
    const std::optional<Atom> list = itemList(file);
    if (!list) return;
    AtomWalk walk(file, list->begin, list->end);
    while (!tags.complete()) {
        const std::optional<Atom> item = walk.next();
        if (!item) return;
        if (item->type == type("covr")) tags.picture = true;
        std::optional<QString>* const text = textFor(item->type, tags);
        if (text && !*text) *text = textOfItem(file, *item);
    }
}

std::optional<QByteArray> mp4Picture(ByteReader& file) {
    const std::optional<Atom> list = itemList(file);
    if (!list) return std::nullopt;
    AtomWalk walk(file, list->begin, list->end);
    while (const auto covers = walk.nextOfType(type("covr"))) {
        AtomWalk inCovers(file, covers->begin, covers->end);
        while (const auto data = inCovers.nextOfType(type("data"))) {
            constexpr qint64 kHeader = 8;
            auto picture =
                pictureOfBytes(file.copy(data->begin + kHeader, data->end - data->begin - kHeader));
            if (picture) return picture;
        }
    }
    return std::nullopt;
}

}  // namespace platform
