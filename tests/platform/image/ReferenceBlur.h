#pragma once

#include <QImage>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace platform {

/// What the blur is measured against: the convolution itself, in double precision, with the
/// Gaussian sampled at whole pixels, cut at 5 sigma, its weights summing to 1.
class ReferenceBlur {
  public:
    /// `image` (premultiplied RGBA) blurred by `sigma` pixels.
    ReferenceBlur(const QImage& image, double sigma)
        : width_(image.width()), height_(image.height()), levels_(size_t(width_) * height_ * 4) {
        for (int y = 0; y < height_; ++y)
            std::copy_n(image.constScanLine(y), width_ * 4, levels_.begin() + row(y));
        if (sigma <= 0) return;
        std::vector<double> kernel(static_cast<size_t>(std::ceil(5 * sigma)) + 1);
        double sum = 0;
        for (size_t n = 0; n < kernel.size(); ++n) {
            kernel[n] = std::exp(-0.5 * std::pow(static_cast<double>(n) / sigma, 2));
            sum += kernel[n] * (n == 0 ? 1 : 2);
        }
        for (double& weight : kernel)
            weight /= sum;
        for (int y = 0; y < height_; ++y)
            blurLines(kernel, row(y), 4, width_, 4);
        blurLines(kernel, 0, row(1), height_, width_ * 4);
    }

    /// Level of a channel, 0 to 255, not rounded.
    double at(int x, int y, int channel) const {
        return levels_[row(y) + static_cast<size_t>(x) * 4 + static_cast<size_t>(channel)];
    }
    /// The greatest difference from any channel of `result`, in levels.
    double greatestError(const QImage& result) const {
        double error = 0;
        for (int y = 0; y < height_; ++y) {
            for (size_t i = 0; i < row(1); ++i)
                error = std::max(error, std::abs(result.constScanLine(y)[i] - levels_[row(y) + i]));
        }
        return error;
    }

  private:
    size_t row(int y) const { return static_cast<size_t>(y) * static_cast<size_t>(width_) * 4; }

    // Convolves `lanes` neighbouring lines whose positions stand `stride` apart from `begin` on.
    void blurLines(const std::vector<double>& kernel, size_t begin, size_t stride, int length,
                   int lanes) {
        std::vector<double> sums(static_cast<size_t>(length) * static_cast<size_t>(lanes));
        const int reach = static_cast<int>(kernel.size()) - 1;
        for (int i = 0; i < length; ++i) {
            double* const out = &sums[static_cast<size_t>(i) * static_cast<size_t>(lanes)];
            for (int j = std::max(0, i - reach); j <= std::min(length - 1, i + reach); ++j) {
                const double weight = kernel[static_cast<size_t>(std::abs(i - j))];
                const double* const in = &levels_[begin + static_cast<size_t>(j) * stride];
                for (int lane = 0; lane < lanes; ++lane)
                    out[lane] += weight * in[lane];
            }
        }
        for (int i = 0; i < length; ++i)
            std::copy_n(&sums[static_cast<size_t>(i) * static_cast<size_t>(lanes)], lanes,
                        levels_.begin() +
                            static_cast<std::ptrdiff_t>(begin + static_cast<size_t>(i) * stride));
    }

    int width_;
    int height_;
    std::vector<double> levels_;
};

/// The pictures that a blur finds hardest.
enum class Subject { Noise, TransparentNoise, Checkerboard, WhitePixel, Edge, White, Shades };
constexpr Subject kSubjects[] = {Subject::Noise,        Subject::TransparentNoise,
                                 Subject::Checkerboard, Subject::WhitePixel,
                                 Subject::Edge,         Subject::White,
                                 Subject::Shades};

/// A picture of a kind, premultiplied RGBA; the same at every call.
inline QImage pictureOf(Subject subject, QSize size) {
    QImage image(size, QImage::Format_RGBA8888_Premultiplied);
    std::mt19937 random(1);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            QRgb colour = 0xFFFFFFFF;
            switch (subject) {
                case Subject::Noise:
                    colour = 0xFF000000 | (random() & 0xFFFFFF);
                    break;
                case Subject::TransparentNoise:
                    colour = static_cast<QRgb>(random());
                    break;
                case Subject::Checkerboard:
                    colour = (x + y) % 2 == 0 ? 0xFFFFFFFF : 0;
                    break;
                case Subject::WhitePixel:
                    colour =
                        x == size.width() / 2 && y == size.height() / 2 ? 0xFFFFFFFF : 0xFF000000;
                    break;
                case Subject::Edge:
                    colour = x < size.width() / 2 ? 0xFFFFFFFF : 0xFF000000;
                    break;
                case Subject::White:
                    break;
                case Subject::Shades:
                    colour = qRgb(y * 3 / 8 % 256, y * 5 / 8 % 256, (x + y) / 4 % 256);
                    break;
            }
            image.setPixel(x, y, qPremultiply(colour));
        }
    }
    return image;
}

}  // namespace platform
