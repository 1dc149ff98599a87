#include "platform/containers/Mp4Boxes.h"

#include "platform/containers/BigEndian.h"

#include <algorithm>
#include <array>
#include <limits>

namespace platform {

Mp4BoxWalk::Mp4BoxWalk(ByteReader& file, qint64 begin, qint64 end)
    : file_(file), next_(begin), end_(std::min(end, file.size())) {}

std::optional<Mp4Box> Mp4BoxWalk::next() {
    constexpr qint64 kHeader = 8;
    constexpr qint64 kLongHeader = 16;
    const QByteArrayView bytes = file_.view(next_, std::min(kLongHeader, end_ - next_));
    if (bytes.size() < kHeader) return std::nullopt;
    auto size = static_cast<qint64>(bigEndian(bytes.first(4)));
    qint64 header = kHeader;
    if (size == 0) size = end_ - next_;  // up to the end
    if (size == 1 && bytes.size() == kLongHeader) {
        header = kLongHeader;
        constexpr quint64 kLargest = std::numeric_limits<qint64>::max();
        size = static_cast<qint64>(std::min(bigEndian(bytes.sliced(8, 8)), kLargest));
    }
    if (size < header) return std::nullopt;
    const Mp4Box box = {static_cast<Mp4Type>(bigEndian(bytes.sliced(4, 4))), next_ + header,
                        next_ + std::min(size, end_ - next_)};
    next_ = box.end;
    return box;
}

std::optional<Mp4Box> Mp4BoxWalk::nextOfType(Mp4Type wanted) {
    while (const std::optional<Mp4Box> box = next()) {
        if (box->type == wanted) return box;
    }
    return std::nullopt;
}

bool isMp4(ByteReader& file) {
    const QByteArrayView bytes = file.view(0, 8);
    if (bytes.size() < 8) return false;
    constexpr std::array kFirstBoxes = {mp4Type("ftyp"), mp4Type("moov"), mp4Type("mdat"),
                                        mp4Type("free"), mp4Type("skip"), mp4Type("wide")};
    return std::find(kFirstBoxes.begin(), kFirstBoxes.end(), bigEndian(bytes.sliced(4, 4))) !=
           kFirstBoxes.end();
}

}  // namespace platform
