#include "platform/image/Exif.h"

#include "platform/image/LargeBuffer.h"

#include <QtEndian>

#include <algorithm>

namespace platform {

int exifOrientation(QByteArrayView exif) {
    // Exif 2.32, 4.5 and 4.6.4: a TIFF header (byte order, 42, offset of the first directory), then
    // directories of 12-byte entries (tag, type, count, value).
    constexpr quint16 kOrientationTag = 0x0112;
    constexpr qsizetype kEntrySize = 12;
    if (exif.size() < 8) return 1;
    const bool little = exif[0] == 'I';
    const auto* const bytes = reinterpret_cast<const uchar*>(exif.data());
    const auto short16 = [&](qsizetype at) {
        return little ? qFromLittleEndian<quint16>(bytes + at)
                      : qFromBigEndian<quint16>(bytes + at);
    };
    const qsizetype directory =
        little ? qFromLittleEndian<quint32>(bytes + 4) : qFromBigEndian<quint32>(bytes + 4);
    if (directory > exif.size() - 2) return 1;
    const int count = short16(directory);
    for (int i = 0; i < count; ++i) {
        const qsizetype entry = directory + 2 + i * kEntrySize;
        if (entry > exif.size() - kEntrySize) break;
        if (short16(entry) != kOrientationTag) continue;
        const int orientation = short16(entry + 8);
        return orientation >= 1 && orientation <= 8 ? orientation : 1;
    }
    return 1;
}

QImage uprightImage(const QImage& image, int orientation) {
    if (image.isNull() || orientation <= 1 || orientation > 8) return image;
    // Which end of the stored axes the upright picture begins at, and whether they change places
    // (Exif 2.32, 4.6.4, Orientation).
    const bool swapped = orientation >= 5;
    const bool fromRight =
        orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
    const bool fromBottom =
        orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
    QImage upright =
        largeBitmap(swapped ? image.size().transposed() : image.size(), image.format());
    if (upright.isNull()) return {};
    const auto* const source = reinterpret_cast<const quint32*>(image.constBits());
    const qsizetype stride = image.bytesPerLine() / 4;
    const qsizetype alongRow = fromRight ? -1 : 1;
    const qsizetype alongColumn = fromBottom ? -stride : stride;
    const quint32* const origin = source + (fromRight ? image.width() - 1 : 0) +
                                  (fromBottom ? (image.height() - 1) * stride : 0);
    const qsizetype stepX = swapped ? alongColumn : alongRow;
    const qsizetype stepY = swapped ? alongRow : alongColumn;
    // In tiles, so that the lines read down a column are still cached for the next one.
    constexpr int kTile = 32;
    uchar* const result = upright.bits();
    for (int tileY = 0; tileY < upright.height(); tileY += kTile) {
        for (int tileX = 0; tileX < upright.width(); tileX += kTile) {
            const int endX = std::min(tileX + kTile, upright.width());
            for (int y = tileY; y < std::min(tileY + kTile, upright.height()); ++y) {
                auto* const row = reinterpret_cast<quint32*>(result + y * upright.bytesPerLine());
                for (int x = tileX; x < endX; ++x)
                    row[x] = origin[x * stepX + y * stepY];
            }
        }
    }
    return upright;
}

}  // namespace platform
