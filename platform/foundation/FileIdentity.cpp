#include "platform/foundation/FileIdentity.h"

#include "platform/foundation/Path.h"

#include <QtEndian>

#include <sys/stat.h>

#include <algorithm>

namespace platform {

namespace {

constexpr qint64 kSecond = 1'000'000'000;

qint64 nanoseconds(const timespec& time) {
    // Times that do not fit are as good as any other, as long as they are always the same.
    return static_cast<qint64>(static_cast<quint64>(time.tv_sec) * quint64{kSecond} +
                               static_cast<quint64>(time.tv_nsec));
}

}  // namespace

FileIdentity FileIdentity::of(const struct stat& status) {
    return {status.st_dev, status.st_ino, status.st_size, nanoseconds(status.st_mtim),
            nanoseconds(status.st_ctim)};
}

std::optional<FileIdentity> FileIdentity::ofFile(const QString& path) {
    struct stat status = {};
    if (::stat(fileSystemRepresentation(path).constData(), &status) != 0) return std::nullopt;
    return of(status);
}

bool FileIdentity::isSettled(qint64 now) const {
    return std::max(modified, changed) <= now - 2 * kSecond;
}

QByteArray FileIdentity::key() const {
    const quint64 fields[] = {device, inode, static_cast<quint64>(size),
                              static_cast<quint64>(modified), static_cast<quint64>(changed)};
    QByteArray bytes(sizeof fields, Qt::Uninitialized);
    for (std::size_t i = 0; i < std::size(fields); ++i)
        qToLittleEndian(fields[i], bytes.data() + i * sizeof fields[i]);
    return bytes;
}

}  // namespace platform
