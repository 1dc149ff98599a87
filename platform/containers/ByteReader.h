#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

struct stat;

namespace platform {

/// Random access to the bytes of one file, in pieces and within bounds: however hostile the file,
/// one reader does at most kReads reads of at most kBytes in all, and never holds more than it was
/// asked for. Past the bounds, as past the end, there are no bytes.
class ByteReader {
  public:
    static constexpr qsizetype kViewSize = 4096;
    static constexpr qsizetype kLargestView = qsizetype{64} << 10;
    static constexpr int kReads = 1024;
    static constexpr qint64 kBytes = qint64{32} << 20;

    /// The regular file at `path`; absent for anything else. Never waits for a FIFO's writer and
    /// reads no device.
    static std::optional<ByteReader> open(const QString& path);
    /// The same of the file called `name` in the folder open as `folder`, its status in `status`
    /// if it could be opened; else errno tells why.
    static std::optional<ByteReader> open(int folder, const char* name, struct stat& status);
    /// The bytes of `content`.
    explicit ByteReader(QByteArray content);
    ~ByteReader();

    ByteReader(ByteReader&& other) noexcept;
    ByteReader(const ByteReader&) = delete;
    ByteReader& operator=(const ByteReader&) = delete;
    ByteReader& operator=(ByteReader&&) = delete;

    /// Length in bytes as the reader was made.
    qint64 size() const { return size_; }
    /// Whether bytes could not be read that are there.
    bool hasFailed() const { return hasFailed_; }
    /// The bytes from `offset` on, at most `length` and kLargestView of them, fewer at the end;
    /// valid until the next call. What lies around them is read along, a few KB, so that the next
    /// view is often there already.
    QByteArrayView view(qint64 offset, qint64 length);
    /// A copy of the bytes from `offset` on, at most `length` of them, fewer at the end.
    QByteArray copy(qint64 offset, qint64 length);
    /// Takes `bytes` from the bytes still allowed, for work that grows with what was read; false,
    /// for good, when there are not as many left.
    bool spend(qint64 bytes);

  private:
    ByteReader(int descriptor, qint64 size) : descriptor_(descriptor), size_(size) {}
    qsizetype readAt(qint64 offset, char* into, qsizetype length);

    int descriptor_ = -1;
    qint64 size_ = 0;
    QByteArray window_;
    qsizetype windowLength_ = 0;
    qint64 windowOffset_ = 0;
    bool hasFailed_ = false;
    int readsLeft_ = kReads;
    qint64 bytesLeft_ = kBytes;
};

}  // namespace platform
