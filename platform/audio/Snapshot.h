#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace platform::audio {

/// A value that one thread publishes without ever waiting and others read whole: a sequence lock,
/// its payload in atomic words so that the race it allows is a defined one.
template <typename T>
class Snapshot {
    static_assert(std::is_trivially_copyable_v<T>);

  public:
    /// One thread only; waits for nobody.
    void publish(const T& value) {
        uint64_t raw[kWords] = {};
        std::memcpy(raw, &value, sizeof value);
        const uint32_t version = version_.load(std::memory_order_relaxed);
        version_.store(version + 1, std::memory_order_relaxed);
        // Who sees one of these words sees the odd version, too, and tries again.
        for (size_t i = 0; i < kWords; ++i)
            words_[i].store(raw[i], std::memory_order_release);
        version_.store(version + 2, std::memory_order_release);
    }

    /// The value published last; tries again while it is being replaced.
    T read() const {
        uint64_t raw[kWords] = {};
        uint32_t before = 0;
        do {
            before = version_.load(std::memory_order_acquire);
            for (size_t i = 0; i < kWords; ++i)
                raw[i] = words_[i].load(std::memory_order_acquire);
        } while (before % 2 != 0 || version_.load(std::memory_order_relaxed) != before);
        T value;
        std::memcpy(&value, raw, sizeof value);
        return value;
    }

  private:
    static constexpr size_t kWords = (sizeof(T) + sizeof(uint64_t) - 1) / sizeof(uint64_t);
    std::atomic<uint32_t> version_ = 0;
    std::atomic<uint64_t> words_[kWords] = {};
};

}  // namespace platform::audio
