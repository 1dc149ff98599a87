#include "platform/image/LargeBuffer.h"

#include <QPixelFormat>

#include <sys/mman.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <utility>

namespace platform {

namespace {

constexpr size_t kHugePage = size_t{2} << 20;

size_t roundedUp(size_t value, size_t unit) {
    return (value + unit - 1) / unit * unit;
}

}  // namespace

LargeBuffer::LargeBuffer(size_t bytes) {
    if (bytes == 0 || bytes > std::numeric_limits<size_t>::max() / 2) return;
    const size_t alignment = bytes >= kHugePage ? kHugePage : 1;
    // The kernel aligns a mapping to a small page only, so a huge page more is mapped (and never
    // touched) for the data to begin on one.
    const size_t mapped = bytes + (alignment - 1);
    void* const mapping =
        ::mmap(nullptr, mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapping == MAP_FAILED) return;
    mapping_ = mapping;
    mappingSize_ = mapped;
    const size_t skipped = roundedUp(reinterpret_cast<uintptr_t>(mapping), alignment) -
                           reinterpret_cast<uintptr_t>(mapping);
    data_ = static_cast<char*>(mapping) + skipped;
    size_ = bytes;
    // Only a hint: without huge pages the memory is as good, but slower to come by.
    if (alignment == kHugePage) ::madvise(data_, bytes, MADV_HUGEPAGE);
}

LargeBuffer::LargeBuffer(LargeBuffer&& other) noexcept {
    *this = std::move(other);
}

LargeBuffer& LargeBuffer::operator=(LargeBuffer&& other) noexcept {
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
    std::swap(mapping_, other.mapping_);
    std::swap(mappingSize_, other.mappingSize_);
    return *this;
}

LargeBuffer::~LargeBuffer() {
    if (mapping_) ::munmap(mapping_, mappingSize_);
}

bool LargeBuffer::reserve(size_t bytes) {
    if (bytes > size_) {
        *this = LargeBuffer();
        *this = LargeBuffer(bytes);
    }
    return size_ >= bytes;
}

QImage largeBitmap(QSize size, QImage::Format format) {
    if (size.isEmpty() || format == QImage::Format_Invalid) return {};
    const size_t bits = QImage::toPixelFormat(format).bitsPerPixel();
    // As QImage's own rows: its converters copy a row's padding into bitmaps of theirs.
    const size_t stride = roundedUp(static_cast<size_t>(size.width()) * bits, 32) / 8;
    auto buffer = std::make_unique<LargeBuffer>(stride * static_cast<size_t>(size.height()));
    if (!buffer->data()) return {};
    const auto release = [](void* owned) { delete static_cast<LargeBuffer*>(owned); };
    auto* const pixels = static_cast<uchar*>(buffer->data());
    QImage bitmap(pixels, size.width(), size.height(), static_cast<qsizetype>(stride), format,
                  release, buffer.get());
    // A null bitmap took no ownership.
    if (!bitmap.isNull()) static_cast<void>(buffer.release());
    return bitmap;
}

}  // namespace platform
