#include "platform/image/BlurKernels.h"
#include "platform/image/GaussianBlur.h"
#include "tests/platform/image/ReferenceBlur.h"

#include <gtest/gtest.h>

namespace platform {

void PrintTo(const BlurKernels& kernels, std::ostream* out) {
    *out << kernels.instructionSet;
}

namespace {

QImage blurred(const QImage& image, double sigma) {
    QImage result;
    GaussianBlur(sigma).blur(image, result);
    return result;
}

// Runs with each instruction set that this machine has, the plain one included.
class EveryInstructionSet : public ::testing::TestWithParam<BlurKernels> {
  protected:
    void SetUp() override { BlurKernels::used() = &GetParam(); }
    void TearDown() override { BlurKernels::used() = &BlurKernels::all().front(); }
};

INSTANTIATE_TEST_SUITE_P(Image, EveryInstructionSet, ::testing::ValuesIn(BlurKernels::all()),
                         [](const auto& set) { return set.param.instructionSet; });

TEST_P(EveryInstructionSet, IsWithinOneLevelOfTheConvolution) {
    for (const Subject subject : kSubjects) {
        const QImage image = pictureOf(subject, {131, 94});
        for (const double sigma : {0.5, 1.3, 2.9, 3.0, 27.0, 64.0, 150.0, 300.0}) {
            EXPECT_LE(ReferenceBlur(image, sigma).greatestError(blurred(image, sigma)), 1.0)
                << "subject " << static_cast<int>(subject) << ", sigma " << sigma;
        }
        EXPECT_EQ(blurred(image, 0), image);
    }
}

TEST_P(EveryInstructionSet, HandlesEverySizeDownToOnePixel) {
    for (const QSize size : {QSize(1, 1), QSize(1, 37), QSize(41, 1), QSize(3, 5), QSize(4, 4),
                             QSize(5, 3), QSize(6, 9), QSize(7, 2)}) {
        const QImage image = pictureOf(Subject::TransparentNoise, size);
        for (const double sigma : {0.0, 1.0, 27.0}) {
            EXPECT_LE(ReferenceBlur(image, sigma).greatestError(blurred(image, sigma)), 1.0)
                << size.width() << " x " << size.height() << ", sigma " << sigma;
        }
    }
}

// What all rows have in common, rounding between the passes must not take from all of them alike.
TEST_P(EveryInstructionSet, RoundsEachRowDifferentlyBetweenThePasses) {
    const QImage edge = pictureOf(Subject::Edge, {120, 300});
    EXPECT_LE(ReferenceBlur(edge, 64).greatestError(blurred(edge, 64)), 0.75);
}

// Long lines are where rounding errors of the recursion would add up.
TEST_P(EveryInstructionSet, KeepsAFlatPictureFlatFarFromItsEdges) {
    for (const double sigma : {27.0, 150.0, 300.0}) {
        const int length = static_cast<int>(14 * sigma);
        const QImage wide = blurred(pictureOf(Subject::White, {length, 5}), sigma);
        const QImage tall = blurred(pictureOf(Subject::White, {5, length}), sigma);
        const QImage short5 = blurred(pictureOf(Subject::White, {5, 5}), sigma);
        EXPECT_LE(std::abs(qAlpha(wide.pixel(length / 2, 2)) - qAlpha(tall.pixel(2, length / 2))),
                  1);
        EXPECT_EQ(qAlpha(wide.pixel(length / 2, 2)), qAlpha(wide.pixel(length / 3, 2)));
        EXPECT_LE(qAlpha(short5.pixel(2, 2)), qAlpha(wide.pixel(length / 2, 2)));
    }
}

}  // namespace
}  // namespace platform
