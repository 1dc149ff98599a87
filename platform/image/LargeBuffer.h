#pragma once

#include <QImage>
#include <QSize>

#include <cstddef>

namespace platform {

/// Zeroed memory for pixels, aligned to 64 bytes and given back with the object. From 2 MiB on it
/// is aligned to and backed by huge pages where the system has them: the first touch of a
/// screen-sized picture costs a tenth of what it does in 4 KiB pages.
class LargeBuffer {
  public:
    LargeBuffer() = default;
    /// `data()` is nullptr when `bytes` is 0 or the system has no such memory to give.
    explicit LargeBuffer(size_t bytes);
    LargeBuffer(LargeBuffer&& other) noexcept;
    LargeBuffer& operator=(LargeBuffer&& other) noexcept;
    ~LargeBuffer();

    void* data() const { return data_; }
    size_t size() const { return size_; }
    /// Grows to at least `bytes`, dropping the content; false (and empty) when that fails.
    bool reserve(size_t bytes);

  private:
    void* data_ = nullptr;
    size_t size_ = 0;
    void* mapping_ = nullptr;
    size_t mappingSize_ = 0;
};

/// A zeroed bitmap of `size` whose pixels stand in a LargeBuffer, rows padded to 4 bytes; null when
/// the size is empty, the format has none or memory is short.
QImage largeBitmap(QSize size, QImage::Format format);

}  // namespace platform
