#pragma once

#include <atomic>
#include <system_error>
#include <thread>
#include <vector>

namespace platform {

/// Calls `body(index, worker)` once for each index in [0, count), from `workers` threads at most,
/// the caller's among them; each worker has a number in [0, workers). Returns when all calls have.
/// Where the system gives no thread, the caller does the work alone.
template <typename Body>
void parallelFor(int count, int workers, const Body& body) {
    std::atomic<int> next{0};
    const auto work = [&](int worker) {
        for (int index = next++; index < count; index = next++)
            body(index, worker);
    };
    std::vector<std::jthread> helpers;
    try {
        for (int worker = 1; worker < workers && worker < count; ++worker)
            helpers.emplace_back(work, worker);
    } catch (const std::system_error&) {
    }
    work(0);
}

}  // namespace platform
