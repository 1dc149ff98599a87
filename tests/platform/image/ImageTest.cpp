#include "platform/image/Image.h"
#include "platform/image/ImageDecoder.h"
#include "platform/image/JpegPlan.h"

#include <QBuffer>
#include <QColorSpace>
#include <QFile>
#include <QImageWriter>
#include <QPainter>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QtEndian>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <turbojpeg.h>

#include <array>

namespace platform {
namespace {

QByteArray encoded(const QImage& image, const char* format) {
    QBuffer buffer;
    QImageWriter writer(&buffer, format);
    writer.setQuality(100);
    EXPECT_TRUE(writer.write(image)) << format;
    return buffer.data();
}

QImage flat(QSize size, const QColor& colour, QImage::Format format = QImage::Format_RGB32) {
    QImage image(size, format);
    image.fill(colour);
    return image;
}

void expectNear(QRgb actual, QRgb expected, int tolerance) {
    EXPECT_NEAR(qRed(actual), qRed(expected), tolerance);
    EXPECT_NEAR(qGreen(actual), qGreen(expected), tolerance);
    EXPECT_NEAR(qBlue(actual), qBlue(expected), tolerance);
    EXPECT_NEAR(qAlpha(actual), qAlpha(expected), tolerance);
}

// A JPEG file of that picture with a segment put in after the start of the image.
QByteArray jpegWithSegment(const QImage& image, uchar marker, const QByteArray& content) {
    QByteArray segment("\xFF");
    segment += static_cast<char>(marker);
    segment.resize(4);
    qToBigEndian(static_cast<quint16>(content.size() + 2), segment.data() + 2);
    return encoded(image, "jpg").insert(2, segment + content);
}

QByteArray cmykJpeg(std::array<uchar, 4> inks) {
    std::vector<uchar> pixels;
    for (int i = 0; i < 16 * 16; ++i)
        pixels.insert(pixels.end(), inks.begin(), inks.end());
    tjhandle encoder = tjInitCompress();
    uchar* bytes = nullptr;
    unsigned long size = 0;
    EXPECT_EQ(tjCompress2(encoder, pixels.data(), 16, 64, 16, TJPF_CMYK, &bytes, &size, TJSAMP_444,
                          100, 0),
              0);
    QByteArray data(reinterpret_cast<const char*>(bytes), static_cast<qsizetype>(size));
    tjFree(bytes);
    tjDestroy(encoder);
    return data;
}

TEST(Image, WhatIsNoPictureIsNull) {
    EXPECT_TRUE(Image().isNull());
    EXPECT_EQ(Image().size(), QSizeF(0, 0));
    EXPECT_TRUE(Image::initWithData("not a picture").isNull());
    EXPECT_TRUE(Image::initWithContentsOfURL(QStringLiteral("/gone.png")).isNull());
    EXPECT_TRUE(Image::initByReferencingURL(QString()).isNull());
    EXPECT_TRUE(Image::imageNamed(QStringLiteral("gone")).isNull());
}

TEST(Image, DecodesEveryFormat) {
    const QColor colour(200, 40, 90);
    for (const char* format : {"png", "jpg", "webp", "bmp", "tiff"}) {
        SCOPED_TRACE(format);
        const Image image = Image::initWithData(encoded(flat({450, 310}, colour), format));
        EXPECT_EQ(image.size(), QSizeF(450, 310));
        ASSERT_EQ(image.bitmap().format(), QImage::Format_RGBA8888_Premultiplied);
        expectNear(image.bitmap().pixel(20, 20), colour.rgba(), 3);
    }
    // One white pixel.
    const Image gif = Image::initWithData(
        QByteArray::fromBase64("R0lGODlhAQABAIAAAP///////ywAAAAAAQABAAACAkQBADs="));
    EXPECT_EQ(gif.bitmap().pixel(0, 0), 0xFFFFFFFF);
    const QImage deep = flat({9, 9}, QColor(10, 20, 200, 128), QImage::Format_RGBA64);
    expectNear(Image::initWithData(encoded(deep, "png")).bitmap().pixel(4, 4),
               qPremultiply(qRgba(10, 20, 200, 128)), 1);
}

TEST(Image, SurvivesDamage) {
    QImage noise = flat({64, 64}, Qt::white);
    for (int y = 0; y < 64; ++y) {
        for (int x = 0; x < 64; ++x)
            noise.setPixel(x, y, static_cast<uint>(x * 0x9E3779B1u ^ y * 0x85EBCA77u) | 0xFF000000);
    }
    for (const char* format : {"png", "jpg", "webp", "bmp", "tiff"}) {
        const QByteArray data = encoded(noise, format);
        for (qsizetype at = 0; at < data.size(); at += 1 + data.size() / 97) {
            Image::initWithData(data.first(at)).bitmap();
            QByteArray damaged = data;
            damaged[at] = static_cast<char>(~damaged[at]);
            Image::initWithData(damaged).bitmap();
        }
    }
}

// A JPEG file of `width` x `height` pixels, of which but the first are there.
QByteArray jpegDeclaring(quint16 width, quint16 height, const QByteArray& options = "") {
    QBuffer buffer;
    QImageWriter writer(&buffer, "jpg");
    writer.setProgressiveScanWrite(options == "progressive");
    EXPECT_TRUE(writer.write(flat({16, 16}, Qt::red)));
    QByteArray jpeg = buffer.data();
    const qsizetype frame = jpeg.indexOf(options == "progressive" ? "\xFF\xC2" : "\xFF\xC0");
    EXPECT_GT(frame, 0);
    qToBigEndian(height, jpeg.data() + frame + 5);
    qToBigEndian(width, jpeg.data() + frame + 7);
    return jpeg;
}

TEST(Image, HugeJpegsComeReducedAndOrdinaryOnesWhole) {
    const auto size = [](const QByteArray& data) {
        return Image::initWithData(data).bitmap().size();
    };
    EXPECT_EQ(size(jpegDeclaring(6000, 4000)), QSize(6000, 4000));
    EXPECT_EQ(size(jpegDeclaring(6001, 4001)), QSize(3001, 2001));
    EXPECT_EQ(Image::initWithData(jpegDeclaring(6001, 4001)).size(), QSizeF(6001, 4001));
    EXPECT_EQ(size(jpegDeclaring(16000, 16000)), QSize(4000, 4000));
    EXPECT_EQ(size(jpegDeclaring(16400, 16400)), QSize(0, 0));
    // Held as coefficients until its last scan has been read.
    EXPECT_EQ(size(jpegDeclaring(4000, 4000, "progressive")), QSize(4000, 4000));
    EXPECT_EQ(size(jpegDeclaring(11000, 11000, "progressive")), QSize(0, 0));
    QImage corners = flat({6400, 6400}, Qt::blue);
    QPainter(&corners).fillRect(3200, 0, 3200, 3200, Qt::red);
    const QImage reduced = Image::initWithData(encoded(corners, "jpg")).bitmap();
    EXPECT_EQ(reduced.size(), QSize(3200, 3200));
    expectNear(reduced.pixel(1590, 10), qRgb(0, 0, 255), 3);
    expectNear(reduced.pixel(1610, 1590), qRgb(255, 0, 0), 3);
    expectNear(reduced.pixel(1610, 1610), qRgb(0, 0, 255), 3);
}

// Scans that refine the picture again and again would take seconds.
TEST(Image, RefinementsBeyondTheirTimeAreLeftOut) {
    QByteArray data = jpegDeclaring(4000, 4000, "progressive");
    data.chop(2);  // its end
    const qsizetype scan = data.indexOf("\xFF\xDA");
    const qsizetype next = data.indexOf("\xFF\xDA", scan + 2);
    ASSERT_GT(next, scan);
    const QByteArray refinement = data.sliced(next);
    for (int i = 0; i < 400; ++i)
        data += refinement;
    const auto plan = jpegPlan(data);
    ASSERT_TRUE(plan);
    EXPECT_GT(plan->length, next);
    EXPECT_LT(plan->length, data.size() / 4);
    EXPECT_FALSE(Image::initWithData(data).isNull());
}

TEST(Image, RefusesDeclaredSizesBeyondItsLimits) {
    EXPECT_TRUE(isDecodableSize({5120, 4096}, 4));
    EXPECT_FALSE(isDecodableSize({5120, 4097}, 4));
    EXPECT_FALSE(isDecodableSize({5120, 4096}, 8));
    EXPECT_FALSE(isDecodableSize({0, 5}, 4));
    EXPECT_TRUE(isDecodableSize({1'000'000, 1}, 4));
    EXPECT_FALSE(isDecodableSize({1, 1'000'001}, 4));

    EXPECT_TRUE(Image::initWithData(jpegDeclaring(0xFFFF, 0xFFFF)).isNull());
    const QImage deep(4096, 4096, QImage::Format_RGBX64);
    EXPECT_TRUE(Image::initWithData(encoded(deep, "png")).isNull());
    QByteArray bmp = encoded(flat({16, 16}, Qt::red), "bmp");
    qToLittleEndian<quint32>(1 << 15, bmp.data() + 18);
    qToLittleEndian<quint32>(1 << 15, bmp.data() + 22);
    EXPECT_TRUE(Image::initWithData(bmp).isNull());
}

TEST(Image, StandsUpright) {
    // Red on the stored left, blue on the right; where the orientation puts the red.
    QImage stored = flat({64, 32}, Qt::blue);
    QPainter(&stored).fillRect(0, 0, 32, 16, Qt::red);
    struct Case {
        char orientation;
        QSize size;
        QPoint red;
    };
    const Case cases[] = {{1, {64, 32}, {8, 4}},   {2, {64, 32}, {56, 4}}, {3, {64, 32}, {56, 28}},
                          {4, {64, 32}, {8, 28}},  {5, {32, 64}, {4, 8}},  {6, {32, 64}, {28, 8}},
                          {7, {32, 64}, {28, 56}}, {8, {32, 64}, {4, 56}}};
    for (const Case& expected : cases) {
        SCOPED_TRACE(static_cast<int>(expected.orientation));
        QByteArray little("Exif\0\0II*\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0", 24);
        little += expected.orientation;
        little += QByteArray(7, '\0');
        QByteArray big("Exif\0\0MM\0*\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0", 25);
        big += expected.orientation;
        big += QByteArray(6, '\0');
        for (const QByteArray& exif : {little, big}) {
            const QImage image = Image::initWithData(jpegWithSegment(stored, 0xE1, exif)).bitmap();
            ASSERT_EQ(image.size(), expected.size);
            const QPoint opposite(image.width() - 1 - expected.red.x(),
                                  image.height() - 1 - expected.red.y());
            expectNear(image.pixel(expected.red), qRgb(255, 0, 0), 12);
            expectNear(image.pixel(opposite), qRgb(0, 0, 255), 12);
            // Broken off anywhere, the block tells no orientation or the right one.
            for (qsizetype length = 0; length < exif.size(); ++length)
                EXPECT_FALSE(Image::initWithData(jpegWithSegment(stored, 0xE1, exif.first(length)))
                                 .isNull());
        }
    }
}

TEST(Image, ColoursBecomeStandardOnes) {
    const QColor colour(40, 180, 90);
    const QColorSpace wide(QColorSpace::AdobeRgb);
    for (const QImage::Format format : {QImage::Format_RGB32, QImage::Format_RGBA64}) {
        for (const char* type : {"png", "jpg", "tiff", "webp"}) {
            SCOPED_TRACE(type);
            QImage image = flat({16, 16}, colour, format);
            image.setColorSpace(wide);
            const QRgb expected = image.convertedToColorSpace(QColorSpace::SRgb).pixel(8, 8);
            ASSERT_GT(std::abs(qRed(expected) - colour.red()), 20);
            expectNear(Image::initWithData(encoded(image, type)).bitmap().pixel(8, 8), expected, 3);
        }
    }
    QImage gray(16, 16, QImage::Format_Grayscale8);
    gray.fill(77);
    expectNear(Image::initWithData(encoded(gray, "png")).bitmap().pixel(8, 8), qRgb(77, 77, 77), 0);
    // A profile that is none leaves the colours alone.
    const QByteArray damaged = jpegWithSegment(flat({16, 16}, colour), 0xE2,
                                               QByteArray("ICC_PROFILE\0\x01\x01nonsense", 22));
    expectNear(Image::initWithData(damaged).bitmap().pixel(8, 8), colour.rgba(), 3);
}

// The encoder marks the file as of the one writer that stores inks inverted, as all in use do.
TEST(Image, InksBecomeColours) {
    const QByteArray data = cmykJpeg({255, 0, 128, 51});
    ASSERT_TRUE(data.contains("Adobe"));
    expectNear(Image::initWithData(data).bitmap().pixel(8, 8), qRgb(51, 0, 26), 3);
}

TEST(Image, DrawingsAreReadFromFilesAlone) {
    const QByteArray drawing =
        "<svg xmlns='http://www.w3.org/2000/svg' width='30' height='20'><rect/></svg>";
    const QByteArray compressed = QByteArray::fromBase64(
        "H4sIAAAAAAACAxXKOw6AIAwA0KuwdaMNbAS4jJKWxF+gsR5fffPL82b37NsxC4jqlRDNzFv052AM"
        "RITfAGd9VSkQCZy0zqIFAkHNoy2KNf+pvo7sJrpMAAAA");
    for (const QByteArray& form : {drawing, compressed}) {
        EXPECT_TRUE(Image::initWithData(form).isNull());
        QTemporaryFile file;
        ASSERT_TRUE(file.open() && file.write(form) > 0 && file.flush());
        EXPECT_EQ(Image::initWithContentsOfURL(file.fileName()).size(), QSizeF(30, 20));
    }
}

TEST(Image, HostileDrawingsEndAndReadNothingElse) {
    const QTemporaryDir folder;
    const QByteArray fifo = folder.filePath(QStringLiteral("fifo.png")).toUtf8();
    ASSERT_EQ(::mkfifo(fifo.constData(), 0600), 0);
    const QByteArray open =
        "<svg xmlns='http://www.w3.org/2000/svg' width='30' height='20' "
        "xmlns:x='http://www.w3.org/1999/xlink'>";
    // Each entity is ten of the one before: a hundred billion letters.
    QByteArray entities = "<!DOCTYPE svg [<!ENTITY a0 'aaaaaaaaaa'>";
    for (int i = 1; i <= 10; ++i) {
        const QByteArray before = "&a" + QByteArray::number(i - 1) + ';';
        entities += "<!ENTITY a" + QByteArray::number(i) + " '" + before.repeated(10) + "'>";
    }
    const QByteArray drawings[] = {
        entities + "]>" + open + "<text>&a10;</text></svg>",
        "<!DOCTYPE svg [<!ENTITY f SYSTEM 'file://" + fifo + "'>]>" + open +
            "<text>&f;</text></svg>",
        open + QByteArray("<g>").repeated(100'000),
    };
    for (const QByteArray& drawing : drawings) {
        EXPECT_TRUE(Image::initWithData(drawing).isNull());
        QTemporaryFile file;
        ASSERT_TRUE(file.open() && file.write(drawing) > 0 && file.flush());
        Image::initWithContentsOfURL(file.fileName()).bitmap();
    }
    // A hundred megabytes in a hundred kilobytes.
    const QByteArray spaces = qCompress(open + QByteArray(100'000'000, ' ') + "</svg>", 1);
    QTemporaryFile bomb;
    ASSERT_TRUE(bomb.open() && bomb.write("\x1F\x8B\x08\0\0\0\0\0\0\3", 10) == 10 &&
                bomb.write(spaces.sliced(6)) > 0 && bomb.flush());
    EXPECT_TRUE(Image::initWithContentsOfURL(bomb.fileName()).isNull());
    const QByteArray linking = open + "<image width='9' height='9' x:href='" + fifo + "'/></svg>";
    EXPECT_TRUE(Image::initWithData(linking).isNull());
}

TEST(Image, AReferencedFileIsReadWhenItIsAskedFor) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("late.png"));
    const Image referenced = Image::initByReferencingURL(path);
    EXPECT_TRUE(Image::initWithContentsOfURL(path).isNull());
    ASSERT_TRUE(flat({30, 20}, Qt::green).save(path));
    const Image copy = referenced;
    EXPECT_EQ(copy.size(), QSizeF(30, 20));
    QFile::remove(path);
    EXPECT_EQ(referenced.bitmap().size(), QSize(30, 20));
}

TEST(Image, ACopysSizeIsItsOwn) {
    const Image image(flat({30, 20}, Qt::green));
    Image copy = image;
    copy.setSize({575, 300});
    EXPECT_EQ(copy.size(), QSizeF(575, 300));
    EXPECT_EQ(copy.bitmap().size(), QSize(30, 20));
    EXPECT_EQ(image.size(), QSizeF(30, 20));
}

TEST(Image, FillsTheRectangleOnDenseScreens) {
    // Fine stripes become an even grey when shown small; sampling single pixels would keep some.
    QImage stripes = flat({640, 640}, Qt::white);
    for (int x = 0; x < 640; x += 2)
        QPainter(&stripes).fillRect(x, 0, 1, 640, Qt::black);
    QImage screen = flat({120, 120}, Qt::red);
    screen.setDevicePixelRatio(2);
    {
        QPainter painter(&screen);
        Image(stripes).drawInRect(painter, QRectF(10, 10, 40, 40));
        Image().drawInRect(painter, QRectF(0, 0, 60, 60));
    }
    for (int i = 20; i < 100; ++i) {
        expectNear(screen.pixel(i, 60), qRgb(128, 128, 128), 3);
        expectNear(screen.pixel(60, i), qRgb(128, 128, 128), 3);
    }
    EXPECT_EQ(screen.pixel(19, 60), qRgb(255, 0, 0));
    EXPECT_EQ(screen.pixel(100, 60), qRgb(255, 0, 0));
}

}  // namespace
}  // namespace platform
