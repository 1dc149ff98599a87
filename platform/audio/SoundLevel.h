#pragma once

namespace platform {

/// How loud something is, linear; 1 is full scale.
struct SoundLevel {
    float peak = 0;
    float loudness = 0;  ///< The root mean square of the louder channel.
};

}  // namespace platform
