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

#include <zlib.h>

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

// Of a drawing's text: the renderer takes seconds, and three times the memory, for more.
constexpr qsizetype kMaxDrawingBytes = qsizetype{16} << 20;

// What a stream in the format of RFC 1952 holds; empty where that is damaged or too much for a
// drawing. The renderer would inflate it whatever its size.
QByteArray inflatedDrawing(const QByteArray& data) {
    constexpr int kGzip = MAX_WBITS + 16;
    z_stream stream = {};
    if (::inflateInit2(&stream, kGzip) != Z_OK) return {};
    QByteArray text(kMaxDrawingBytes, Qt::Uninitialized);
    // zlib does not write to its input, but an old interface of it does not say so.
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.constData()));
    stream.avail_in = static_cast<uInt>(data.size());
    stream.next_out = reinterpret_cast<Bytef*>(text.data());
    stream.avail_out = static_cast<uInt>(text.size());
    const bool whole = ::inflate(&stream, Z_FINISH) == Z_STREAM_END;
    text.resize(whole ? static_cast<qsizetype>(stream.total_out) : 0);
    ::inflateEnd(&stream);
    return text;
}

// The text of what may be a drawing, which often is compressed; empty of anything else.
QByteArray drawingText(const QByteArray& data) {
    const QByteArray text = data.startsWith("\x1F\x8B") ? inflatedDrawing(data) : data;
    constexpr qsizetype kBeginning = 4096;
    const bool isDrawing = text.size() <= kMaxDrawingBytes &&
                           text.first(std::min(kBeginning, text.size())).contains("<svg");
    return isDrawing ? text : QByteArray();
}

// By the renderer itself: its plugin for the reader is not installed everywhere.
QImage decodedDrawing(const QByteArray& text) {
    if (text.isEmpty()) return {};
    QSvgRenderer renderer(text);
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
    if (image.isNull() && drawings == Drawings::Decoded) image = decodedDrawing(drawingText(data));
    if (image.isNull()) return {};
    const QByteArray profile = image.colorSpace().iccProfile();
    image = inStandardColours(std::move(image), profile);
    image.setColorSpace(QColorSpace());
    image.setDevicePixelRatio(1);
    image = premultiplied(std::move(image));
    return {image, image.size(), 1};
}

}  // namespace platform
