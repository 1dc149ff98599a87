#pragma once

#include <chrono>
#include <cstdint>

namespace platform::audio {

/// Nanoseconds of the steady clock; answered without a system call where the kernel maps it.
inline int64_t nowNanoseconds() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

}  // namespace platform::audio
