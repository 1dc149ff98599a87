#include "platform/foundation/FolderWatch.h"

#include <QByteArray>

#include <fcntl.h>
#include <linux/magic.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/vfs.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <iterator>

namespace platform {

FolderWatch::FolderWatch()
    : notices_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)),
      mounts_(::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC)) {
    // Mounts count from here on.
    takeNotices([](const Notice&) {});
}

bool FolderWatch::isLocal(int folder) {
    // Those that <linux/magic.h> leaves out: HFS+, JFS, NTFS, UDF, ZFS, bcachefs.
    constexpr quint32 kLocal[] = {EXT4_SUPER_MAGIC,  XFS_SUPER_MAGIC,
                                  BTRFS_SUPER_MAGIC, TMPFS_MAGIC,
                                  F2FS_SUPER_MAGIC,  OVERLAYFS_SUPER_MAGIC,
                                  RAMFS_MAGIC,       MSDOS_SUPER_MAGIC,
                                  ISOFS_SUPER_MAGIC, SQUASHFS_MAGIC,
                                  NILFS_SUPER_MAGIC, REISERFS_SUPER_MAGIC,
                                  EXFAT_SUPER_MAGIC, 0x482B,
                                  0x3153464A,        0x7366746E,
                                  0x15013346,        0x2FC12FC1,
                                  0xCA451A4E};
    struct statfs system = {};
    if (::fstatfs(folder, &system) != 0) return false;
    return std::find(std::begin(kLocal), std::end(kLocal), static_cast<quint32>(system.f_type)) !=
           std::end(kLocal);
}

int FolderWatch::add(int folder) const {
    constexpr uint32_t kMask = IN_CREATE | IN_DELETE | IN_MOVE | IN_MODIFY | IN_CLOSE_WRITE |
                               IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;
    if (!notices_ || !mounts_) return -1;
    // By what is open, as its path may be another's by now.
    const QByteArray path = "/proc/self/fd/" + QByteArray::number(folder);
    const int watch = ::inotify_add_watch(notices_.number(), path.constData(), kMask);
    if (watch > 0) return watch;
    return errno == EACCES ? 0 : -1;
}

void FolderWatch::remove(int watch) const {
    ::inotify_rm_watch(notices_.number(), watch);
}

bool FolderWatch::takeNotices(const std::function<void(const Notice&)>& take) const {
    bool isComplete = true;
    alignas(inotify_event) std::array<char, std::size_t{64} << 10> buffer;
    ssize_t count = 0;
    while ((count = ::read(notices_.number(), buffer.data(), buffer.size())) > 0) {
        inotify_event event = {};
        for (ssize_t at = 0; at < count; at += ssize_t(sizeof event) + event.len) {
            std::memcpy(&event, buffer.data() + at, sizeof event);
            if (event.mask & IN_Q_OVERFLOW) {
                isComplete = false;
                continue;
            }
            // The name is filled up with NULs.
            const QByteArrayView name =
                event.len > 0 ? QByteArrayView(buffer.data() + at + sizeof event) : "";
            take({event.wd, name, (event.mask & IN_IGNORED) != 0});
        }
    }
    // Tells each change once, to whoever asks first.
    pollfd mounts = {mounts_.number(), POLLPRI, 0};
    return ::poll(&mounts, 1, 0) == 0 && isComplete;
}

}  // namespace platform
