#pragma once

#include "library/PDTrack.h"

#include <QString>

#include <cstddef>
#include <cstdint>
#include <optional>

/// What a deck does when a track ends.
enum PDRepeatStateType : std::int64_t {
    PDRepeatOff = 0,  ///< pause
    PDRepeatAll = 1,  ///< play the next track
    PDRepeatOne = 2,  ///< play the same track again
};

/// The decisions of navigation, as functions of plain values that a deck carries out.
namespace navigation {

/// From this position on, previous starts the track again instead of leaving it.
inline constexpr double kRestartThreshold = 10.0;  // seconds

/// The place of the track at `url` in the list: the last one where several have that path; absent
/// when none has, or without a path.
std::optional<std::size_t> indexOfCurrentTrack(const TrackArray& tracks,
                                               const std::optional<QString>& url);

/// A step from the current index, if there is one, in a list of that many tracks.
using Neighbour = std::optional<std::size_t> (*)(std::optional<std::size_t>, std::size_t);

/// The index to play after `current` in a list of `count`, the first after the last. Without a
/// current track the first; absent for an empty list.
std::optional<std::size_t> nextIndex(std::optional<std::size_t> current, std::size_t count);
/// The index to play before `current`, the last before the first. Without a current track the last;
/// absent for an empty list.
std::optional<std::size_t> previousIndex(std::optional<std::size_t> current, std::size_t count);

/// The repeat state that a press leads to, from off to all to one to off; absent from any other.
std::optional<std::int64_t> repeatStateAfter(std::int64_t state);

enum class EndOfTrack { Pause, PlayNext, PlayAgain, Nothing };

/// What a deck in the repeat state `repeat` does when its track ends.
EndOfTrack endOfTrack(std::int64_t repeat);

}  // namespace navigation
