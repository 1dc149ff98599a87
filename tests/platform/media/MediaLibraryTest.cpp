#include "platform/foundation/Path.h"
#include "platform/media/MediaLibrary.h"
#include "platform/store/Store.h"

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

class MediaLibraryListing : public ::testing::Test {
  protected:
    // What a program that has just started finds below `path`; every name has this end.
    QStringList listed(const QString& path) const {
        Store store(store_.filePath(QStringLiteral("store")));
        MediaMemory memory(store);
        MediaLibrary library({""}, memory);
        MediaScan scan = library.scan(path, MediaLibrary::Proof::Status);
        QStringList paths;
        for (std::size_t i = 0; i < scan.size(); ++i) {
            EXPECT_TRUE(scan.path(i).startsWith(path + QLatin1Char('/')));
            paths += scan.path(i).mid(path.size() + 1);
        }
        return paths;
    }
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
    QTemporaryDir store_;
};

TEST_F(MediaLibraryListing, ListsEveryKindAtEveryDepthWithoutFollowingLinks) {
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
            listed(root_.path()),
            UnorderedElementsAre(QStringLiteral("sub"), QStringLiteral("sub/.deep"),
                                 QStringLiteral("sub/.deep/song.m4a"), QStringLiteral("sub/loop"),
                                 QStringLiteral(".hidden"), QStringLiteral("pipe.mp3"),
                                 QStringLiteral("dangling"), QString(255, QLatin1Char('n')),
                                 stringWithFileSystemRepresentation("caf\xE9\n.mp3")));
    }
    hidesTypes = false;
}

TEST_F(MediaLibraryListing, SiblingsStandInNaturalOrderAndAFolderBeforeItsContent) {
    const QStringList expected = {
        QStringLiteral(".hidden"),    QStringLiteral("Disc 2"),     QStringLiteral("Disc 2/a"),
        QStringLiteral("disc 10"),    QStringLiteral("disc 10/01"), QStringLiteral("disc 10/2"),
        QStringLiteral("disc 10/12"), QStringLiteral("\u00E9tude"), QStringLiteral("Etudes")};
    for (const QString& entry : {expected[8], expected[4], expected[2], expected[7], expected[6],
                                 expected[0], expected[5]})
        ASSERT_TRUE(QDir(root_.path()).mkpath(entry));
    EXPECT_THAT(listed(root_.path()), ElementsAreArray(expected));
}

TEST_F(MediaLibraryListing, WhatIsNoFolderHasNoEntries) {
    touch("file");
    EXPECT_THAT(listed(path(QStringLiteral("file"))), IsEmpty());
    EXPECT_THAT(listed(path(QStringLiteral("gone"))), IsEmpty());
    EXPECT_THAT(listed(QString()), IsEmpty());
}

TEST_F(MediaLibraryListing, DepthExhaustsNeitherPathsNorDescriptors) {
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
    const QStringList entries = listed(root_.path());
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(entries.size(), kDepth + 2 * kDepth / 100);
}

TEST_F(MediaLibraryListing, KeepsWhatEndsInASuffixAndIsAskedAnewForAnother) {
    for (const char* name : {"a.mp3", "b.MP3", "c.m4a", "mp3", ".mp3"})
        touch(name);
    Store store(store_.filePath(QStringLiteral("store")));
    MediaMemory memory(store);
    MediaLibrary songs({".mp3", ".m4a"}, memory);
    MediaLibrary others({"MP3"}, memory);
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(songs.scan(root_.path(), MediaLibrary::Proof::Notice).size(), 3U);
        EXPECT_EQ(others.scan(root_.path(), MediaLibrary::Proof::Notice).size(), 1U);
    }
    const quint64 version = songs.scan(root_.path(), MediaLibrary::Proof::Status).version();
    EXPECT_EQ(songs.scan(root_.path(), MediaLibrary::Proof::Notice).version(), version);
    // What no song is changes nothing.
    touch("d.txt");
    EXPECT_EQ(songs.scan(root_.path(), MediaLibrary::Proof::Notice).version(), version);
    touch("d.mp3");
    EXPECT_NE(songs.scan(root_.path(), MediaLibrary::Proof::Notice).version(), version);
}

}  // namespace
}  // namespace platform
