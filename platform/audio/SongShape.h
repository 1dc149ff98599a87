#pragma once

#include <QByteArray>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace platform {

/// How loud a song is over its length: the peak and the loudness (root mean square, as full scale's
/// own is) of 512 stretches of equal length. One thread makes it, column after column, while others
/// look at what there is.
///
/// A level is a byte: 255 is full scale, each step below is 0.375 dB less, and 0 is what is softer
/// than -95.25 dB.
class SongShape {
  public:
    static constexpr size_t kColumns = 512;
    static constexpr double kStep = 0.375;  ///< dB

    struct Column {
        uint8_t peak = 0;
        uint8_t loudness = 0;
    };

    /// The byte of a linear amplitude, from 0 on; beyond full scale it is full scale.
    static uint8_t level(double amplitude) {
        const double steps = amplitude > 0 ? 20 * std::log10(amplitude) / kStep : -255;
        return static_cast<uint8_t>(std::clamp(std::lround(255 + steps), 0L, 255L));
    }
    /// In dB of full scale; of 0 some 96 below it.
    static double decibel(uint8_t level) { return (level - 255) * kStep; }

    /// The shape that `bytes` once told of; null for what is none.
    static std::shared_ptr<const SongShape> ofBytes(const QByteArray& bytes) {
        if (bytes.size() != 2 * kColumns) return nullptr;
        auto shape = std::make_shared<SongShape>();
        for (qsizetype i = 0; i < bytes.size(); i += 2)
            shape->append({static_cast<uint8_t>(bytes[i]), static_cast<uint8_t>(bytes[i + 1])});
        return shape;
    }
    /// All columns, peak and loudness of each; only those that are known.
    QByteArray bytes() const {
        QByteArray bytes;
        for (size_t i = 0, count = known(); i < count; ++i)
            bytes.append(static_cast<char>(column(i).peak))
                .append(static_cast<char>(column(i).loudness));
        return bytes;
    }

    /// How many columns there are by now, from the first on. None of them changes any more.
    size_t known() const { return known_.load(std::memory_order_acquire); }
    bool isComplete() const { return known() == kColumns; }
    /// One that is known.
    Column column(size_t index) const { return columns_[index]; }

    /// Adds the next of kColumns. One thread only.
    void append(Column column) {
        const size_t index = known_.load(std::memory_order_relaxed);
        columns_[index] = column;
        known_.store(index + 1, std::memory_order_release);
    }

  private:
    std::array<Column, kColumns> columns_;
    std::atomic<size_t> known_ = 0;
};

}  // namespace platform
