#pragma once

#include "platform/audio/AudioOutput.h"
#include "platform/audio/DecodeWorker.h"
#include "platform/audio/Mixer.h"

namespace platform::audio {

/// What all players of a process share: the worker that decodes, the mixer, and the output that
/// empties it. Nothing runs before the first player plays.
struct AudioEngine {
    /// The process's engine; ends with the process.
    static AudioEngine& shared();

    Mixer mixer;
    DecodeWorker worker{mixer};
    AudioOutput output{mixer, [this] { return worker.hasPlayingVoice(); },
                       [this] { worker.wake(); }};
};

}  // namespace platform::audio
