#pragma once

#include "platform/audio/Song.h"
#include "platform/audio/SongShape.h"

#include <memory>

namespace platform::audio {

/// Begins to make the shape of `song`, with a decoder of its own, on a thread of the least
/// priority, which ends as soon as nobody holds the shape any more. Nobody waits for it, and it
/// takes no lock that others wait for. Null where there is no thread to be had.
std::shared_ptr<const SongShape> makeShape(std::shared_ptr<const Song> song);

/// The same on this thread; ends early once nobody else holds the shape, which is empty at first.
void drawShape(std::shared_ptr<const Song> song, const std::weak_ptr<SongShape>& shape);

}  // namespace platform::audio
