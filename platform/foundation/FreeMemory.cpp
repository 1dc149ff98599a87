#include "platform/foundation/FreeMemory.h"

#include <QFile>
#include <QList>

#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <optional>

namespace platform {

namespace {

constexpr qint64 kUnlimited = std::numeric_limits<qint64>::max();

QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The number that the line of `text` beginning with `name` and blanks gives.
std::optional<qint64> numberIn(const QByteArray& text, QByteArrayView name) {
    for (const QByteArray& line : text.split('\n')) {
        if (!line.startsWith(name)) continue;
        const QByteArray rest = line.sliced(name.size());
        if (!rest.startsWith(' ') && !rest.startsWith('\t')) continue;
        bool ok = false;
        const qint64 number = rest.simplified().split(' ').first().toLongLong(&ok);
        if (ok) return number;
    }
    return std::nullopt;
}

qint64 freeInMachine(const QString& root) {
    const QByteArray text = contentOf(root + QStringLiteral("/proc/meminfo"));
    const auto kilobytes = numberIn(text, "MemAvailable:");
    return kilobytes ? *kilobytes << 10 : kUnlimited;
}

// What the two versions of the kernel's control groups call the same.
struct GroupFiles {
    QLatin1String mount;
    QLatin1String limit;
    QLatin1String used;
    std::initializer_list<const char*> caches;  // what is used, but given back when it is needed
};
const GroupFiles kGroups = {QLatin1String("/sys/fs/cgroup"),
                            QLatin1String("/memory.max"),
                            QLatin1String("/memory.current"),
                            {"inactive_file", "active_file"}};
const GroupFiles kOldGroups = {QLatin1String("/sys/fs/cgroup/memory"),
                               QLatin1String("/memory.limit_in_bytes"),
                               QLatin1String("/memory.usage_in_bytes"),
                               {"total_inactive_file", "total_active_file"}};

qint64 freeInGroup(const QString& folder, const GroupFiles& files) {
    bool isLimited = false;
    bool isTold = false;
    const qint64 limit =
        contentOf(folder + files.limit).trimmed().toLongLong(&isLimited);  // "max" is no number
    qint64 used = contentOf(folder + files.used).trimmed().toLongLong(&isTold);
    if (!isLimited || !isTold) return kUnlimited;
    const QByteArray statistics = contentOf(folder + QStringLiteral("/memory.stat"));
    for (const char* cache : files.caches)
        used -= numberIn(statistics, cache).value_or(0);
    return limit - std::max<qint64>(used, 0);
}

// The least that the process's group and those around it leave. In a container the folders far up
// may not be there, or the group be the root of what is seen.
qint64 freeInGroups(const QString& root) {
    qint64 least = kUnlimited;
    for (const QByteArray& line :
         contentOf(root + QStringLiteral("/proc/self/cgroup")).trimmed().split('\n')) {
        const QList<QByteArray> fields = line.split(':');
        if (fields.size() < 3) continue;
        const bool isOld = fields[1].split(',').contains("memory");
        if (!isOld && !fields[1].isEmpty()) continue;
        const GroupFiles& files = isOld ? kOldGroups : kGroups;
        QString group = QString::fromUtf8(line.sliced(fields[0].size() + fields[1].size() + 2));
        for (;;) {
            least = std::min(least, freeInGroup(root + files.mount + group, files));
            const qsizetype slash = group.lastIndexOf(QLatin1Char('/'));
            if (slash < 0) break;
            group.truncate(slash);
        }
    }
    return least;
}

qint64 freeBelowLimits(const QString& root) {
    // Sizes in pages: all of the address space, ..., data and stack (proc(5)).
    constexpr qsizetype kAll = 0;
    constexpr qsizetype kData = 5;
    const QList<QByteArray> pages =
        contentOf(root + QStringLiteral("/proc/self/statm")).simplified().split(' ');
    qint64 least = kUnlimited;
    for (const auto& [resource, field] : {std::pair{RLIMIT_AS, kAll}, {RLIMIT_DATA, kData}}) {
        rlimit limit = {};
        if (::getrlimit(resource, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) continue;
        const qint64 used = pages.value(field).toLongLong() * ::sysconf(_SC_PAGESIZE);
        least = std::min(least,
                         static_cast<qint64>(std::min<rlim_t>(limit.rlim_cur, kUnlimited)) - used);
    }
    return least;
}

}  // namespace

qint64 freeMemory(const QString& root) {
    const qint64 least = std::min({freeInMachine(root), freeInGroups(root), freeBelowLimits(root)});
    return std::max<qint64>(least, 0);
}

void returnFreedMemory() {
#ifdef __GLIBC__
    // Else the allocator keeps blocks as large as the largest that was freed yet, up to 32 MB, in
    // each thread that had one.
    constexpr int kLargeBlock = 1 << 20;
    ::mallopt(M_MMAP_THRESHOLD, kLargeBlock);
#endif
}

}  // namespace platform
