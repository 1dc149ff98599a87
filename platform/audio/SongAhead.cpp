#include "platform/audio/SongAhead.h"

#include "platform/audio/ThreadStart.h"
#include "platform/foundation/FileIdentity.h"
#include "platform/foundation/Path.h"

#include <chrono>
#include <condition_variable>
#include <future>
#include <mutex>
#include <optional>
#include <utility>

namespace platform::audio {

namespace {

// How often the file is looked at again.
constexpr std::chrono::milliseconds kWatchPeriod(100);

// How long whoever asks for the song can wait for the disk.
constexpr std::chrono::milliseconds kAnswerTime(100);

}  // namespace

struct SongAhead::State {
    QString path;
    std::mutex mutex;
    std::condition_variable forgotten;
    // Under the mutex.
    Notices notices;
    bool isForgotten = false;
    std::optional<FileIdentity> identity;
    std::shared_ptr<const Song> song;
};

SongAhead::SongAhead(const QString& path, Notices notices) : state_(std::make_shared<State>()) {
    state_->path = path;
    state_->notices = std::move(notices);
    startApart([state = state_] { run(*state); });
}

SongAhead::~SongAhead() {
    const std::lock_guard lock(state_->mutex);
    state_->isForgotten = true;
    state_->notices = {};
    state_->song.reset();
    state_->forgotten.notify_one();
}

const QString& SongAhead::path() const {
    return state_->path;
}

std::shared_ptr<const Song> SongAhead::song() const {
    const auto answer = std::make_shared<std::promise<bool>>();
    std::future<bool> isSame = answer->get_future();
    startApart([state = state_, answer] {
        std::unique_lock lock(state->mutex);
        const auto identity = state->identity;
        lock.unlock();
        answer->set_value(FileIdentity::ofFile(state->path) == identity);
    });
    // A disk that does not answer tells of no change, and the song is here.
    const bool isKept = isSame.wait_for(kAnswerTime) != std::future_status::ready || isSame.get();
    const std::lock_guard lock(state_->mutex);
    return isKept ? state_->song : nullptr;
}

void SongAhead::run(State& state) {
    const auto identity = FileIdentity::ofFile(state.path);
    const auto bytes = identity ? dataWithContentsOfFile(state.path) : std::nullopt;
    auto song = bytes ? openSong(*bytes) : nullptr;
    // Changed while it was read, it would match neither what it was nor what it is.
    if (!song || FileIdentity::ofFile(state.path) != identity) return;
    std::unique_lock lock(state.mutex);
    if (state.isForgotten) return;
    state.identity = identity;
    state.song = std::move(song);
    state.notices.opened(state.song);
    const auto forgotten = [&] { return state.isForgotten; };
    while (!state.forgotten.wait_for(lock, kWatchPeriod, forgotten)) {
        lock.unlock();
        const bool same = FileIdentity::ofFile(state.path) == identity;
        lock.lock();
        if (same || state.isForgotten) continue;
        state.song.reset();
        state.notices.changed();
        return;
    }
}

}  // namespace platform::audio
