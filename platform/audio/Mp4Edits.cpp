#include "platform/audio/Mp4Edits.h"

#include "platform/audio/BigEndian.h"

#include <algorithm>

namespace platform::audio {

namespace {

// The boxes are laid out in ISO/IEC 14496-12.

constexpr qsizetype boxHeader = 8;

/// Calls `visit(type, content)` for each box in `content` until one does not fit or it returns
/// false.
template <typename Visitor>
void forEachBox(QByteArrayView content, Visitor visit) {
    qsizetype at = 0;
    while (content.size() - at >= boxHeader) {
        uint64_t size = bigEndian32(content, at);
        const QByteArrayView type = content.sliced(at + 4, 4);
        qsizetype header = boxHeader;
        if (size == 1 && content.size() - at >= 16) {
            size = bigEndian64(content, at + 8);
            header = 16;
        }
        const auto left = static_cast<uint64_t>(content.size() - at);
        // A size of 0 reaches to the end; a truncated last box is read as far as it goes.
        if (size == 0 || size > left) size = left;
        if (size < static_cast<uint64_t>(header)) return;
        const auto whole = static_cast<qsizetype>(size);
        if (!visit(type, content.sliced(at + header, whole - header))) return;
        at += whole;
    }
}

QByteArrayView firstBox(QByteArrayView content, QByteArrayView wanted) {
    QByteArrayView found;
    forEachBox(content, [&](QByteArrayView type, QByteArrayView box) {
        if (type != wanted) return true;
        found = box;
        return false;
    });
    return found;
}

uint32_t timescaleOf(QByteArrayView header) {
    if (header.isEmpty()) return 0;
    const qsizetype at = header[0] == 0 ? 12 : 20;
    return header.size() >= at + 4 ? bigEndian32(header, at) : 0;
}

uint32_t trackIdOf(QByteArrayView track) {
    const QByteArrayView header = firstBox(track, "tkhd");
    if (header.isEmpty()) return 0;
    const qsizetype at = header[0] == 0 ? 12 : 20;
    return header.size() >= at + 4 ? bigEndian32(header, at) : 0;
}

bool tablesArePlausible(QByteArrayView track, qsizetype fileSize) {
    const QByteArrayView table = firstBox(firstBox(firstBox(track, "mdia"), "minf"), "stbl");
    const QByteArrayView sizes = firstBox(table, "stsz");
    return sizes.size() < 12 || bigEndian32(sizes, 8) <= static_cast<uint64_t>(fileSize);
}

/// The first edit that plays something gives the start, all of them together the length.
void readEditList(QByteArrayView list, uint32_t movieTimescale, Mp4Edits& edits) {
    if (list.size() < 8) return;
    const bool wide = list[0] != 0;
    const qsizetype entrySize = wide ? 20 : 12;
    const qsizetype room = (list.size() - 8) / entrySize;
    const qsizetype count = std::min<qsizetype>(bigEndian32(list, 4), room);
    double units = 0;
    bool started = false;
    for (qsizetype i = 0; i < count; ++i) {
        const qsizetype at = 8 + i * entrySize;
        const auto duration = wide ? bigEndian64(list, at) : bigEndian32(list, at);
        const auto mediaTime = wide ? static_cast<int64_t>(bigEndian64(list, at + 8))
                                    : static_cast<int32_t>(bigEndian32(list, at + 4));
        if (mediaTime < 0) continue;
        if (!started) edits.mediaTime = mediaTime;
        started = true;
        units += static_cast<double>(duration);
    }
    if (movieTimescale == 0) return;
    edits.editPrecision = 1.0 / movieTimescale;
    edits.editSeconds = units / movieTimescale;
}

}  // namespace

QByteArrayView mp4MovieBox(QByteArrayView bytes) {
    return firstBox(bytes, "moov");
}

Mp4Edits readMp4Edits(QByteArrayView bytes, uint32_t trackId) {
    Mp4Edits edits;
    const QByteArrayView movie = mp4MovieBox(bytes);
    edits.fragmented = !firstBox(movie, "mvex").isEmpty();
    const uint32_t movieTimescale = timescaleOf(firstBox(movie, "mvhd"));
    forEachBox(movie, [&](QByteArrayView type, QByteArrayView track) {
        if (type != "trak") return true;
        edits.plausible = edits.plausible && tablesArePlausible(track, bytes.size());
        if (trackIdOf(track) != trackId || edits.timescale != 0) return true;
        edits.timescale = timescaleOf(firstBox(firstBox(track, "mdia"), "mdhd"));
        readEditList(firstBox(firstBox(track, "edts"), "elst"), movieTimescale, edits);
        return true;
    });
    return edits;
}

}  // namespace platform::audio
