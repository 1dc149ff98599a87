#include "platform/audio/Mp4Edits.h"

#include "platform/containers/BigEndian.h"
#include "platform/containers/Mp4Boxes.h"

#include <algorithm>
#include <initializer_list>

namespace platform::audio {

namespace {

using Box = std::optional<Mp4Box>;

/// The first box of that type within `box`; absent without either.
Box firstIn(ByteReader& file, const Box& box, Mp4Type wanted) {
    return box ? Mp4BoxWalk(file, box->begin, box->end).nextOfType(wanted) : std::nullopt;
}

Box firstIn(ByteReader& file, Box box, std::initializer_list<Mp4Type> path) {
    for (const Mp4Type wanted : path)
        box = firstIn(file, box, wanted);
    return box;
}

/// The content of `box`, as far as one view shows it; empty without a box.
QByteArrayView contentOf(ByteReader& file, const Box& box) {
    return box ? file.view(box->begin, box->size()) : QByteArrayView();
}

/// The number that a movie's, a track's or a media's header has behind its times of creation and
/// change, which a later version made wider: a timescale or a track's ID. 0 when there is none.
uint32_t numberBehindTimes(ByteReader& file, const Box& box) {
    const QByteArrayView header = contentOf(file, box);
    if (header.isEmpty()) return 0;
    const qsizetype at = header[0] == 0 ? 12 : 20;
    return header.size() >= at + 4 ? static_cast<uint32_t>(bigEndian(header.sliced(at, 4))) : 0;
}

bool tablesArePlausible(ByteReader& file, const Box& track) {
    const QByteArrayView sizes = contentOf(
        file,
        firstIn(file, track, {mp4Type("mdia"), mp4Type("minf"), mp4Type("stbl"), mp4Type("stsz")}));
    return sizes.size() < 12 || bigEndian(sizes.sliced(8, 4)) <= static_cast<quint64>(file.size());
}

/// The first edit that plays something gives the start, all of them together the length.
void readEditList(ByteReader& file, const Mp4Box& list, uint32_t movieTimescale, Mp4Edits& edits) {
    constexpr qint64 kHeader = 8;
    const QByteArrayView header = file.view(list.begin, std::min(kHeader, list.size()));
    if (header.size() < kHeader) return;
    const bool wide = header[0] != 0;
    const qint64 told = static_cast<qint64>(bigEndian(header.sliced(4, 4)));
    const qsizetype width = wide ? 8 : 4;
    const qint64 entrySize = 2 * width + 4;
    const qint64 count = std::min(told, (list.size() - kHeader) / entrySize);
    double units = 0;
    bool started = false;
    for (qint64 i = 0; i < count; ++i) {
        const QByteArrayView entry = file.view(list.begin + kHeader + i * entrySize, entrySize);
        const quint64 duration = bigEndian(entry.first(width));
        const quint64 time = bigEndian(entry.sliced(width, width));
        const auto mediaTime =
            wide ? static_cast<int64_t>(time) : int64_t{static_cast<int32_t>(time)};
        if (mediaTime < 0) continue;
        if (!started) edits.mediaTime = mediaTime;
        started = true;
        units += static_cast<double>(duration);
    }
    if (movieTimescale == 0) return;
    edits.editPrecision = 1.0 / movieTimescale;
    edits.editSeconds = units / movieTimescale;
}

Box movieBox(ByteReader& file) {
    return Mp4BoxWalk(file, 0, file.size()).nextOfType(mp4Type("moov"));
}

}  // namespace

QByteArrayView mp4MovieBox(const QByteArray& bytes) {
    ByteReader file(bytes);
    const Box movie = movieBox(file);
    return movie ? QByteArrayView(bytes).sliced(movie->begin, movie->size()) : QByteArrayView();
}

Mp4Edits readMp4Edits(const QByteArray& bytes, uint32_t trackId) {
    Mp4Edits edits;
    ByteReader file(bytes);
    const Box movie = movieBox(file);
    if (!movie) return edits;
    const Box fragments = firstIn(file, movie, mp4Type("mvex"));
    edits.fragmented = fragments && fragments->size() > 0;
    const uint32_t movieTimescale = numberBehindTimes(file, firstIn(file, movie, mp4Type("mvhd")));
    Mp4BoxWalk walk(file, movie->begin, movie->end);
    while (const Box track = walk.nextOfType(mp4Type("trak"))) {
        edits.plausible = edits.plausible && tablesArePlausible(file, track);
        const uint32_t id = numberBehindTimes(file, firstIn(file, track, mp4Type("tkhd")));
        if (id != trackId || edits.timescale != 0) continue;
        edits.timescale =
            numberBehindTimes(file, firstIn(file, track, {mp4Type("mdia"), mp4Type("mdhd")}));
        if (const Box list = firstIn(file, track, {mp4Type("edts"), mp4Type("elst")}))
            readEditList(file, *list, movieTimescale, edits);
    }
    return edits;
}

}  // namespace platform::audio
