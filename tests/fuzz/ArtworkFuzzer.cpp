#include "platform/image/ColourProfile.h"
#include "platform/image/Exif.h"
#include "platform/image/GaussianBlur.h"
#include "platform/image/ImageDecoder.h"

#include <QBuffer>
#include <QImageReader>

#include <cstdint>
#include <cstdlib>

// Whatever a picture's bytes are: none or one that can be blurred, with transparent and opaque
// colours that are premultiplied.

namespace {

QSize declaredSize(QByteArray data) {
    QBuffer buffer(&data);
    return QImageReader(&buffer).size();
}

// A profile's checksums and compression keep mutations of a whole picture out of it.
void readProfile(const QByteArray& profile) {
    QImage image(5, 3, QImage::Format_RGBA8888);
    image.fill(QColor(20, 90, 200, 128));
    platform::inStandardColours(image, profile);
    platform::inStandardColours(image.convertToFormat(QImage::Format_Grayscale8), profile);
    platform::convertCmykToRgba(image.bits(), image.width(), image.height(), true, profile);
}

void decodeAndBlur(const QByteArray& data) {
    const QImage image = platform::decodedImage(data, platform::Drawings::Decoded).bitmap;
    if (image.isNull()) return;
    if (image.format() != QImage::Format_RGBA8888_Premultiplied) std::abort();
    // Each of them works in another way.
    constexpr double kSigmas[] = {2, 9, 80};
    platform::GaussianBlur blur(kSigmas[data.size() % 3]);
    QImage blurred;
    blur.blur(image, blurred);
    if (blurred.size() != image.size()) std::abort();
    const QImage part = blur.blurredRegion(image, QRectF(image.rect()).adjusted(0.25, 0, 0, -0.25),
                                           QSize(40, 30), 0.5);
    if (part.size() != QSize(40, 30)) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // Decoding what is allowed to be large would take the time from everything else.
    constexpr qint64 kMostPixels = 1 << 20;
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const QSize declared = declaredSize(bytes);
    const qint64 pixels = qint64{declared.width()} * declared.height();
    if (pixels <= kMostPixels || !platform::isDecodableSize(declared, 8)) decodeAndBlur(bytes);
    platform::exifOrientation(bytes);
    constexpr qsizetype kSignature = 36;  // ICC.1:2010, 7.2.9
    if (bytes.size() > kSignature && bytes.sliced(kSignature).startsWith("acsp"))
        readProfile(bytes);
    return 0;
}
