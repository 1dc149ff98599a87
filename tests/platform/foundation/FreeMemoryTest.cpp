#include "platform/foundation/FreeMemory.h"
#include "tests/platform/foundation/TestFiles.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

namespace platform {
namespace {

constexpr qint64 kMegabyte = qint64{1} << 20;

class FreeMemory : public ::testing::Test {
  protected:
    void tell(const QString& name, const QByteArray& content) const {
        writeFile(root_.path() + name, content);
    }
    qint64 megabytes() const { return freeMemory(root_.path()) / kMegabyte; }

    QTemporaryDir root_;
};

TEST_F(FreeMemory, IsTheLeastThatMachineAndGroupsLeave) {
    tell(QStringLiteral("/proc/meminfo"),
         "MemTotal:  8388608 kB\nMemFree:  1024 kB\nMemAvailable:  4194304 kB\n");
    EXPECT_EQ(megabytes(), 4096);
    tell(QStringLiteral("/proc/self/cgroup"), "0::/user.slice/app:1.scope\n");
    const QString user = QStringLiteral("/sys/fs/cgroup/user.slice");
    tell(user + QStringLiteral("/app:1.scope/memory.max"), "max\n");
    tell(user + QStringLiteral("/app:1.scope/memory.current"), "1048576\n");
    EXPECT_EQ(megabytes(), 4096);
    // The group around it is limited, and half of what it uses is cache.
    tell(user + QStringLiteral("/memory.max"), "1073741824\n");
    tell(user + QStringLiteral("/memory.current"), "536870912\n");
    EXPECT_EQ(megabytes(), 512);
    tell(user + QStringLiteral("/memory.stat"),
         "anon 268435456\ninactive_file 134217728\nactive_file 134217728\n");
    EXPECT_EQ(megabytes(), 768);
    tell(user + QStringLiteral("/memory.current"), "2147483648\n");
    EXPECT_EQ(megabytes(), 0);
}

TEST_F(FreeMemory, KnowsTheOlderGroups) {
    tell(QStringLiteral("/proc/self/cgroup"), "9:name=systemd:/\n4:cpu,memory:/box\n0::/\n");
    const QString memory = QStringLiteral("/sys/fs/cgroup/memory");
    tell(memory + QStringLiteral("/memory.limit_in_bytes"), "9223372036854771712\n");
    tell(memory + QStringLiteral("/memory.usage_in_bytes"), "1048576\n");
    EXPECT_GT(megabytes(), 1 << 20);
    tell(memory + QStringLiteral("/box/memory.limit_in_bytes"), "104857600\n");
    tell(memory + QStringLiteral("/box/memory.usage_in_bytes"), "52428800\n");
    EXPECT_EQ(megabytes(), 50);
}

// A file that the process can't hold twice, as a container's packets may ask for, is refused; one
// that it can is read.
TEST_F(FreeMemory, BoundsWhatIsReadWhole) {
    const auto written = [this](qint64 size) {
        const QString path = root_.filePath(QString::number(size));
        writeFile(path, QByteArray(size, 'm'));
        return path;
    };
    const QString small = written(8 * kMegabyte);
    const QString large = written(96 * kMegabyte);
    rlimit before = {};
    for (const auto resource : {RLIMIT_AS, RLIMIT_DATA}) {
        ASSERT_EQ(::getrlimit(resource, &before), 0);
        QFile statm(QStringLiteral("/proc/self/statm"));
        ASSERT_TRUE(statm.open(QIODevice::ReadOnly));
        const QByteArrayList pages = statm.readAll().split(' ');
        const auto used = pages[resource == RLIMIT_AS ? 0 : 5].toULongLong() *
                          static_cast<rlim_t>(::sysconf(_SC_PAGESIZE));
        const rlimit tight = {used + 240 * kMegabyte, before.rlim_max};
        ASSERT_EQ(::setrlimit(resource, &tight), 0);
        EXPECT_EQ(dataWithContentsOfFile(small).value_or(QByteArray()).size(), 8 * kMegabyte);
        EXPECT_EQ(dataWithContentsOfFile(large), std::nullopt);
        ASSERT_EQ(::setrlimit(resource, &before), 0);
    }
    EXPECT_EQ(dataWithContentsOfFile(large).value_or(QByteArray()).size(), 96 * kMegabyte);
}

// What was never written to is no music, however much of it there is.
TEST_F(FreeMemory, EndsAFileAtItsFirstLongHole) {
    const QString path = root_.filePath(QStringLiteral("sparse"));
    writeFile(path, QByteArray(kMegabyte, 'm'));
    ASSERT_TRUE(QFile::resize(path, 4096 * kMegabyte));
    const QByteArray content = dataWithContentsOfFile(path).value_or(QByteArray());
    EXPECT_GE(content.size(), kMegabyte);
    EXPECT_LE(content.size(), 2 * kMegabyte);
    ASSERT_TRUE(QFile::resize(path, 9 * kMegabyte));
    EXPECT_EQ(dataWithContentsOfFile(path).value_or(QByteArray()).size(), 9 * kMegabyte);
}

}  // namespace
}  // namespace platform
