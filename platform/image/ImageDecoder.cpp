#include "platform/image/ImageDecoder.h"

#include "platform/image/ColourProfile.h"
#include "platform/image/Exif.h"
#include "platform/image/JpegDecoder.h"
#include "platform/image/LargeBuffer.h"

#include <QBuffer>
#include <QColorSpace>
#include <QImageReader>
#include <QPainter>
#include <QSvgRenderer>

#include <algorithm>
#include <iterator>
#include <utility>

namespace platform {

namespace {

// What the reader's plugins know beyond these has no place in artwork or among wallpapers.
constexpr const char* kFormats[] = {"png", "webp", "gif", "bmp", "tiff"};

// Bytes of a pixel of that format on its way to one of four bytes.
qint64 bytesPerPixel(QImage::Format format) {
    constexpr int kLeast = 4;
    if (format == QImage::Format_Invalid || format >= QImage::NImageFormats) return kLeast;
    return std::max(kLeast, QImage::toPixelFormat(format).bitsPerPixel() / 8);
}

// Whether `data` may be a drawing: XML, or compressed (RFC 1952) as drawings often are.
bool mayBeDrawing(const QByteArray& data) {
    constexpr qsizetype kBeginning = 4096;
    return data.startsWith("\x1F\x8B") ||
           data.first(std::min(kBeginning, data.size())).contains("<svg");
}

// By the renderer itself: its plugin for the reader is not installed everywhere.
QImage decodedDrawing(const QByteArray& data) {
    QSvgRenderer renderer(data);
    const QSize size = renderer.isValid() ? renderer.defaultSize() : QSize();
    if (!isDecodableSize(size, 4)) return {};
    QImage image = largeBitmap(size, QImage::Format_ARGB32_Premultiplied);
    if (image.isNull()) return image;
    image.fill(Qt::transparent);
    QPainter painter(&image);
    renderer.render(&painter);
    painter.end();
    return image;
}

QImage decodedByReader(const QByteArray& data) {
    QBuffer buffer;
    buffer.setData(data);
    buffer.open(QIODevice::ReadOnly);
    // Its own limit, for all pictures of the process, need not be higher than ours.
    QImageReader::setAllocationLimit(kMaxDecodedBytes >> 20);
    QImageReader reader(&buffer);
    reader.setAutoTransform(true);
    const QByteArray format = reader.format();
    if (std::find(std::begin(kFormats), std::end(kFormats), format) == std::end(kFormats))
        return {};
    const QSize size = reader.size();
    const QImage::Format pixels = reader.imageFormat();
    if (!isDecodableSize(size, bytesPerPixel(pixels))) return {};
    // Read into where it stands, if the plugin agrees on the format.
    QImage image = largeBitmap(size, pixels);
    if (!reader.read(&image)) return {};
    return image;
}

}  // namespace

bool isDecodableSize(QSize size, qint64 bytesPerPixel) {
    if (size.isEmpty() || std::max(size.width(), size.height()) > kMaxDecodedSide) return false;
    return qint64{size.width()} * size.height() <= kMaxDecodedBytes / bytesPerPixel;
}

QImage premultiplied(QImage image) {
    // Opaque, the pixels are their premultiplied selves: most need no more than another name.
    if (!image.hasAlphaChannel()) {
        image.convertTo(QImage::Format_RGBX8888);
        image.reinterpretAsFormat(QImage::Format_RGBA8888_Premultiplied);
    } else {
        image.convertTo(QImage::Format_RGBA8888_Premultiplied);
    }
    return image;
}

DecodedImage decodedImage(const QByteArray& data, Drawings drawings, double blur) {
    if (isJpeg(data)) return decodedJpeg(data, blur);
    if (data.size() > kMaxEncodedBytes) return {};
    QImage image = decodedByReader(data);
    // Last, as a picture's own metadata may hold what looks like a drawing.
    if (image.isNull() && drawings == Drawings::Decoded && mayBeDrawing(data))
        image = decodedDrawing(data);
    if (image.isNull()) return {};
    const QByteArray profile = image.colorSpace().iccProfile();
    image = inStandardColours(std::move(image), profile);
    image.setColorSpace(QColorSpace());
    image.setDevicePixelRatio(1);
    image = premultiplied(std::move(image));
    return {image, image.size(), 1};
}

}  // namespace platform
