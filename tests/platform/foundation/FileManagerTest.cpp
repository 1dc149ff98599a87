#include "platform/foundation/FileManager.h"
#include "platform/foundation/Path.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <dirent.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>

namespace {

// As file systems do that don't keep the entries' types with their names.
bool hidesTypes = false;

}  // namespace

extern "C" ssize_t getdents64(int folder, void* buffer, size_t size) noexcept {
    const long count = ::syscall(SYS_getdents64, folder, buffer, size);
    for (long at = 0; hidesTypes && at < count;) {
        char* const record = static_cast<char*>(buffer) + at;
        unsigned short length = 0;
        std::memcpy(&length, record + offsetof(dirent64, d_reclen), sizeof length);
        record[offsetof(dirent64, d_type)] = DT_UNKNOWN;
        at += length;
    }
    return count;
}

namespace platform {
namespace {

using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

class FileManagerListing : public ::testing::Test {
  protected:
    QString path(const QString& name) const { return root_.filePath(name); }

    void touch(const QByteArray& name) const {
        const QByteArray full = fileSystemRepresentation(root_.path()) + '/' + name;
        const int file = ::open(full.constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644);
        ASSERT_GE(file, 0);
        ::close(file);
    }

    // QTemporaryDir does not remove names that are not UTF-8.
    void TearDown() override {
        QProcess::execute(QStringLiteral("rm"), {QStringLiteral("-rf"), root_.path()});
    }

    QTemporaryDir root_;
};

TEST_F(FileManagerListing, ListsEveryKindAtEveryDepthWithoutFollowingLinks) {
    ASSERT_TRUE(QDir(root_.path()).mkpath(QStringLiteral("sub/.deep")));
    touch("sub/.deep/song.m4a");
    touch(".hidden");
    touch("caf\xE9\n.mp3");
    touch(QByteArray(255, 'n'));
    ASSERT_EQ(
        ::mkfifo(fileSystemRepresentation(path(QStringLiteral("pipe.mp3"))).constData(), 0600), 0);
    ASSERT_TRUE(QFile::link(root_.path(), path(QStringLiteral("sub/loop"))));
    ASSERT_TRUE(QFile::link(QStringLiteral("nowhere"), path(QStringLiteral("dangling"))));
    for (const bool hidden : {false, true}) {
        hidesTypes = hidden;
        EXPECT_THAT(
            FileManager::subpathsOfDirectoryAtPath(root_.path()),
            UnorderedElementsAre(QStringLiteral("sub"), QStringLiteral("sub/.deep"),
                                 QStringLiteral("sub/.deep/song.m4a"), QStringLiteral("sub/loop"),
                                 QStringLiteral(".hidden"), QStringLiteral("pipe.mp3"),
                                 QStringLiteral("dangling"), QString(255, QLatin1Char('n')),
                                 stringWithFileSystemRepresentation("caf\xE9\n.mp3")));
    }
    hidesTypes = false;
}

TEST_F(FileManagerListing, SiblingsStandInNaturalOrderAndAFolderBeforeItsContent) {
    const QStringList expected = {
        QStringLiteral(".hidden"),    QStringLiteral("Disc 2"),     QStringLiteral("Disc 2/a"),
        QStringLiteral("disc 10"),    QStringLiteral("disc 10/01"), QStringLiteral("disc 10/2"),
        QStringLiteral("disc 10/12"), QStringLiteral("\u00E9tude"), QStringLiteral("Etudes")};
    for (const QString& entry : {expected[8], expected[4], expected[2], expected[7], expected[6],
                                 expected[0], expected[5]})
        ASSERT_TRUE(QDir(root_.path()).mkpath(entry));
    EXPECT_THAT(FileManager::subpathsOfDirectoryAtPath(root_.path()), ElementsAreArray(expected));
}

TEST_F(FileManagerListing, WhatIsNoFolderHasNoEntries) {
    touch("file");
    EXPECT_THAT(FileManager::subpathsOfDirectoryAtPath(path(QStringLiteral("file"))), IsEmpty());
    EXPECT_THAT(FileManager::subpathsOfDirectoryAtPath(path(QStringLiteral("gone"))), IsEmpty());
    EXPECT_THAT(FileManager::subpathsOfDirectoryAtPath(QString()), IsEmpty());
}

TEST_F(FileManagerListing, DepthExhaustsNeitherPathsNorDescriptors) {
    constexpr int kDepth = 2000;
    int folder = ::open(fileSystemRepresentation(root_.path()).constData(), O_PATH | O_CLOEXEC);
    for (int i = 0; i < kDepth; ++i) {
        ASSERT_EQ(::mkdirat(folder, "down", 0700), 0);
        // Levels that are returned to and entered again elsewhere.
        if (i % 100 == 0) {
            ASSERT_EQ(::mkdirat(folder, "side", 0700), 0);
            ASSERT_EQ(::mkdirat(folder, "side/leaf", 0700), 0);
        }
        const int next = ::openat(folder, "down", O_PATH | O_CLOEXEC);
        ::close(folder);
        folder = next;
        ASSERT_GE(folder, 0);
    }
    ::close(folder);
    rlimit before = {};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit few = {200, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    const QStringList entries = FileManager::subpathsOfDirectoryAtPath(root_.path());
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(entries.size(), kDepth + 2 * kDepth / 100);
}

}  // namespace
}  // namespace platform
