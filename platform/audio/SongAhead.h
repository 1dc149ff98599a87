#pragma once

#include "platform/audio/Song.h"

#include <QString>

#include <functional>
#include <memory>

namespace platform::audio {

/// A file that may be played soon, read and opened on a thread of its own, which then watches that
/// it stays what it was. A disk that does not answer holds up that thread and nothing else.
class SongAhead {
  public:
    struct Notices {
        std::function<void(std::shared_ptr<const Song>)> opened;  ///< Not for what can't be played.
        std::function<void()> changed;  ///< The file is another or gone; after `opened`, once.
    };

    /// Begins to read the file at `path`. The notices are called on the thread.
    SongAhead(const QString& path, Notices notices);
    /// Forgets the file; a notice under way is waited for, none is called afterwards.
    ~SongAhead();
    SongAhead(const SongAhead&) = delete;
    SongAhead& operator=(const SongAhead&) = delete;

    const QString& path() const;
    /// The song, if it is open and the file still is what was read; else null.
    std::shared_ptr<const Song> song() const;

  private:
    struct State;
    static void run(State& state);
    const std::shared_ptr<State> state_;  // the thread's as well, which may outlive this
};

}  // namespace platform::audio
