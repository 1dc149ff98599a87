#include "platform/audio/AudioEngine.h"

namespace platform::audio {

AudioEngine& AudioEngine::shared() {
    static AudioEngine engine;
    return engine;
}

}  // namespace platform::audio
