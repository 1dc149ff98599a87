#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <span>
#include <vector>

namespace platform::audio {

/// A stereo sine on both channels, `frames` long.
inline std::vector<float> sine(double frequency, double amplitude, int rate, size_t frames) {
    std::vector<float> stereo(2 * frames);
    for (size_t i = 0; i < frames; ++i) {
        const double phase = 2 * std::numbers::pi * frequency * static_cast<double>(i) / rate;
        stereo[2 * i] = stereo[2 * i + 1] = static_cast<float>(amplitude * std::sin(phase));
    }
    return stereo;
}

/// A tone found in one channel: its amplitude, and the power of all else relative to it.
struct Tone {
    double amplitude;
    double residueDecibel;  ///< THD+N.
};

inline double decibel(double amplitude) {
    return 20 * std::log10(std::max(amplitude, 1e-12));
}

/// Fits a sine of a known frequency to the left channel (least squares over sine and cosine) and
/// measures what it does not explain.
inline Tone fitTone(std::span<const float> stereo, double frequency, int rate) {
    double ss = 0, cc = 0, sc = 0, ys = 0, yc = 0;
    const size_t frames = stereo.size() / 2;
    const auto angle = [&](size_t i) {
        return 2 * std::numbers::pi * frequency * static_cast<double>(i) / rate;
    };
    for (size_t i = 0; i < frames; ++i) {
        const double s = std::sin(angle(i)), c = std::cos(angle(i)), y = stereo[2 * i];
        ss += s * s;
        cc += c * c;
        sc += s * c;
        ys += y * s;
        yc += y * c;
    }
    const double determinant = ss * cc - sc * sc;
    const double a = (ys * cc - yc * sc) / determinant;
    const double b = (yc * ss - ys * sc) / determinant;
    double residue = 0;
    for (size_t i = 0; i < frames; ++i) {
        const double rest = stereo[2 * i] - a * std::sin(angle(i)) - b * std::cos(angle(i));
        residue += rest * rest;
    }
    const double amplitude = std::hypot(a, b);
    const double rms = std::sqrt(residue / static_cast<double>(std::max<size_t>(frames, 1)));
    return {amplitude, decibel(rms / std::max(amplitude / std::numbers::sqrt2, 1e-12))};
}

/// Root mean square of all samples.
inline double rootMeanSquare(std::span<const float> samples) {
    double sum = 0;
    for (const float sample : samples)
        sum += static_cast<double>(sample) * sample;
    return std::sqrt(sum / static_cast<double>(std::max<size_t>(samples.size(), 1)));
}

}  // namespace platform::audio
