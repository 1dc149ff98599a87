#pragma once

#include <QByteArray>
#include <QImage>
#include <QSize>

namespace platform {

/// Decoded pictures larger than this are refused: 1 GiB.
constexpr qint64 kMaxDecodedBytes = qint64{1} << 30;
/// Declared pictures of more pixels than this are refused.
constexpr qint64 kMaxPixels = qint64{1} << 28;

/// Whether a picture of `size` pixels of `bytesPerPixel` may be decoded.
bool isDecodableSize(QSize size, qint64 bytesPerPixel);

/// `image` as QImage::Format_RGBA8888_Premultiplied, in place where that can be; null for null.
QImage premultiplied(QImage image);

/// The picture encoded in `data` (JPEG, PNG, WebP, GIF, BMP, TIFF or SVG; the first one of several)
/// upright, in sRGB, as QImage::Format_RGBA8888_Premultiplied. Null when it is none of these, can't
/// be decoded or declares a size that is refused, which is found before any memory is asked for.
QImage decodedImage(const QByteArray& data);

}  // namespace platform
