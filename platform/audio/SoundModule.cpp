#include "platform/audio/SoundModule.h"

#include "platform/audio/PlayerMaker.h"
#include "platform/audio/ThreadStart.h"

#include <dlfcn.h>

#include <filesystem>

#define PAIRDECK_TEXT(name) #name
#define PAIRDECK_TEXT_OF(macro) PAIRDECK_TEXT(macro)

namespace platform::audio {

namespace {

// Installed or built, the module lies in the same place as seen from the program.
PlayerMaker loadedMaker() {
    if (&PAIRDECK_PLAYER_MAKER) return &PAIRDECK_PLAYER_MAKER;
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    const auto path = program.parent_path() / PAIRDECK_SOUND_MODULE;
    // The libraries below the module look their symbols up when they are first called: most never
    // are.
    void* const module = ::dlopen(path.c_str(), RTLD_LAZY | RTLD_LOCAL);
    if (!module) return nullptr;
    return reinterpret_cast<PlayerMaker>(::dlsym(module, PAIRDECK_TEXT_OF(PAIRDECK_PLAYER_MAKER)));
}

}  // namespace

SoundModule& SoundModule::shared() {
    static SoundModule module;
    return module;
}

SoundModule::~SoundModule() {
    if (loader_.joinable()) loader_.join();
}

void SoundModule::prepare() {
    startIfNeeded(loader_, [this] { playerMaker(); });
}

PlayerMaker SoundModule::playerMaker() {
    std::call_once(loaded_, [this] { make_ = loadedMaker(); });
    return make_;
}

}  // namespace platform::audio
