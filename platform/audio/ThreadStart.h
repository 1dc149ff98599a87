#pragma once

#include <system_error>
#include <thread>
#include <utility>

namespace platform::audio {

/// Runs `body` on `thread` unless that runs already. Where the system gives no thread now, it does
/// nothing, and the next call tries again.
template <typename Body>
void startIfNeeded(std::thread& thread, Body body) {
    if (thread.joinable()) return;
    try {
        thread = std::thread(std::move(body));
    } catch (const std::system_error&) {
    }
}

}  // namespace platform::audio
