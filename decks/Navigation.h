#pragma once

#include "library/PDTrack.h"

#include <QString>

#include <cstddef>
#include <cstdint>
#include <optional>

/// The decisions of navigation, as functions of plain values that the controller carries out.
namespace navigation {

/// From this position on, previous starts the track again instead of leaving it.
inline constexpr double kRestartThreshold = 10.0;  // seconds

/// The place of the track at `url` in the list: the last one where several have that path; absent
/// when none has, or without a path.
std::optional<std::size_t> indexOfCurrentTrack(const TrackArray& tracks,
                                               const std::optional<QString>& url);

/// The index to play after `current` in a list of `count`, the first after the last. Without a
/// current track the first; absent for an empty list.
std::optional<std::size_t> nextIndex(std::optional<std::size_t> current, std::size_t count);
/// The index to play before `current`, the last before the first. Without a current track the last;
/// absent for an empty list.
std::optional<std::size_t> previousIndex(std::optional<std::size_t> current, std::size_t count);

enum class EndOfTrack { Pause, PlayNext, PlayAgain, Nothing };

/// What a deck in the repeat state `repeat` does when its track ends.
EndOfTrack endOfTrack(std::int64_t repeat);

}  // namespace navigation
