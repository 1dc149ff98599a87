#include "platform/audio/SoundModule.h"

#include "platform/audio/PlayerMaker.h"
#include "platform/audio/ThreadStart.h"

#include <dlfcn.h>
#include <link.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <span>
#include <vector>

#define PAIRDECK_TEXT(name) #name
#define PAIRDECK_TEXT_OF(macro) PAIRDECK_TEXT(macro)

namespace platform::audio {

namespace {

using Addresses = std::vector<ElfW(Addr)>;

Addresses loadedLibraries() {
    Addresses addresses;
    ::dl_iterate_phdr(
        [](dl_phdr_info* library, size_t, void* all) {
            static_cast<Addresses*>(all)->push_back(library->dlpi_addr);
            return 0;
        },
        &addresses);
    return addresses;
}

using Segments = std::span<const ElfW(Phdr)>;

/// Whether the library's code was written to when it was relocated.
bool isCodeRelocated(ElfW(Addr) base, Segments segments) {
    for (const ElfW(Phdr) & segment : segments) {
        if (segment.p_type != PT_DYNAMIC) continue;
        const auto* entry = reinterpret_cast<const ElfW(Dyn)*>(base + segment.p_vaddr);
        for (; entry->d_tag != DT_NULL; ++entry) {
            if (entry->d_tag == DT_TEXTREL) return true;
            if (entry->d_tag == DT_FLAGS && (entry->d_un.d_val & DF_TEXTREL) != 0) return true;
        }
    }
    return false;
}

/// Forgets which pages of the libraries loaded since `before` are in memory: to relocate them is to
/// read most, of which a song needs a third. What was written to is kept; the others come back from
/// the page cache when they are wanted.
void forgetPagesReadToLoad(Addresses before) {
    ::dl_iterate_phdr(
        [](dl_phdr_info* library, size_t, void* known) {
            const auto& old = *static_cast<const Addresses*>(known);
            if (std::find(old.begin(), old.end(), library->dlpi_addr) != old.end()) return 0;
            const Segments segments(library->dlpi_phdr, library->dlpi_phnum);
            if (isCodeRelocated(library->dlpi_addr, segments)) return 0;
            const auto page = static_cast<ElfW(Addr)>(::sysconf(_SC_PAGESIZE));
            for (const ElfW(Phdr) & segment : segments) {
                if (segment.p_type != PT_LOAD || (segment.p_flags & PF_W) != 0) continue;
                const ElfW(Addr) begin = (library->dlpi_addr + segment.p_vaddr) & ~(page - 1);
                const ElfW(Addr) end = library->dlpi_addr + segment.p_vaddr + segment.p_memsz;
                ::madvise(reinterpret_cast<void*>(begin), end - begin, MADV_DONTNEED);
            }
            return 0;
        },
        &before);
}

// Installed or built, the module lies in the same place as seen from the program.
PlayerMaker loadedMaker() {
    if (&PAIRDECK_PLAYER_MAKER) return &PAIRDECK_PLAYER_MAKER;
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    const auto path = program.parent_path() / PAIRDECK_SOUND_MODULE;
    // The libraries below the module look their symbols up when they are first called: most never
    // are.
    const Addresses before = loadedLibraries();
    void* const module = ::dlopen(path.c_str(), RTLD_LAZY | RTLD_LOCAL);
    if (!module) return nullptr;
    forgetPagesReadToLoad(before);
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
