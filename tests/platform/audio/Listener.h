#pragma once

#include "platform/audio/AudioPlayer.h"

namespace platform::audio {

/// Remembers what a player told its delegate.
struct Listener final : AudioPlayerDelegate {
    void audioPlayerDidFinishPlayingSuccessfully(AudioPlayer* player, bool successfully) override {
        ++ends;
        ended = player;
        decoded = successfully;
    }
    int ends = 0;
    AudioPlayer* ended = nullptr;
    bool decoded = false;
};

}  // namespace platform::audio
