#include "desktop/ArtworkFile.h"

#include "platform/foundation/Bundle.h"
#include "platform/foundation/ConfigurationFolder.h"
#include "platform/foundation/Path.h"

#include <QCryptographicHash>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>

namespace {

namespace fs = std::filesystem;

constexpr const char* kPrefix = "/artwork-";

QByteArray baseFolder() {
    const QString session = platform::runtimeFolder();
    const QString folder = session.isEmpty() ? platform::cacheFolder() : session;
    if (folder.isEmpty()) return {};
    return platform::fileSystemRepresentation(folder + QLatin1Char('/') +
                                              platform::Bundle::mainBundle().bundleIdentifier());
}

/// The open folder once it is locked; -1 when somebody has it, or it is gone.
int lockFolder(const char* path) {
    const int folder = ::open(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    struct stat opened = {};
    struct stat named = {};
    // Between the opening and the locking, its owner may have removed it.
    const bool isOurs = folder >= 0 && ::flock(folder, LOCK_EX | LOCK_NB) == 0 &&
                        ::fstat(folder, &opened) == 0 && ::lstat(path, &named) == 0 &&
                        opened.st_ino == named.st_ino && opened.st_dev == named.st_dev;
    if (!isOurs && folder >= 0) ::close(folder);
    return isOurs ? folder : -1;
}

void clear(const QByteArray& folder) {
    std::error_code error;
    for (fs::directory_iterator entry(folder.constData(), error), end; !error && entry != end;
         entry.increment(error))
        ::unlink(entry->path().c_str());
}

void removeLeftovers(const QByteArray& base) {
    std::error_code error;
    for (fs::directory_iterator entry(base.constData(), error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string path = entry->path().native();
        if (path.find(kPrefix) == std::string::npos) continue;
        const int folder = lockFolder(path.c_str());
        if (folder < 0) continue;
        clear(QByteArray::fromStdString(path));
        ::rmdir(path.c_str());
        ::close(folder);
    }
}

bool write(const QByteArray& file, const QByteArray& content) {
    const int descriptor =
        ::open(file.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (descriptor < 0) return false;
    // Whatever the mask leaves of the mode.
    bool isWhole = ::fchmod(descriptor, 0600) == 0;
    qsizetype done = 0;
    while (isWhole && done < content.size()) {
        const ssize_t count = ::write(descriptor, content.constData() + done,
                                      static_cast<size_t>(content.size() - done));
        if (count < 0 && errno == EINTR) continue;
        isWhole = count > 0;
        done += count;
    }
    ::close(descriptor);
    return isWhole;
}

}  // namespace

ArtworkFile::ArtworkFile() : base_(baseFolder()) {
    if (!base_.isEmpty()) removeLeftovers(base_);
}

ArtworkFile::~ArtworkFile() {
    if (descriptor_ < 0) return;
    clear(folder_);
    ::rmdir(folder_.constData());
    ::close(descriptor_);
}

bool ArtworkFile::makeFolder() {
    if (descriptor_ >= 0) return true;
    if (base_.isEmpty()) return false;
    std::error_code error;
    fs::create_directories(fs::path(base_.constData()).parent_path(), error);
    if (::mkdir(base_.constData(), 0700) == 0) ::chmod(base_.constData(), 0700);
    // A program that starts just now may take the folder for a leftover before it is locked.
    for (int attempt = 0; attempt < 8 && descriptor_ < 0; ++attempt) {
        folder_ = base_ + kPrefix + "XXXXXX";
        if (!::mkdtemp(folder_.data())) return false;
        ::chmod(folder_.constData(), 0700);
        descriptor_ = lockFolder(folder_.constData());
    }
    return descriptor_ >= 0;
}

QString ArtworkFile::urlOf(const std::optional<QByteArray>& picture) {
    if (picture == picture_) return url_;
    picture_ = picture;
    url_.clear();
    if (descriptor_ >= 0) clear(folder_);
    if (!picture || !makeFolder()) return url_;
    const QByteArray file =
        folder_ + '/' + QCryptographicHash::hash(*picture, QCryptographicHash::Sha1).toHex();
    if (write(file, *picture)) {
        url_ = QString::fromLatin1(
            platform::fileURLWithPath(platform::stringWithFileSystemRepresentation(file)));
    } else {
        ::unlink(file.constData());
    }
    return url_;
}
