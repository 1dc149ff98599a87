#include "platform/media/Id3v2.h"

#include "platform/containers/BigEndian.h"
#include "platform/containers/TrailingTags.h"
#include "platform/media/Inflate.h"
#include "platform/media/TagText.h"

#include <algorithm>
#include <cstring>

// After "ID3 tag version 2.2.0", "2.3.0" and "2.4.0 - Main Structure" (id3.org), forgiving where
// writers are known to err.

namespace platform {

namespace {

enum class Field { Title, Artist, Album, Picture, UserText, Other };

struct Frame {
    Field field = Field::Other;
    qint64 begin = 0;  // of the content, behind the frame's header
    qint64 size = 0;   // within the tag
    bool unsynchronised = false;
    bool compressed = false;
    bool encrypted = false;
    int prefix = 0;  // bytes of further header before the content
};

Field fieldOf(QByteArrayView id) {
    // Some writers of 2.3 keep the three-letter names of 2.2 and fill up with a NUL.
    if (id.size() == 4 && id[3] == '\0') id = id.first(3);
    if (id == "TIT2" || id == "TT2") return Field::Title;
    if (id == "TPE1" || id == "TP1") return Field::Artist;
    if (id == "TALB" || id == "TAL") return Field::Album;
    if (id == "APIC" || id == "PIC") return Field::Picture;
    if (id == "TXXX" || id == "TXX") return Field::UserText;
    return Field::Other;
}

std::optional<QString>* textFor(Field field, Tags& tags) {
    switch (field) {
        case Field::Title:
            return &tags.title;
        case Field::Artist:
            return &tags.artist;
        case Field::Album:
            return &tags.album;
        case Field::Picture:
        case Field::UserText:
        case Field::Other:
            break;
    }
    return nullptr;
}

QByteArray withoutUnsynchronisation(QByteArrayView bytes) {
    QByteArray plain;
    plain.reserve(bytes.size());
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        plain += bytes[i];
        if (bytes[i] == '\xFF' && i + 1 < bytes.size() && bytes[i + 1] == '\0') ++i;
    }
    return plain;
}

// Walks the frames of one tag.
class Id3v2FrameWalk {
  public:
    Id3v2FrameWalk(ByteReader& file, const Id3v2Header& header)
        : file_(file), header_(header), next_(header.begin) {
        if (header.extended) next_ += extendedHeaderSize();
    }

    // The next frame that has a content; absent at the padding and at the end.
    std::optional<Frame> next() {
        const bool old = header_.version == 2;
        const qsizetype idSize = old ? 3 : 4;
        const qsizetype headerSize = old ? 6 : 10;
        while (next_ + headerSize <= header_.end) {
            const QByteArrayView bytes = file_.view(next_, headerSize);
            if (bytes.size() < headerSize || bytes[0] == '\0') break;
            Frame frame;
            frame.field = fieldOf(bytes.first(idSize));
            frame.begin = next_ + headerSize;
            if (!old) readFlags(bigEndian(bytes.sliced(8, 2)), frame);
            const qint64 size = old ? static_cast<qint64>(bigEndian(bytes.sliced(3, 3)))
                                    : sizeOf(bytes.sliced(4, 4), frame.begin);
            next_ = frame.begin + size;
            frame.size = std::min(size, header_.end - frame.begin);
            if (frame.size > 0) return frame;
        }
        next_ = header_.end;
        return std::nullopt;
    }

    // The content of `frame`, decoded, from at most `limit` bytes and at most as many; absent when
    // it can't be had.
    std::optional<QByteArray> content(const Frame& frame, qint64 limit) {
        if (frame.encrypted || frame.size < frame.prefix) return std::nullopt;
        const qint64 begin = frame.begin + frame.prefix;
        const qint64 size = std::min(frame.size - frame.prefix, limit);
        if (!frame.compressed && !frame.unsynchronised) {
            return size <= ByteReader::kLargestView ? file_.view(begin, size).toByteArray()
                                                    : file_.copy(begin, size);
        }
        QByteArray bytes = file_.copy(begin, size);
        if (frame.unsynchronised) bytes = withoutUnsynchronisation(bytes);
        return frame.compressed ? inflated(bytes, limit, file_) : std::optional(bytes);
    }

  private:
    qint64 extendedHeaderSize() {
        const QByteArrayView size = file_.view(header_.begin, 4);
        if (header_.version == 4) return synchsafe(size);
        return static_cast<qint64>(bigEndian(size)) + 4;
    }

    // The size of the frame whose content begins at `begin`. 2.4 has 7 bits in each byte, but a
    // widespread player long wrote 8: where both readings differ, the one that leads to another
    // frame is right.
    qint64 sizeOf(QByteArrayView bytes, qint64 begin) {
        const auto plain = static_cast<qint64>(bigEndian(bytes));
        if (header_.version < 4 || plain < 0x80 || !isSynchsafe(bytes)) return plain;
        const qint64 safe = synchsafe(bytes);
        return !leadsToFrame(begin + safe) && leadsToFrame(begin + plain) ? plain : safe;
    }

    bool leadsToFrame(qint64 offset) {
        if (offset >= header_.end) return offset == header_.end;
        const QByteArrayView id = file_.view(offset, 4);
        if (id.isEmpty() || id[0] == '\0') return !id.isEmpty();
        return std::all_of(id.begin(), id.end(), [](char byte) {
            return (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9');
        });
    }

    void readFlags(quint64 flags, Frame& frame) const {
        if (header_.version == 4) {
            frame.compressed = flags & 0x08;
            frame.encrypted = flags & 0x04;
            frame.unsynchronised = header_.unsynchronised || (flags & 0x02);
            frame.prefix = (flags & 0x40 ? 1 : 0) + (flags & 0x01 ? 4 : 0);
        } else {
            frame.compressed = flags & 0x80;
            frame.encrypted = flags & 0x40;
            frame.prefix = (flags & 0x80 ? 4 : 0) + (flags & 0x20 ? 1 : 0);
        }
    }

    ByteReader& file_;
    const Id3v2Header header_;
    qint64 next_ = 0;
};

// Up to 2.3 the whole tag is unsynchronised at once, its frames' sizes counting the bytes before
// that: such a tag is read from a plain copy of it.
struct PlainTag {
    ByteReader bytes;
    Id3v2Header header;
};

std::optional<PlainTag> plainCopyIfNeeded(ByteReader& file, const Id3v2Header& header) {
    if (!header.unsynchronised || header.version > 3) return std::nullopt;
    QByteArray content =
        withoutUnsynchronisation(file.copy(header.begin, header.end - header.begin));
    Id3v2Header plain = header;
    plain.begin = 0;
    plain.end = content.size();
    plain.unsynchronised = false;
    return PlainTag{ByteReader(std::move(content)), plain};
}

// The picture in the content of an APIC frame, or of a PIC frame of version 2.
struct Picture {
    bool frontCover = false;
    QByteArray bytes;
};

std::optional<Picture> pictureIn(const QByteArray& content, int version) {
    if (content.isEmpty()) return std::nullopt;
    const bool wide = content[0] == 1 || content[0] == 2;
    qsizetype at = 1;
    const bool old = version == 2;
    const qsizetype formatEnd = old ? at + 3 : content.indexOf('\0', at);
    if (formatEnd < 0 || formatEnd + 2 > content.size()) return std::nullopt;
    // The format "-->" says that the address of a picture follows, not a picture.
    if (QByteArrayView(content).sliced(at).startsWith("-->")) return std::nullopt;
    at = old ? formatEnd : formatEnd + 1;
    constexpr char kFrontCover = 3;
    const bool front = content[at++] == kFrontCover;
    // The description ends at a NUL of its encoding's width.
    while (at < content.size() &&
           (content[at] != '\0' || (wide && at + 1 < content.size() && content[at + 1] != '\0')))
        at += wide ? 2 : 1;
    at += wide ? 2 : 1;
    if (at >= content.size()) return std::nullopt;
    const std::optional<QByteArray> bytes = pictureOfBytes(content.sliced(at));
    return bytes ? std::optional(Picture{front, *bytes}) : std::nullopt;
}

}  // namespace

void readId3v2(ByteReader& file, const Id3v2Header& header, Tags& tags) {
    if (auto plain = plainCopyIfNeeded(file, header)) {
        readId3v2(plain->bytes, plain->header, tags);
        return;
    }
    Id3v2FrameWalk walk(file, header);
    while (!tags.complete()) {
        const std::optional<Frame> frame = walk.next();
        if (!frame) return;
        if (frame->field == Field::Picture) tags.picture = true;
        std::optional<QString>* const text = textFor(frame->field, tags);
        if (!text || *text) continue;
        if (const auto content = walk.content(*frame, ByteReader::kLargestView))
            *text = textOfId3Frame(*content);
    }
}

std::optional<QByteArray> id3v2Picture(ByteReader& file, const Id3v2Header& header) {
    if (auto plain = plainCopyIfNeeded(file, header))
        return id3v2Picture(plain->bytes, plain->header);
    std::optional<QByteArray> found;
    Id3v2FrameWalk walk(file, header);
    while (const std::optional<Frame> frame = walk.next()) {
        if (frame->field != Field::Picture) continue;
        const auto content = walk.content(*frame, ByteReader::kBytes);
        const auto picture = content ? pictureIn(*content, header.version) : std::nullopt;
        if (picture && (picture->frontCover || !found)) found = picture->bytes;
        if (picture && picture->frontCover) break;
    }
    return found;
}

void readId3v2Loudness(ByteReader& file, const Id3v2Header& header, Loudness& loudness) {
    if (auto plain = plainCopyIfNeeded(file, header)) {
        readId3v2Loudness(plain->bytes, plain->header, loudness);
        return;
    }
    Id3v2FrameWalk walk(file, header);
    while (const std::optional<Frame> frame = walk.next()) {
        if (frame->field != Field::UserText) continue;
        const auto content = walk.content(*frame, ByteReader::kLargestView);
        const auto text = content ? textOfId3Frame(*content) : std::nullopt;
        // A description and a value, which come as one text.
        if (text)
            loudness.add(text->section(kValueSeparator, 0, 0), text->section(kValueSeparator, 1));
    }
}

void readId3v1(QByteArrayView tag, Tags& tags) {
    constexpr qsizetype kFieldSize = 30;
    if (tag.size() < TrailingTags::kId3v1Size || !tag.startsWith("TAG")) return;
    const auto add = [&](std::optional<QString>& text, qsizetype offset) {
        if (text) return;
        const QByteArrayView field = tag.sliced(offset, kFieldSize);
        const qsizetype nul = field.indexOf('\0');
        const QByteArrayView bytes = (nul < 0 ? field : field.first(nul)).trimmed();
        if (!bytes.isEmpty()) text = textOfBytes(bytes);
    };
    add(tags.title, 3);
    add(tags.artist, 33);
    add(tags.album, 63);
}

}  // namespace platform
