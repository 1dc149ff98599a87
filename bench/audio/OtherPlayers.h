#pragma once

#include <QByteArray>

#include <string>
#include <vector>

namespace platform::audio {

/// What another player takes to play one song.
struct PlayerCost {
    std::string name;
    double share = 0;  ///< of one processor core
};

/// Plays the mp3 `song` with each of the players that are installed, one after the other, on the
/// sound server of the environment, and measures them in the middle of it.
std::vector<PlayerCost> costOfOtherPlayers(const QByteArray& song);

}  // namespace platform::audio
