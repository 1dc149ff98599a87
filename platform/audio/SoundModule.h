#pragma once

#include <mutex>
#include <thread>

class QByteArray;

namespace platform {

class AudioPlayer;

namespace audio {

using PlayerMaker = AudioPlayer* (*)(const QByteArray& data);

/// The sound engine, which is a module of its own: its decoders and their hundred libraries would
/// double the time until the window stands and the memory of a program that plays nothing yet. A
/// program that the engine is linked into, as tests are, is its own module.
class SoundModule {
  public:
    /// The process's module.
    static SoundModule& shared();
    ~SoundModule();
    SoundModule(const SoundModule&) = delete;
    SoundModule& operator=(const SoundModule&) = delete;

    /// Loads the module on a thread of its own, if nothing has loaded it yet.
    void prepare();
    /// What makes players; the module is loaded by now. Null when it is missing or broken.
    PlayerMaker playerMaker();

  private:
    SoundModule() = default;

    std::once_flag loaded_;
    PlayerMaker make_ = nullptr;
    std::thread loader_;
};

}  // namespace audio
}  // namespace platform
