#pragma once

namespace platform::audio {

class SoundServer;

/// Prints the figures of songs that follow one another: a tone cut in three, played in a row to the
/// server and recorded, with an idle main thread and with one that is held at each join.
void benchJoins(SoundServer& server);

}  // namespace platform::audio
