#include "platform/audio/ShapeMaker.h"

#include "platform/audio/SongDecoder.h"
#include "platform/audio/ThreadStart.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <span>
#include <utility>
#include <vector>

namespace platform::audio {

namespace {

// Decoded at once; what ends in between is noticed after so much.
constexpr size_t kStepFrames = 4096;

/// The peak of a stretch, and its energy: the sum of the squares of all samples.
class Stretch {
  public:
    void add(std::span<const float> samples) {
        // Side by side, as the processor's vectors do it.
        constexpr size_t kLanes = 8;
        std::array<float, kLanes> peaks = {};
        std::array<float, kLanes> energies = {};
        size_t i = 0;
        for (; i + kLanes <= samples.size(); i += kLanes) {
            for (size_t lane = 0; lane < kLanes; ++lane) {
                const float sample = samples[i + lane];
                peaks[lane] = std::max(peaks[lane], std::abs(sample));
                energies[lane] += sample * sample;
            }
        }
        for (; i < samples.size(); ++i) {
            peaks[0] = std::max(peaks[0], std::abs(samples[i]));
            energies[0] += samples[i] * samples[i];
        }
        peak_ = std::max(peak_, *std::max_element(peaks.begin(), peaks.end()));
        for (const float energy : energies)
            energy_ += static_cast<double>(energy);
        count_ += samples.size();
    }

    bool isEmpty() const { return count_ == 0; }
    SongShape::Column column() const {
        const double mean = energy_ / static_cast<double>(count_);
        return {SongShape::level(static_cast<double>(peak_)), SongShape::level(std::sqrt(mean))};
    }

  private:
    float peak_ = 0;
    double energy_ = 0;
    size_t count_ = 0;
};

}  // namespace

void drawShape(std::shared_ptr<const Song> song, const std::weak_ptr<SongShape>& shape) {
    const int64_t length = song->length;
    SongDecoder decoder(std::move(song));
    std::vector<float> samples(2 * kStepFrames);
    decoder.seek(0);
    SongShape::Column column;
    int64_t at = 0;
    for (int64_t i = 1; i <= int64_t{SongShape::kColumns}; ++i) {
        constexpr int64_t kColumns = SongShape::kColumns;
        // Rounded up, so that even of a song of one sample there is something in the first column.
        const int64_t end =
            length / kColumns * i + (length % kColumns * i + kColumns - 1) / kColumns;
        Stretch stretch;
        while (at < end && !shape.expired()) {
            const auto count =
                static_cast<size_t>(std::min(end - at, static_cast<int64_t>(kStepFrames)));
            decoder.read(samples.data(), count);
            stretch.add({samples.data(), 2 * count});
            at += static_cast<int64_t>(count);
        }
        const auto held = shape.lock();
        if (!held) return;
        // A song shorter than a sample a column goes on as it was.
        if (!stretch.isEmpty()) column = stretch.column();
        held->append(column);
    }
}

std::shared_ptr<const SongShape> makeShape(std::shared_ptr<const Song> song) {
    const auto shape = std::make_shared<SongShape>();
    const bool isStarted =
        startApart([song = std::move(song), wanted = std::weak_ptr(shape)]() mutable {
            // The least that still gets on: the system ends a process only when its last thread has
            // had a turn, which one of the idle class may wait for as long as others are busy.
            constexpr int kLeastPriority = 19;
            ::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), kLeastPriority);
            drawShape(std::move(song), wanted);
        });
    return isStarted ? shape : nullptr;
}

}  // namespace platform::audio
