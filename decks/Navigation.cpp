#include "decks/Navigation.h"

namespace navigation {

std::optional<std::size_t> indexOfCurrentTrack(const TrackArray& tracks,
                                               const std::optional<QString>& url) {
    if (!url) return std::nullopt;
    for (std::size_t i = tracks.size(); i > 0; --i) {
        if (tracks[i - 1]->URL() == *url) return i - 1;
    }
    return std::nullopt;
}

std::optional<std::size_t> nextIndex(std::optional<std::size_t> current, std::size_t count) {
    if (count == 0) return std::nullopt;
    return current ? (*current + 1) % count : 0;
}

std::optional<std::size_t> previousIndex(std::optional<std::size_t> current, std::size_t count) {
    if (count == 0) return std::nullopt;
    return current ? (*current + count - 1) % count : count - 1;
}

std::optional<std::int64_t> repeatStateAfter(std::int64_t state) {
    if (state < PDRepeatOff || state > PDRepeatOne) return std::nullopt;
    return (state + 1) % 3;
}

EndOfTrack endOfTrack(std::int64_t repeat) {
    switch (repeat) {
        case PDRepeatOff:
            return EndOfTrack::Pause;
        case PDRepeatAll:
            return EndOfTrack::PlayNext;
        case PDRepeatOne:
            return EndOfTrack::PlayAgain;
        default:
            return EndOfTrack::Nothing;
    }
}

}  // namespace navigation
