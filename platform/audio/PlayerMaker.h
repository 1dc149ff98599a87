#pragma once

class QByteArray;

namespace platform {
class AudioPlayer;
}

/// What the sound engine is asked for a player by, across the border of its module: the new player,
/// which the caller owns, or null when `data` isn't playable audio. Its name holds the program's
/// version, so that a program replaced on disk while it runs finds no module of another version.
/// Absent in a program that the engine is not linked into.
extern "C" [[gnu::weak, gnu::visibility("default")]] platform::AudioPlayer* PAIRDECK_PLAYER_MAKER(
    const QByteArray& data);
