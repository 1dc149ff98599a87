#pragma once

#include "platform/audio/FfmpegPointers.h"

#include <QByteArrayView>

namespace platform::audio {

/// Lets the container library read bytes held in memory as if they were a seekable file. Stays
/// where it is while a container is open on it; the bytes must outlive it.
class MemoryReader {
  public:
    explicit MemoryReader(QByteArrayView bytes);
    MemoryReader(const MemoryReader&) = delete;
    MemoryReader& operator=(const MemoryReader&) = delete;

    /// For AVFormatContext::pb; null when memory ran out.
    AVIOContext* context() { return context_.get(); }

  private:
    static int read(void* self, uint8_t* to, int capacity);
    static int64_t seek(void* self, int64_t offset, int whence);

    QByteArrayView bytes_;
    int64_t position_ = 0;
    IoContextPointer context_;
};

}  // namespace platform::audio
