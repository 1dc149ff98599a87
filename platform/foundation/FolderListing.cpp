#include "platform/foundation/FolderListing.h"

#include "platform/foundation/NaturalOrder.h"

#include <QByteArray>
#include <QHashFunctions>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cstdint>
#include <cstring>

namespace platform {

namespace {

using Kind = FolderListing::Kind;

Kind kindOf(mode_t mode) {
    return S_ISREG(mode)   ? Kind::Regular
           : S_ISDIR(mode) ? Kind::Folder
           : S_ISLNK(mode) ? Kind::Link
                           : Kind::Other;
}

// Not every file system keeps its entries' kinds with their names.
Kind kindOf(unsigned char type, int folder, const char* name) {
    if (type != DT_UNKNOWN) return kindOf(DTTOIF(type));
    struct stat status = {};
    const bool isThere = ::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) == 0;
    return isThere ? kindOf(status.st_mode) : Kind::Other;
}

}  // namespace

Descriptor openFolder(int root, const QByteArray& path) {
    // The kernel takes no longer ones at a time.
    constexpr qsizetype kLongest = 4000;  // bytes
    constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    if (path.isEmpty()) return Descriptor(::openat(root, ".", kFlags));
    Descriptor above;
    qsizetype begin = 0;
    while (path.size() - begin > kLongest) {
        const qsizetype end = path.lastIndexOf('/', begin + kLongest);
        above = Descriptor(::openat(above ? above.number() : root,
                                    path.mid(begin, end - begin).constData(), kFlags));
        if (!above) return above;
        begin = end + 1;
    }
    return Descriptor(::openat(above ? above.number() : root, path.constData() + begin, kFlags));
}

FolderListing::FolderListing(int folder) {
    // Of one thread's listings only one reads at a time.
    alignas(dirent64) thread_local std::array<char, std::size_t{64} << 10> buffer;
    ::lseek(folder, 0, SEEK_SET);
    ssize_t count = 0;
    while ((count = ::getdents64(folder, buffer.data(), buffer.size())) > 0)
        records_.insert(records_.end(), buffer.data(), buffer.data() + count);
    isWhole_ = count == 0;
    unsigned short length = 0;
    for (std::size_t at = 0; at < records_.size(); at += length) {
        const char* const record = records_.data() + at;
        std::memcpy(&length, record + offsetof(dirent64, d_reclen), sizeof length);
        const QByteArrayView name = record + offsetof(dirent64, d_name);
        if (name == "." || name == "..") continue;
        const auto type = static_cast<unsigned char>(record[offsetof(dirent64, d_type)]);
        const Kind kind = kindOf(type, folder, name.data());
        entries_.push_back({name, kind});
        fingerprint_ = qHashBits(name.data(), std::size_t(name.size()),
                                 fingerprint_ * 31 + static_cast<unsigned char>(kind));
    }
}

std::vector<FolderListing::Entry> FolderListing::sorted(
    const std::function<bool(const Entry&)>& isWanted) const {
    std::vector<QByteArrayView> names;
    std::vector<std::size_t> wanted;
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        if (!isWanted(entries_[i])) continue;
        names.push_back(entries_[i].name);
        wanted.push_back(i);
    }
    std::vector<Entry> sorted;
    sorted.reserve(names.size());
    for (const std::uint32_t index : NaturalOrder::ofUser().sorted(names))
        sorted.push_back(entries_[wanted[index]]);
    return sorted;
}

}  // namespace platform
