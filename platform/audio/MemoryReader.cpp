#include "platform/audio/MemoryReader.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace platform::audio {

namespace {
constexpr int kBufferSize = 32 * 1024;
}

MemoryReader::MemoryReader(QByteArrayView bytes) : bytes_(bytes) {
    auto* buffer = static_cast<unsigned char*>(av_malloc(kBufferSize));
    if (!buffer) return;
    context_.reset(avio_alloc_context(buffer, kBufferSize, 0, this, &read, nullptr, &seek));
    if (!context_) av_free(buffer);
}

int MemoryReader::read(void* self, uint8_t* to, int capacity) {
    auto& reader = *static_cast<MemoryReader*>(self);
    const int64_t left = reader.bytes_.size() - reader.position_;
    if (left <= 0) return AVERROR_EOF;
    const int count = static_cast<int>(std::min<int64_t>(left, capacity));
    std::memcpy(to, reader.bytes_.data() + reader.position_, static_cast<size_t>(count));
    reader.position_ += count;
    return count;
}

int64_t MemoryReader::seek(void* self, int64_t offset, int whence) {
    auto& reader = *static_cast<MemoryReader*>(self);
    int64_t target = offset;
    switch (whence & ~AVSEEK_FORCE) {
        case AVSEEK_SIZE:
            return reader.bytes_.size();
        case SEEK_SET:
            break;
        case SEEK_CUR:
            target += reader.position_;
            break;
        case SEEK_END:
            target += reader.bytes_.size();
            break;
        default:
            return AVERROR(EINVAL);
    }
    if (target < 0) return AVERROR(EINVAL);
    return reader.position_ = target;
}

}  // namespace platform::audio
