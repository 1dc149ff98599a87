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

/// Runs `body` on a thread of its own that nobody waits for, as one that asks a disk may never end;
/// false, and nothing is run, where there is none to be had.
template <typename Body>
bool startApart(Body body) {
    std::thread thread;
    startIfNeeded(thread, std::move(body));
    if (!thread.joinable()) return false;
    thread.detach();
    return true;
}

}  // namespace platform::audio
