#include "platform/foundation/FileIdentity.h"
#include "platform/store/Store.h"
#include "tests/platform/foundation/TestFiles.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <random>

namespace platform {
namespace {

using Records = std::vector<Store::Record>;

QByteArray keyOf(int i) {
    return "key " + QByteArray::number(i);
}

// The value tells its key, so that none can pass for another's.
QByteArray valueOf(int i) {
    return QByteArray(60, 'v') + keyOf(i);
}

Records recordsFrom(int first, int count) {
    Records records;
    for (int i = first; i < first + count; ++i)
        records.push_back({keyOf(i), valueOf(i)});
    return records;
}

class StoreFile : public testing::Test {
  protected:
    // How many of the first `count` are there; each must be right.
    static int found(Store& store, int count, const QByteArray& table = "songs") {
        std::vector<QByteArray> keys;
        for (int i = 0; i < count; ++i)
            keys.push_back(keyOf(i));
        const auto values = store.values(table, keys);
        int found = 0;
        for (int i = 0; i < count; ++i) {
            if (!values[size_t(i)]) continue;
            EXPECT_EQ(*values[size_t(i)], valueOf(i));
            ++found;
        }
        return found;
    }
    QByteArray bytes() const { return dataWithContentsOfFile(path_).value_or(QByteArray()); }
    void overwrite(const QByteArray& content) const {
        QFile file(path_);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        file.write(content);
    }
    // Runs `work` in a process of its own until it ends by itself or by a signal.
    template <typename Work>
    static pid_t inAnotherProgram(const Work& work) {
        const pid_t child = ::fork();
        if (child == 0) {
            work();
            ::_exit(0);
        }
        return child;
    }
    static int statusOf(pid_t child) {
        int status = 0;
        ::waitpid(child, &status, 0);
        return status;
    }

    QTemporaryDir folder_;
    const QString path_ = folder_.filePath(QStringLiteral("cache/own/store"));
};

TEST_F(StoreFile, KeepsWhatIsPutForItsOwnerAlone) {
    {
        Store store(path_);
        EXPECT_EQ(found(store, 3), 0);
        EXPECT_TRUE(store.put("songs", recordsFrom(0, 3)));
        EXPECT_TRUE(store.put("songs", {{keyOf(1), valueOf(1)}, {"", ""}}));
    }
    Store store(path_);
    EXPECT_EQ(found(store, 4), 3);
    EXPECT_EQ(found(store, 4, "others"), 0);
    EXPECT_EQ(store.values("songs", {""})[0], QByteArray(""));
    struct stat status = {};
    ::stat(path_.toUtf8().constData(), &status);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    ::stat(QFileInfo(path_).path().toUtf8().constData(), &status);
    EXPECT_EQ(status.st_mode & 0777, 0700u);
}

TEST_F(StoreFile, StaysWithinItsBoundAndDropsTheOldest) {
    constexpr qint64 kBound = qint64{1} << 20;
    constexpr int kRecords = 30'000;
    Store store(path_, kBound);
    for (int i = 0; i < kRecords; i += 500) {
        ASSERT_TRUE(store.put("songs", recordsFrom(i, 500)));
        ASSERT_LE(QFileInfo(path_).size(), kBound);
    }
    const auto values = store.values("songs", {keyOf(0), keyOf(kRecords - 1)});
    EXPECT_FALSE(values[0]);
    EXPECT_TRUE(values[1]);
    EXPECT_GT(found(store, kRecords), 3000);
    EXPECT_FALSE(store.put("songs", {{"large", QByteArray(2 * kBound, 'x')}}));
}

TEST_F(StoreFile, DamageIsNeverAValue) {
    constexpr int kRecords = 400;
    {
        Store store(path_);
        ASSERT_TRUE(store.put("songs", recordsFrom(0, kRecords)));
    }
    const QByteArray whole = bytes();
    ASSERT_GT(whole.size(), 40'000);
    std::mt19937 random(1);
    int lost = 0;
    for (int round = 0; round < 300; ++round) {
        QByteArray damaged = whole;
        const auto at = static_cast<qsizetype>(random() % static_cast<unsigned>(whole.size()));
        switch (round % 4) {
            case 0:
                damaged[at] = static_cast<char>(damaged[at] ^ (1 << random() % 8));
                break;
            case 1:
                for (qsizetype i = at; i < std::min(at + 512, whole.size()); ++i)
                    damaged[i] = static_cast<char>(random());
                break;
            case 2:
                damaged.truncate(at);
                break;
            default:  // one page in another's place
                damaged.replace(at / 4096 * 4096, 4096,
                                whole.mid(qsizetype(random() % 10) * 4096, 4096));
        }
        // Every other time under a store that is open.
        Store store(path_);
        overwrite(whole);
        if (round % 2 == 0) {
            EXPECT_EQ(found(store, kRecords), kRecords);
        }
        overwrite(damaged);
        lost += kRecords - found(store, kRecords);
        store.put("songs", recordsFrom(kRecords, 1));
        Store next(path_);
        found(next, kRecords);
        next.put("songs", recordsFrom(0, kRecords));
    }
    EXPECT_GT(lost, 0);
}

TEST_F(StoreFile, ForeignContentGivesWayAndWhatIsNoFileStays) {
    Store(path_).put("songs", {});
    const QByteArray another = bytes().replace(68, 4, "else");  // the application in its header
    for (const QByteArray& content : {QByteArray("A letter to someone.\n"), another}) {
        overwrite(content);
        Store store(path_);
        EXPECT_TRUE(store.put("songs", recordsFrom(0, 1)));
        EXPECT_EQ(found(store, 2), 1);
    }
    {
        Store store(path_);
        EXPECT_EQ(found(store, 1), 1);
        QFile::remove(path_);
        EXPECT_TRUE(store.put("songs", recordsFrom(1, 1)));
        EXPECT_EQ(found(store, 3), 1);
    }
    QFile::remove(path_);
    const QByteArray name = path_.toUtf8();
    const QString target = folder_.filePath(QStringLiteral("mine"));
    for (int kind = 0; kind < 3; ++kind) {
        if (kind == 0) ::mkdir(name.constData(), 0700);
        if (kind == 1) ::mkfifo(name.constData(), 0600);
        if (kind == 2) QFile::link(target, path_);
        Store store(path_);
        EXPECT_FALSE(store.put("songs", recordsFrom(0, 1)));
        EXPECT_EQ(found(store, 1), 0);
        EXPECT_EQ(::remove(name.constData()), 0);
    }
    EXPECT_FALSE(QFile::exists(target));
}

TEST_F(StoreFile, AFullDiskOrAKillAtAnyWriteLeavesBeforeOrAfter) {
    constexpr int kRecords = 300;
    // A limit to the files' size fails, or ends the program at, the first write beyond it.
    for (const bool isKilled : {false, true}) {
        for (rlim_t limit = 0; limit < 120'000; limit += 1500) {
            QFile::remove(path_);
            Store(path_).put("songs", recordsFrom(0, 20));
            const int status = statusOf(inAnotherProgram([&] {
                ::signal(SIGXFSZ, isKilled ? SIG_DFL : SIG_IGN);
                const rlimit none = {0, 0};
                ::setrlimit(RLIMIT_CORE, &none);
                const rlimit bound = {limit, limit};
                ::setrlimit(RLIMIT_FSIZE, &bound);
                Store(path_).put("songs", recordsFrom(20, kRecords - 20));
            }));
            EXPECT_TRUE(WIFEXITED(status) || WTERMSIG(status) == SIGXFSZ);
            Store store(path_);
            const int left = found(store, kRecords);
            EXPECT_TRUE(left == 20 || left == kRecords) << left << " at " << limit;
            EXPECT_TRUE(store.put("songs", recordsFrom(0, kRecords)));
            EXPECT_EQ(found(store, kRecords), kRecords);
        }
    }
}

TEST_F(StoreFile, ProgramsShareItAndDieInTheMiddle) {
    std::mt19937 random(2);
    for (int round = 0; round < 15; ++round) {
        pid_t writers[2] = {};
        for (pid_t& writer : writers) {
            writer = inAnotherProgram([this] {
                Store store(path_);
                for (int i = 0;; i = (i + 50) % 2000)
                    store.put("songs", recordsFrom(i, 50));
            });
        }
        Store store(path_);
        for (int i = 0; i < 20; ++i)
            found(store, 500);
        ::usleep(random() % 20'000);
        for (const pid_t writer : writers) {
            ::kill(writer, SIGKILL);
            EXPECT_EQ(statusOf(writer), SIGKILL);
        }
        EXPECT_TRUE(store.put("songs", recordsFrom(5000, 1)));
        EXPECT_EQ(found(store, 2000) % 50, 0);
    }
}

TEST(FileIdentity, TellsEveryStateOfAFileFromAnother) {
    struct stat status = {};
    const FileIdentity first = FileIdentity::of(status);
    status.st_ctim = {1000, 5};
    const FileIdentity second = FileIdentity::of(status);
    EXPECT_NE(first.key(), second.key());
    EXPECT_FALSE(second.isSettled(1'001'000'000'000));
    EXPECT_TRUE(second.isSettled(1'002'000'000'005));
    status.st_mtim = {1001, 0};
    EXPECT_FALSE(FileIdentity::of(status).isSettled(1'002'000'000'005));
}

}  // namespace
}  // namespace platform
