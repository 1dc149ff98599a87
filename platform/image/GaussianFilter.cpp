#include "platform/image/GaussianFilter.h"

#include <array>
#include <cmath>
#include <complex>

namespace platform {

namespace {

// The poles, in units of 1 / sigma, of a filter whose response to a frequency is one over a
// polynomial of its square, after L. J. van Vliet, I. T. Young and P. W. Verbeek, "Recursive
// Gaussian derivative filters" (1998); the complex ones have conjugates. Refitted for the least
// absolute difference from the Gaussian, 0.0016 of its area.
constexpr std::complex<double> kPoles[] = {
    {1.37271852, 1.07036407}, {1.24856319, 2.25884485}, {1.40824854, 0}};

template <typename Function>
double sumOverPoles(const Function& function) {
    double sum = 0;
    for (const std::complex<double> pole : kPoles)
        sum += function(pole).real() * (pole.imag() == 0 ? 1 : 2);
    return sum;
}

// By what to divide the poles for the sampled filter, run both ways, to have the variance that the
// continuous one of standard deviation `sigma` has.
double scaleOfPoles(double sigma) {
    const double variance =
        sigma * sigma * sumOverPoles([](auto pole) { return 2.0 / (pole * pole); });
    double least = sigma / 2;
    double most = sigma * 2;
    for (int i = 0; i < 50; ++i) {
        const double scale = (least + most) / 2;
        const double reached =
            sumOverPoles([scale](auto pole) { return 1.0 / (std::cosh(pole / scale) - 1.0); });
        (reached < variance ? least : most) = scale;
    }
    return least;
}

constexpr size_t kSize = RecursiveGaussian::kStates;
using Matrix = std::array<std::array<double, kSize>, kSize>;

Matrix operator*(const Matrix& a, const Matrix& b) {
    Matrix product{};
    for (size_t i = 0; i < kSize; ++i) {
        for (size_t j = 0; j < kSize; ++j) {
            for (size_t k = 0; k < kSize; ++k)
                product[i][j] += a[i][k] * b[k][j];
        }
    }
    return product;
}

Matrix operator+(Matrix a, const Matrix& b) {
    for (size_t i = 0; i < kSize; ++i) {
        for (size_t j = 0; j < kSize; ++j)
            a[i][j] += b[i][j];
    }
    return a;
}

// With A the step of a run over a sample of 0, b what a sample of 1 adds and c the response's row
// of A, the tail's n-th sample is c A^n times the forward states, so the backward states are sum
// over n of A^n b c A^n times them. Twice as many terms at each turn, until they have died out.
Matrix turnOf(const std::array<double, kSize>& feedback, double sigma) {
    const auto [a1, a2, b1, b2, c1] = feedback;
    const Matrix step = {{{a1, a2, 0, 0, 0},
                          {1, 0, 0, 0, 0},
                          {a1, a2, b1, b2, 0},
                          {0, 0, 1, 0, 0},
                          {a1, a2, b1, b2, c1}}};
    Matrix turn{};
    turn[0] = turn[2] = turn[4] = step[4];
    Matrix power = step;
    for (int terms = 1; terms < 32 * sigma; terms *= 2) {
        turn = turn + power * turn * power;
        power = power * power;
    }
    return turn;
}

}  // namespace

RecursiveGaussian RecursiveGaussian::withSigma(double sigma) {
    RecursiveGaussian filter{};
    const double scale = scaleOfPoles(sigma);
    const std::complex<double> pole0 = std::exp(-kPoles[0] / scale);
    const std::complex<double> pole1 = std::exp(-kPoles[1] / scale);
    const double exact[kSize] = {2 * pole0.real(), -std::norm(pole0), 2 * pole1.real(),
                                 -std::norm(pole1), std::exp(-kPoles[2].real() / scale)};
    // From here on with the coefficients as they are rounded, so that a flat picture keeps its
    // level.
    std::array<double, kSize> rounded{};
    for (size_t i = 0; i < kSize; ++i)
        rounded[i] = filter.feedback[i] = static_cast<float>(exact[i]);
    const auto [a1, a2, b1, b2, c1] = rounded;
    filter.gain = static_cast<float>(std::pow((1 - a1 - a2) * (1 - b1 - b2) * (1 - c1), 2));
    const Matrix turn = turnOf(rounded, sigma);
    for (size_t i = 0; i < kSize; ++i) {
        for (size_t j = 0; j < kSize; ++j)
            filter.turn[i][j] = static_cast<float>(turn[i][j]);
    }
    return filter;
}

GaussianFilter GaussianFilter::withSigma(double sigma) {
    GaussianFilter filter;
    if (sigma >= RecursiveGaussian::kLeastSigma) {
        filter.recursion = RecursiveGaussian::withSigma(sigma);
        return filter;
    }
    std::vector<double> weights{1.0};
    double sum = 1.0;
    for (int n = 1; n <= std::ceil(5 * sigma); ++n) {
        weights.push_back(std::exp(-0.5 * std::pow(n / sigma, 2)));
        sum += 2 * weights.back();
    }
    for (const double weight : weights)
        filter.weights.push_back(static_cast<float>(weight / sum));
    return filter;
}

}  // namespace platform
