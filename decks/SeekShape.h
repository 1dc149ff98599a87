#pragma once

#include <QString>

#include <chrono>
#include <cstddef>
#include <memory>

namespace platform {
class AudioPlayer;
class Slider;
class SongShape;
class Timer;
}  // namespace platform

/// Shows the shape of a deck's song as the groove of its seek slider: at once where the user's
/// store has kept it, under what the file is; else as it is made, once the song plays. Main thread
/// only, which never waits for the file, the store or the making.
class SeekShape {
  public:
    SeekShape();
    ~SeekShape();

    /// Begins with the file at `path`, which was read at `readAt` or since, and which `player`
    /// plays. Slider and player must outlive the showing.
    void show(platform::Slider& slider, const QString& path, const platform::AudioPlayer& player,
              std::chrono::system_clock::time_point readAt);
    /// Ends the showing, and what was going on for it; the groove of `slider` is the plain one.
    void clear(platform::Slider& slider);

  private:
    struct Memory;

    void look();
    bool findShape();
    void draw();

    std::shared_ptr<Memory> memory_;
    std::shared_ptr<const platform::SongShape> shape_;
    size_t drawn_ = 0;  // columns
    bool isNew_ = false;
    platform::Slider* slider_ = nullptr;
    const platform::AudioPlayer* player_ = nullptr;
    std::unique_ptr<platform::Timer> timer_;  // while there is something to come
};
