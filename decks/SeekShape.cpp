#include "decks/SeekShape.h"

#include "platform/audio/AudioPlayer.h"
#include "platform/audio/ThreadStart.h"
#include "platform/foundation/FileIdentity.h"
#include "platform/foundation/Timer.h"
#include "platform/store/Store.h"
#include "platform/ui/Slider.h"

#include <malloc.h>

#include <atomic>
#include <cmath>
#include <optional>
#include <utility>

using platform::FileIdentity;
using platform::Groove;
using platform::SongShape;
using platform::Store;
using platform::audio::startApart;

namespace {

const QByteArray kTable = "shapes";
// As often as a screen shows something new.
constexpr double kLookingPeriod = 0.016;  // seconds

// Between the amplitude, in which soft passages can't be told apart, and the ear's own measure, in
// which everything looks alike.
float heightOf(uint8_t level) {
    constexpr double kBend = 0.65;
    return level == 0 ? 0.0F : std::pow(10.0F, float(kBend * SongShape::decibel(level) / 20));
}

}  // namespace

/// What the store knows of the file, shared with the thread that asks.
struct SeekShape::Memory {
    QString path;
    qint64 readAt = 0;  // at the earliest, in nanoseconds since 1970
    std::atomic<bool> isAsked = false;
    // Both from then on.
    std::optional<FileIdentity> identity;  // of a file that proves itself by it
    std::shared_ptr<const SongShape> shape;

    void ask() {
        identity = FileIdentity::ofFile(path);
        if (identity && !identity->isSettled(readAt)) identity.reset();
        if (identity) {
            const auto values = Store::userStore().values(kTable, {identity->key()});
            if (values.front()) shape = SongShape::ofBytes(*values.front());
        }
        isAsked.store(true, std::memory_order_release);
    }

    void keep(const SongShape& made) const {
        if (identity && FileIdentity::ofFile(path) == identity)
            Store::userStore().put(kTable, {{identity->key(), made.bytes()}});
    }
};

SeekShape::SeekShape() = default;
SeekShape::~SeekShape() = default;

void SeekShape::show(platform::Slider& slider, const QString& path,
                     const platform::AudioPlayer& player,
                     std::chrono::system_clock::time_point readAt) {
    clear(slider);
    slider_ = &slider;
    player_ = &player;
    memory_ = std::make_shared<Memory>();
    memory_->path = path;
    memory_->readAt = std::chrono::nanoseconds(readAt.time_since_epoch()).count();
    if (!startApart([memory = memory_] { memory->ask(); })) memory_->isAsked = true;
    timer_ = platform::Timer::scheduledTimerWithTimeInterval(
        kLookingPeriod, [this] { look(); }, true);
}

void SeekShape::clear(platform::Slider& slider) {
    timer_.reset();
    memory_.reset();
    shape_.reset();
    drawn_ = 0;
    isNew_ = false;
    slider.setGroove({}, 0);
}

bool SeekShape::findShape() {
    if (shape_) return true;
    if (!memory_->isAsked.load(std::memory_order_acquire)) return false;
    shape_ = memory_->shape;
    // The sound comes first.
    if (shape_ || (player_->isPlaying() && player_->currentTime() <= 0)) return shape_ != nullptr;
    shape_ = player_->makeShape();
    isNew_ = shape_ != nullptr;
    if (!shape_) timer_.reset();
    return isNew_;
}

void SeekShape::look() {
    if (!findShape()) return;
    const bool isComplete = shape_->isComplete();
    if (shape_->known() != drawn_) draw();
    if (!isComplete) return;
    if (isNew_) {
        startApart([memory = memory_, shape = shape_] {
            memory->keep(*shape);
            // The part of the heap that the second decoder had is empty, and stays as large.
            ::malloc_trim(0);
        });
    }
    timer_.reset();
}

void SeekShape::draw() {
    drawn_ = shape_->known();
    std::vector<Groove::Stretch> stretches(drawn_);
    for (size_t i = 0; i < drawn_; ++i) {
        const SongShape::Column column = shape_->column(i);
        stretches[i] = {heightOf(column.loudness), heightOf(column.peak)};
    }
    slider_->setGroove(std::move(stretches), SongShape::kColumns);
}
