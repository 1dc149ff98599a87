#include "presentation/BlurredBackdrop.h"
#include "tests/platform/image/ReferenceBlur.h"

#include <QColorSpace>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

using platform::Image;
using platform::pictureOf;
using platform::ReferenceBlur;
using platform::Subject;

TEST(BlurredBackdrop, LevelZeroIsTheSourceDarkened) {
    for (const Subject subject : platform::kSubjects) {
        const QImage source = pictureOf(subject, {64, 48});
        const Image backdrop = blurWithLevelAndSize(Image(source), 0, {64, 48});
        const QImage result = backdrop.bitmap();
        ASSERT_EQ(result.size(), source.size());
        for (int y = 0; y < source.height(); ++y) {
            for (int i = 0; i < source.width() * 4; ++i) {
                const int level = source.constScanLine(y)[i];
                ASSERT_NEAR(result.constScanLine(y)[i], i % 4 == 3 ? level : 0.7 * level, 0.5001);
            }
        }
    }
}

// Takes the steps one by one, in double precision: the whole picture blurred, then each pixel
// looked up where the zoom puts it.
TEST(BlurredBackdrop, ShowsTheBlurZoomedAboutItsCentre) {
    const QSize size(120, 70);
    for (const Subject subject : {Subject::Edge, Subject::TransparentNoise}) {
        const QImage source = pictureOf(subject, size);
        for (const double level : {2.0, 9.3, 27.0}) {
            const ReferenceBlur blur(source, level);
            const double k = std::ceil(3 * level);
            const QImage result = blurWithLevelAndSize(Image(source), level, size).bitmap();
            ASSERT_EQ(result.size(), size);
            double error = 0;
            for (int y = 0; y < size.height(); ++y) {
                const double v = (y + 0.5 + k) * size.height() / (size.height() + 2 * k) - 0.5;
                for (int x = 0; x < size.width(); ++x) {
                    const double u = (x + 0.5 + k) * size.width() / (size.width() + 2 * k) - 0.5;
                    const int u0 = static_cast<int>(u);
                    const int v0 = static_cast<int>(v);
                    const double a = u - u0;
                    const double b = v - v0;
                    for (int c = 0; c < 4; ++c) {
                        const double level8 =
                            (1 - b) * ((1 - a) * blur.at(u0, v0, c) + a * blur.at(u0 + 1, v0, c)) +
                            b * ((1 - a) * blur.at(u0, v0 + 1, c) + a * blur.at(u0 + 1, v0 + 1, c));
                        error = std::max(error, std::abs(result.constScanLine(y)[x * 4 + c] -
                                                         level8 * (c == 3 ? 1 : 0.7)));
                    }
                }
            }
            EXPECT_LE(error, 1.0) << "level " << level;
        }
    }
}

TEST(BlurredBackdrop, LeavesOutWhatItHides) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("wallpaper.jpg"));
    const QSizeF size(575, 331);
    QImage source = pictureOf(Subject::Noise, {1203, 693}).convertToFormat(QImage::Format_RGB32);
    ASSERT_TRUE(source.save(path, "jpg", 95));
    const Image whole = Image::initWithContentsOfURL(path);
    const Image reduced = Image::initWithContentsOfURL(path, 150);
    EXPECT_EQ(whole.reduction(), 1);
    EXPECT_EQ(reduced.reduction(), 4);
    EXPECT_EQ(reduced.size(), whole.size());
    const QImage expected = blurWithLevelAndSize(whole, 150, size).bitmap();
    const QImage backdrop = blurWithLevelAndSize(reduced, 150, size).bitmap();
    int error = 0;
    for (int y = 0; y < expected.height(); ++y) {
        for (int i = 0; i < expected.width() * 4; ++i)
            error = std::max(error,
                             std::abs(backdrop.constScanLine(y)[i] - expected.constScanLine(y)[i]));
    }
    EXPECT_LE(error, 1);
    // The mean of colours depends on what they are measured by.
    source.setColorSpace(QColorSpace::AdobeRgb);
    ASSERT_TRUE(source.save(path, "jpg", 95));
    EXPECT_EQ(Image::initWithContentsOfURL(path, 150).reduction(), 1);
}

TEST(BlurredBackdrop, TakesTheSizeAskedFor) {
    const Image backdrop =
        blurWithLevelAndSize(Image(pictureOf(Subject::White, {40, 10})), 27, {575, 300});
    EXPECT_EQ(backdrop.size(), QSizeF(575, 300));
    EXPECT_EQ(backdrop.bitmap().size(), QSize(575, 300));
    EXPECT_TRUE(blurWithLevelAndSize(Image(), 27, {575, 300}).isNull());
    EXPECT_TRUE(blurWithLevelAndSize(Image(pictureOf(Subject::White, {4, 4})), 27, {575, qQNaN()})
                    .isNull());
    EXPECT_TRUE(
        blurWithLevelAndSize(Image(pictureOf(Subject::White, {4, 4})), 27, {575, 0}).isNull());
    // A needle: 575 points wide it would be 5.75 million high.
    const Image needle =
        blurWithLevelAndSize(Image(pictureOf(Subject::White, {1, 10000})), 27, {575, 5.75e6});
    EXPECT_EQ(needle.size(), QSizeF(575, 5.75e6));
    EXPECT_EQ(needle.bitmap().size(), QSize(2, 16384));
}

}  // namespace
