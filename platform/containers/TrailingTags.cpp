#include "platform/containers/TrailingTags.h"

#include <QtEndian>

#include <algorithm>

namespace platform {

TrailingTags trailingTags(ByteReader& file, qint64 from) {
    constexpr qsizetype kFooterSize = 32;
    TrailingTags tags;
    const qint64 begin =
        std::max(file.size() - TrailingTags::kId3v1Size - kFooterSize, std::max<qint64>(from, 0));
    QByteArrayView bytes = file.view(begin, file.size() - begin);
    if (bytes.size() >= TrailingTags::kId3v1Size &&
        bytes.last(TrailingTags::kId3v1Size).startsWith("TAG")) {
        bytes.chop(TrailingTags::kId3v1Size);
        tags.id3v1 = begin + bytes.size();
    }
    tags.begin = begin + bytes.size();
    if (bytes.size() < kFooterSize) return tags;
    const QByteArrayView footer = bytes.last(kFooterSize);
    if (!footer.startsWith("APETAGEX")) return tags;
    tags.apeFooter = tags.begin - kFooterSize;
    // "APE Tags Header" (wiki.hydrogenaud.io): the size counts the items and the footer; a header
    // of the footer's size stands before them where the flags' highest bit is set.
    const auto size = qFromLittleEndian<quint32>(footer.data() + 12);
    const bool header = qFromLittleEndian<quint32>(footer.data() + 20) & 0x80000000;
    const qint64 whole = qint64{size} + (header ? kFooterSize : 0);
    tags.begin -=
        std::clamp(whole, qint64{kFooterSize}, std::max(tags.begin - from, qint64{kFooterSize}));
    return tags;
}

}  // namespace platform
