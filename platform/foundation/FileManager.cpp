#include "platform/foundation/FileManager.h"

#include "platform/foundation/NaturalOrder.h"
#include "platform/foundation/Path.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

namespace platform {

namespace {

QByteArrayView nameIn(const char* record) {
    return record + offsetof(dirent64, d_name);
}

// Where the entries' records begin in `records`, siblings in natural order.
std::vector<std::size_t> positionsIn(const std::vector<char>& records) {
    std::vector<std::size_t> stored;
    std::vector<QByteArrayView> names;
    unsigned short length = 0;
    for (std::size_t at = 0; at < records.size(); at += length) {
        const char* const record = records.data() + at;
        std::memcpy(&length, record + offsetof(dirent64, d_reclen), sizeof length);
        const QByteArrayView name = nameIn(record);
        if (name == "." || name == "..") continue;
        stored.push_back(at);
        names.push_back(name);
    }
    std::vector<std::size_t> positions;
    positions.reserve(stored.size());
    for (const std::uint32_t index : NaturalOrder::ofUser().sorted(names))
        positions.push_back(stored[index]);
    return positions;
}

// One folder on the way from the root to the one being listed. Its entries are read at once, so
// that its descriptor is needed only to open the folders in it.
struct Level {
    int descriptor = -1;
    std::vector<char> records;           // as getdents64 wrote them
    std::vector<std::size_t> positions;  // where each begins, in the order of listing
    std::size_t next = 0;                // of these positions
    qsizetype prefixLength = 0;
    dev_t device = 0;
    ino_t inode = 0;
};

class Listing {
  public:
    explicit Listing(QStringList& entries) : entries_(entries) {}

    void run(const QByteArray& root) {
        // The root may be a link: the user chose it.
        enter(::open(root.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        while (!levels_.empty()) {
            Level& level = levels_.back();
            if (level.next < level.positions.size())
                listNext(level);
            else
                leave();
        }
    }

  private:
    void listNext(Level& level) {
        const char* const record = level.records.data() + level.positions[level.next++];
        const QByteArrayView name = nameIn(record);
        prefix_.truncate(level.prefixLength);
        prefix_ += stringWithFileSystemRepresentation(name);
        entries_.append(QString(prefix_.constData(), prefix_.size()));
        const auto type = static_cast<unsigned char>(record[offsetof(dirent64, d_type)]);
        if (type != DT_DIR && type != DT_UNKNOWN) return;
        prefix_ += QLatin1Char('/');
        enter(::openat(level.descriptor, name.data(),
                       O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    }

    // Starts listing the folder open as `descriptor`, which from here on is this object's.
    void enter(int descriptor) {
        if (descriptor < 0) return;
        Level level;
        level.descriptor = descriptor;
        level.prefixLength = prefix_.size();
        for (;;) {
            const ssize_t count = ::getdents64(descriptor, buffer_.data(), buffer_.size());
            if (count <= 0) break;
            level.records.insert(level.records.end(), buffer_.data(), buffer_.data() + count);
        }
        level.positions = positionsIn(level.records);
        if (levels_.size() >= kOpenLevels) release(levels_[levels_.size() - kOpenLevels]);
        levels_.push_back(std::move(level));
    }

    // Closes the descriptor of a folder far above, noting what it is so as to know it again.
    static void release(Level& level) {
        struct stat status = {};
        if (::fstat(level.descriptor, &status) == 0) {
            level.device = status.st_dev;
            level.inode = status.st_ino;
        }
        ::close(level.descriptor);
        level.descriptor = -1;
    }

    void leave() {
        const int descriptor = levels_.back().descriptor;
        levels_.pop_back();
        if (!levels_.empty() && levels_.back().descriptor < 0) reopen(levels_.back(), descriptor);
        if (descriptor >= 0) ::close(descriptor);
    }

    // Opens `level` again from the folder `below` it; if that one has been moved elsewhere in the
    // meantime, the folders still to come are listed but not entered.
    static void reopen(Level& level, int below) {
        const int descriptor = ::openat(below, "..", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (descriptor < 0) return;
        struct stat status = {};
        if (::fstat(descriptor, &status) == 0 && status.st_dev == level.device &&
            status.st_ino == level.inode) {
            level.descriptor = descriptor;
        } else {
            ::close(descriptor);
        }
    }

    // Folders deeper than this close the descriptors of those far above, so that no depth exhausts
    // the process's descriptors.
    static constexpr std::size_t kOpenLevels = 64;

    QStringList& entries_;
    QString prefix_;
    std::vector<Level> levels_;
    alignas(dirent64) std::array<char, size_t{256} << 10> buffer_;
};

}  // namespace

QStringList FileManager::subpathsOfDirectoryAtPath(const QString& path) {
    QStringList entries;
    const auto listing = std::make_unique<Listing>(entries);
    listing->run(fileSystemRepresentation(path));
    return entries;
}

}  // namespace platform
