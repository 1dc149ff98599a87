#pragma once

#include <QByteArray>
#include <QImage>
#include <QSize>

namespace platform {

/// Pictures that would be larger than this when decoded are refused: 80 MiB, 20.97 million pixels
/// of 8 bits a channel. JPEG pictures may be larger: see JpegPlan.h.
constexpr qint64 kMaxDecodedBytes = qint64{80} << 20;
/// So are files of more bytes than this, however they are packed.
constexpr qsizetype kMaxEncodedBytes = qsizetype{96} << 20;
/// So are pictures with a side of more pixels than this, which nobody could look at, but whose
/// every line would be worked on whole.
constexpr int kMaxDecodedSide = 1'000'000;

/// Whether a picture of `size` pixels of `bytesPerPixel` may be decoded.
bool isDecodableSize(QSize size, qint64 bytesPerPixel);

/// `image` as QImage::Format_RGBA8888_Premultiplied, in place where that can be; null for null.
QImage premultiplied(QImage image);

/// What becomes of drawings (SVG). They may name further files, which are then read, too: they are
/// for pictures that the user has chosen, not for those that a music file brings along.
enum class Drawings { Refused, Decoded };

/// A picture's pixels, upright, in sRGB, as QImage::Format_RGBA8888_Premultiplied, and how many it
/// has in the file, where each may have been the mean of `reduction` by `reduction`.
struct DecodedImage {
    QImage bitmap;
    QSize size;
    int reduction = 1;  ///< 1, 2, 4 or 8
};

/// The picture encoded in `data` (JPEG, PNG, WebP, GIF, BMP, TIFF or SVG; the first one of
/// several). Null when it is none of these, can't be decoded or declares a size that is refused,
/// which is found before any memory is asked for. A JPEG of more pixels than ordinary pictures have
/// comes at half, a quarter or an eighth of them along each side, and so does any whose detail a
/// blur of `blur` pixels will hide, where that saves work.
DecodedImage decodedImage(const QByteArray& data, Drawings drawings = Drawings::Refused,
                          double blur = 0);

}  // namespace platform
