#include "platform/foundation/DefaultsFile.h"

#include "platform/foundation/Path.h"

#include <QJsonDocument>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace platform {

namespace {

// Far more than any program stores; what is larger was not written by one.
constexpr off_t kLargestFile = 8 << 20;

// Closes a file descriptor at the end of its scope.
class File {
  public:
    File(const QString& path, int flags)
        : descriptor_(::open(fileSystemRepresentation(path).constData(), flags | O_CLOEXEC, 0600)) {
    }
    ~File() {
        if (descriptor_ >= 0) ::close(descriptor_);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    bool isOpen() const { return descriptor_ >= 0; }
    int descriptor() const { return descriptor_; }

    // Some file systems can't flush (a folder) and say EINVAL; there is nothing more to be done.
    bool flush() const { return ::fsync(descriptor_) == 0 || errno == EINVAL; }

    bool write(QByteArrayView bytes) const {
        while (!bytes.isEmpty()) {
            const ssize_t count =
                ::write(descriptor_, bytes.data(), static_cast<size_t>(bytes.size()));
            if (count < 0 && errno == EINTR) continue;
            if (count <= 0) return false;
            bytes = bytes.sliced(count);
        }
        return true;
    }

  private:
    int descriptor_;
};

QString folderOf(const QString& path) {
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    return slash < 0 ? QStringLiteral(".") : path.first(qMax<qsizetype>(slash, 1));
}

bool flushFolder(const QString& folder) {
    const File file(folder, O_RDONLY | O_DIRECTORY);
    return file.isOpen() && file.flush();
}

// Makes `folder` and those above it, each on disk before the next.
bool makeFolder(const QString& folder) {
    const QByteArray name = fileSystemRepresentation(folder);
    if (::mkdir(name.constData(), 0700) == 0) return flushFolder(folderOf(folder));
    if (errno == EEXIST) return true;
    const QString parent = folderOf(folder);
    if (errno != ENOENT || parent == folder || !makeFolder(parent)) return false;
    return ::mkdir(name.constData(), 0700) == 0 && flushFolder(parent);
}

bool exists(const QString& path) {
    struct stat status = {};
    return ::lstat(fileSystemRepresentation(path).constData(), &status) == 0;
}

// Whether there is a file or folder at `path` that the program can never read settings from. What
// it can't read just now (for want of memory, or by a disk's fault) may be whole, and a device or a
// FIFO is somebody's who still needs it where it is.
bool isForbidden(const QString& path) {
    const QByteArray name = fileSystemRepresentation(path);
    struct stat status = {};
    return ::lstat(name.constData(), &status) == 0 &&
           (S_ISDIR(status.st_mode) ||
            (S_ISREG(status.st_mode) &&
             (status.st_size > kLargestFile || ::access(name.constData(), R_OK) != 0)));
}

// Gives `from` the name `to` if that is free; false otherwise, errno then EEXIST.
bool renameWithoutReplacing(const QByteArray& from, const QByteArray& to) {
    if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0) {
        return true;
    }
    // Network file systems don't know the flag.
    if (errno != EINVAL && errno != ENOSYS) return false;
    return ::link(from.constData(), to.constData()) == 0 && ::unlink(from.constData()) == 0;
}

void keepAside(const QString& path) {
    const QByteArray from = fileSystemRepresentation(path);
    QByteArray to = from + ".damaged";
    for (int number = 2; !renameWithoutReplacing(from, to) && errno == EEXIST; ++number) {
        to = from + ".damaged." + QByteArray::number(number);
    }
}

// The new file, locked; not open when another process has it.
class NewFile : public File {
  public:
    explicit NewFile(const QString& path)
        : File(path, O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK) {
        locked_ =
            isOpen() && (::flock(descriptor(), LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK);
        // Between the opening and the locking, another process may have put it in place.
        struct stat opened = {};
        struct stat named = {};
        locked_ = locked_ && ::fstat(descriptor(), &opened) == 0 &&
                  ::lstat(fileSystemRepresentation(path).constData(), &named) == 0 &&
                  opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
    }
    bool isLocked() const { return locked_; }

  private:
    bool locked_ = false;
};

// Whoever may read the settings now may do so after.
mode_t modeOf(const QString& path) {
    struct stat status = {};
    const bool known = ::stat(fileSystemRepresentation(path).constData(), &status) == 0;
    return known ? status.st_mode & 0777 : 0600;
}

}  // namespace

QString resolvedPath(const QString& path) {
    constexpr int kLongestChain = 40;  // as the kernel's own
    QString resolved = path;
    for (int link = 0; link < kLongestChain; ++link) {
        char target[4096];
        const ssize_t length =
            ::readlink(fileSystemRepresentation(resolved).constData(), target, sizeof target);
        if (length < 0) break;
        const QString next = stringWithFileSystemRepresentation(QByteArrayView(target, length));
        resolved =
            next.startsWith(QLatin1Char('/')) ? next : folderOf(resolved) + QLatin1Char('/') + next;
    }
    return resolved;
}

std::optional<QJsonObject> readDefaultsFile(const QString& path) {
    const bool forbidden = isForbidden(path);
    const auto content = forbidden ? std::nullopt : dataWithContentsOfFile(path);
    if (content) {
        const QJsonDocument document = QJsonDocument::fromJson(*content);
        if (document.isObject()) return document.object();
    }
    if (content || forbidden) keepAside(path);
    return std::nullopt;
}

std::optional<QJsonObject> updateDefaultsFile(const QString& path, const QJsonObject& known,
                                              const QJsonObject& changes) {
    const QString folder = folderOf(path);
    if (path.isEmpty() || !makeFolder(folder)) return std::nullopt;

    // By hand and not by QSaveFile, whose files have names of their own and no lock, and which
    // makes no folder and flushes none. The name is fixed, so that a killed process leaves at most
    // one such file, and locked, so that two processes neither mix their bytes nor lose each
    // other's values.
    const QString newPath = path + QStringLiteral(".new");
    const NewFile file(newPath);
    if (!file.isLocked()) return std::nullopt;

    const std::optional<QJsonObject> present = readDefaultsFile(path);
    QJsonObject values = present.value_or(known);
    for (auto change = changes.begin(); change != changes.end(); ++change) {
        values.insert(change.key(), change.value());
    }

    const QByteArray from = fileSystemRepresentation(newPath);
    const bool placeIsFree = present || !exists(path);
    const bool replaced =
        placeIsFree && ::ftruncate(file.descriptor(), 0) == 0 &&
        ::fchmod(file.descriptor(), modeOf(path)) == 0 &&
        file.write(QJsonDocument(values).toJson()) && file.flush() &&
        ::rename(from.constData(), fileSystemRepresentation(path).constData()) == 0;
    if (!replaced) {
        ::unlink(from.constData());
        return std::nullopt;
    }
    if (!flushFolder(folder)) return std::nullopt;
    return values;
}

}  // namespace platform
