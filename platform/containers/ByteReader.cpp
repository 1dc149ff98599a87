#include "platform/containers/ByteReader.h"

#include "platform/foundation/Path.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace platform {

std::optional<ByteReader> ByteReader::open(const QString& path) {
    struct stat status = {};
    return open(AT_FDCWD, fileSystemRepresentation(path).constData(), status);
}

std::optional<ByteReader> ByteReader::open(int folder, const char* name, struct stat& status) {
    // O_NONBLOCK: a FIFO would wait for a writer. O_NOCTTY: a terminal would become ours.
    const int descriptor = ::openat(folder, name, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0) return std::nullopt;
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        ::close(descriptor);
        return std::nullopt;
    }
    return ByteReader(descriptor, status.st_size);
}

ByteReader::ByteReader(QByteArray content)
    : size_(content.size()), window_(std::move(content)), windowLength_(window_.size()) {}

ByteReader::ByteReader(ByteReader&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)),
      size_(other.size_),
      window_(std::move(other.window_)),
      windowLength_(other.windowLength_),
      windowOffset_(other.windowOffset_),
      hasFailed_(other.hasFailed_),
      readsLeft_(other.readsLeft_),
      bytesLeft_(other.bytesLeft_) {}

ByteReader::~ByteReader() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

QByteArrayView ByteReader::view(qint64 offset, qint64 length) {
    if (offset < 0 || offset >= size_ || length <= 0) return {};
    length = std::min({length, size_ - offset, qint64{kLargestView}});
    const bool inside = offset >= windowOffset_ && offset + length <= windowOffset_ + windowLength_;
    if (!inside) {
        if (descriptor_ >= 0) {
            const qsizetype wanted = static_cast<qsizetype>(
                std::min(std::max(length, qint64{kViewSize}), size_ - offset));
            if (window_.size() < wanted) window_.resize(wanted);
            windowOffset_ = offset;
            windowLength_ = readAt(offset, window_.data(), wanted);
        }
        length = std::min(length, windowOffset_ + windowLength_ - offset);
    }
    return QByteArrayView(window_).sliced(static_cast<qsizetype>(offset - windowOffset_),
                                          static_cast<qsizetype>(length));
}

QByteArray ByteReader::copy(qint64 offset, qint64 length) {
    if (offset < 0 || offset >= size_ || length <= 0) return {};
    length = std::min(length, size_ - offset);
    if (descriptor_ < 0)
        return spend(length)
                   ? window_.mid(static_cast<qsizetype>(offset), static_cast<qsizetype>(length))
                   : QByteArray();
    if (length > bytesLeft_) return {};
    QByteArray bytes(static_cast<qsizetype>(length), Qt::Uninitialized);
    bytes.truncate(readAt(offset, bytes.data(), bytes.size()));
    return bytes;
}

bool ByteReader::spend(qint64 bytes) {
    bytesLeft_ = bytes <= bytesLeft_ ? bytesLeft_ - bytes : -1;
    return bytesLeft_ >= 0;
}

qsizetype ByteReader::readAt(qint64 offset, char* into, qsizetype length) {
    if (readsLeft_ <= 0 || !spend(length)) return 0;
    --readsLeft_;
    qsizetype filled = 0;
    while (filled < length) {
        const ssize_t count = ::pread(descriptor_, into + filled,
                                      static_cast<std::size_t>(length - filled), offset + filled);
        if (count < 0 && errno == EINTR) continue;
        hasFailed_ |= count < 0;
        if (count <= 0) break;
        filled += count;
    }
    return filled;
}

}  // namespace platform
