#include "platform/image/Image.h"

#include <QBuffer>
#include <QImageWriter>
#include <QPainter>

#include <gtest/gtest.h>

namespace platform {
namespace {

QByteArray encoded(const QImage& image, const char* format) {
    QBuffer buffer;
    QImageWriter writer(&buffer, format);
    writer.setQuality(100);
    EXPECT_TRUE(writer.write(image)) << format;
    return buffer.data();
}

TEST(Image, WhatIsNoPictureIsNull) {
    EXPECT_TRUE(Image().isNull());
    EXPECT_TRUE(Image::initWithData(QByteArray()).isNull());
    EXPECT_TRUE(Image::initWithData("not a picture").isNull());
    EXPECT_TRUE(Image::initWithContentsOfURL(QStringLiteral("/gone.png")).isNull());
    EXPECT_TRUE(Image::initByReferencingURL(QString()).isNull());
    EXPECT_TRUE(Image::imageNamed(QStringLiteral("gone")).isNull());
    EXPECT_EQ(Image().size(), QSizeF(0, 0));
}

TEST(Image, EveryFormatIsDecoded) {
    QImage image(48, 32, QImage::Format_RGB32);
    image.fill(QColor(200, 40, 90));
    for (const char* format : {"png", "jpg", "webp", "bmp", "tiff"}) {
        const Image decoded = Image::initWithData(encoded(image, format));
        EXPECT_EQ(decoded.size(), QSizeF(48, 32)) << format;
        EXPECT_EQ(decoded.bitmap().format(), QImage::Format_RGBA8888_Premultiplied) << format;
        EXPECT_NEAR(qRed(decoded.bitmap().pixel(20, 20)), 200, 3) << format;
    }
}

}  // namespace
}  // namespace platform
