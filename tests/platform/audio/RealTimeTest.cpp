#include "tests/platform/audio/Rig.h"
#include "tests/platform/audio/Signals.h"
#include "tests/platform/audio/Songs.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <iterator>

// Every allocation and every lock of the process passes through here, and none of them may come
// from the thread that renders.

namespace {

constinit thread_local bool isRendering = false;

void expectNotRendering() {
    if (isRendering) std::abort();
}

template <typename Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void __libc_free(void* block);

void* malloc(size_t size) {
    expectNotRendering();
    return __libc_malloc(size);
}
void* calloc(size_t count, size_t size) {
    expectNotRendering();
    return __libc_calloc(count, size);
}
void* realloc(void* block, size_t size) {
    expectNotRendering();
    return __libc_realloc(block, size);
}
void free(void* block) {
    expectNotRendering();
    __libc_free(block);
}
int pthread_mutex_lock(pthread_mutex_t* mutex) {
    expectNotRendering();
    static auto* const real = next<int(pthread_mutex_t*)>("pthread_mutex_lock");
    return real(mutex);
}
int pthread_mutex_unlock(pthread_mutex_t* mutex) {
    expectNotRendering();
    static auto* const real = next<int(pthread_mutex_t*)>("pthread_mutex_unlock");
    return real(mutex);
}
}

namespace platform::audio {
namespace {

/// Lets the calling thread do nothing but end from now on, as far as the kernel is concerned: any
/// other system call ends it there. The clock's page, mapped into the process, stays readable.
bool forbidSystemCalls() {
    sock_filter program[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_exit, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_THREAD),
    };
    const sock_fprog filter = {std::size(program), program};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

/// Renders on a thread to which the kernel forbids every system call but to end.
struct ConfinedRenderer {
    Mixer& mixer;
    std::atomic<bool> ending = false;
    std::atomic<bool> ended = false;
    std::atomic<uint64_t> blocks = 0;

    static void* run(void* self) {
        auto& renderer = *static_cast<ConfinedRenderer*>(self);
        if (!forbidSystemCalls()) return nullptr;
        isRendering = true;
        float out[2 * 512];
        while (!renderer.ending.load()) {
            renderer.mixer.render(out, 64 + renderer.blocks % 448);
            ++renderer.blocks;
        }
        renderer.ended = true;
        syscall(SYS_exit, 0);
        return nullptr;
    }
};

TEST(RealTime, TheCallbackNeitherLocksNorAllocatesNorCallsTheSystem) {
    Rig rig(48000);
    ConfinedRenderer renderer{rig.mixer};
    pthread_t thread = {};
    ASSERT_EQ(pthread_create(&thread, nullptr, &ConfinedRenderer::run, &renderer), 0);
    const QByteArray file = encodedSong(3, QStringLiteral("-b:a 128k"), QStringLiteral("mp3"));
    const auto song = openSong(file);
    for (int round = 0; round < 20; ++round) {
        auto voice = std::make_shared<Voice>();
        voice->setPlaying(true);
        rig.worker.add(voice, song, {1, 0});
        for (uint64_t number = 2; number < 12; ++number) {
            rig.worker.request(*voice, {number, static_cast<int64_t>(number) * 9000});
            voice->setPan(number % 2 == 0 ? 1 : -1);
            voice->setVolume(number % 3 == 0 ? 0 : 1);
            voice->setPlaying(number % 5 != 0);
            rig.worker.wake();
            std::this_thread::sleep_for(std::chrono::milliseconds(3));
        }
        voice->release();
        rig.worker.wake();
    }
    renderer.ending = true;
    pthread_join(thread, nullptr);
    EXPECT_TRUE(renderer.ended) << "the kernel has ended the thread for a system call";
    EXPECT_GT(renderer.blocks, 1000);
}

}  // namespace
}  // namespace platform::audio
