#include "platform/audio/AudioPlayer.h"

#include "platform/audio/SoundModule.h"

namespace platform {

std::unique_ptr<AudioPlayer> AudioPlayer::initWithData(const QByteArray& data) {
    const audio::PlayerMaker make = audio::SoundModule::shared().playerMaker();
    return std::unique_ptr<AudioPlayer>(make ? make(data) : nullptr);
}

void AudioPlayer::prepare() {
    audio::SoundModule::shared().prepare();
}

}  // namespace platform
