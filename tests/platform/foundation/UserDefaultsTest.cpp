#include "platform/foundation/UserDefaults.h"
#include "tests/platform/foundation/TestFiles.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace platform {
namespace {

using testing::ElementsAre;
using testing::Optional;
using testing::SizeIs;

// What reaches the disk, in order, and the call that fails as a broken disk would.
std::vector<std::string> diskCalls;
std::string failingCall;

// Runs between the opening of a file and its locking, when another process may step in.
std::function<void()> beforeLock;

bool succeeds(const char* call) {
    diskCalls.emplace_back(call);
    errno = EIO;
    return failingCall != call;
}

}  // namespace

extern "C" int fsync(int descriptor) {
    struct stat status = {};
    ::fstat(descriptor, &status);
    return succeeds(S_ISDIR(status.st_mode) ? "flush folder" : "flush file")
               ? static_cast<int>(::syscall(SYS_fsync, descriptor))
               : -1;
}

extern "C" int flock(int descriptor, int operation) noexcept {
    if (const auto stepIn = std::exchange(beforeLock, nullptr)) stepIn();
    return static_cast<int>(::syscall(SYS_flock, descriptor, operation));
}

extern "C" int rename(const char* from, const char* to) noexcept {
    // Not by the older call, which newer processors' systems are without.
    return succeeds("rename") ? ::renameat(AT_FDCWD, from, AT_FDCWD, to) : -1;
}

namespace {

class UserDefaultsTest : public testing::Test {
  protected:
    QByteArray content() const { return dataWithContentsOfFile(file).value_or(QByteArray()); }
    QStringList entries() const { return QDir(folder.path()).entryList(QDir::Files); }
    ino_t inode() const {
        struct stat status = {};
        ::stat(qPrintable(file), &status);
        return status.st_ino;
    }

    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("defaults.json"));
};

DefaultsValue text(const char* utf8) {
    return QString::fromUtf8(utf8);
}

const QString kKey = QStringLiteral("key");
const QString kOther = QStringLiteral("other");

TEST_F(UserDefaultsTest, EveryTypeKeepsItsKindAndWhatIsNotOursStays) {
    writeFile(
        file,
        R"({"flag": true, "zero": 0, "least": -2147483648, "digit": "1", "path": "caf\udce9",)"
        R"( "large": 2147483648, "part": 1.5, "none": null, "list": [1, {"deep": "x"}]})");
    const QJsonObject before = QJsonDocument::fromJson(content()).object();
    {
        UserDefaults defaults(file);
        defaults.setValueForKey(1, kKey);
        defaults.setValueForKey(true, kKey + kKey);
        defaults.setValueForKey(QString(QChar(0xDCFF)) + u'/' + QChar(0xD83C), kOther);
        ASSERT_TRUE(defaults.synchronize());
    }
    const UserDefaults defaults(file);
    const auto value = [&](const char* key) { return defaults.valueForKey(QLatin1String(key)); };
    EXPECT_THAT(value("flag"), Optional(DefaultsValue(true)));
    EXPECT_THAT(value("zero"), Optional(DefaultsValue(0)));
    EXPECT_THAT(value("least"), Optional(DefaultsValue(std::numeric_limits<std::int32_t>::min())));
    EXPECT_THAT(value("digit"), Optional(text("1")));
    EXPECT_EQ(fileSystemRepresentation(std::get<QString>(*value("path"))), "caf\xE9");
    for (const char* key : {"large", "part", "none", "list"}) {
        ASSERT_TRUE(value(key)) << key;
        EXPECT_TRUE(std::holds_alternative<QJsonValue>(*value(key))) << key;
    }
    EXPECT_EQ(value("absent"), std::nullopt);
    EXPECT_THAT(value("key"), Optional(DefaultsValue(1)));
    EXPECT_THAT(value("keykey"), Optional(DefaultsValue(true)));
    EXPECT_THAT(value("other"),
                Optional(DefaultsValue(QString(QChar(0xDCFF)) + u'/' + QChar(0xD83C))));

    const QJsonObject after = QJsonDocument::fromJson(content()).object();
    for (const QString& key : before.keys())
        EXPECT_EQ(after.value(key), before.value(key)) << qPrintable(key);
}

TEST_F(UserDefaultsTest, RegisteredValuesAreFallbacksThatAreNeverWritten) {
    writeFile(file, R"({"key": 2})");
    const ino_t untouched = inode();
    {
        UserDefaults defaults(file);
        defaults.registerDefaults({{kKey, 0}, {kOther, false}});
        EXPECT_THAT(defaults.valueForKey(kKey), Optional(DefaultsValue(2)));
        EXPECT_THAT(defaults.valueForKey(kOther), Optional(DefaultsValue(false)));
        defaults.setValueForKey(2, kKey);
        EXPECT_TRUE(defaults.synchronize());
    }
    EXPECT_EQ(inode(), untouched) << "written without a change";

    UserDefaults defaults(file);
    EXPECT_EQ(defaults.valueForKey(kOther), std::nullopt);
    // A value equal to a registered one is none the less stored.
    defaults.registerDefaults({{kOther, false}});
    defaults.setValueForKey(false, kOther);
    ASSERT_TRUE(defaults.synchronize());
    EXPECT_THAT(UserDefaults(file).valueForKey(kOther), Optional(DefaultsValue(false)));
}

TEST_F(UserDefaultsTest, SavesItselfOnceForManyChangesAndAtTheApplicationsEnd) {
    UserDefaults defaults(file);
    QElapsedTimer sinceChange;
    sinceChange.start();
    while (!QFile::exists(file) && sinceChange.elapsed() < 10'000) {
        // Changes that go on don't put the save off.
        defaults.setValueForKey(static_cast<std::int32_t>(sinceChange.elapsed()), kKey);
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 20);
    }
    EXPECT_GE(sinceChange.elapsed(), 900) << "changes are not gathered";
    ASSERT_TRUE(QFile::exists(file));

    const ino_t saved = inode();
    defaults.setValueForKey(text("last"), kKey);
    EXPECT_EQ(inode(), saved);
    QTimer::singleShot(0, qApp, &QCoreApplication::quit);
    QCoreApplication::exec();
    EXPECT_THAT(UserDefaults(file).valueForKey(kKey), Optional(text("last")));
}

TEST_F(UserDefaultsTest, DamagedFilesCountAsEmptyAndAreAllKept) {
    QStringList kept;
    for (const QByteArray& content :
         QByteArrayList{"", "{\"key\": 1", "[1]", "{\"key\": \"\xFF\"}", QByteArray(4, '\0')}) {
        writeFile(file, content);
        UserDefaults defaults(file);
        EXPECT_EQ(defaults.valueForKey(kKey), std::nullopt) << content.constData();
        kept += file + (kept.isEmpty() ? QStringLiteral(".damaged")
                                       : QStringLiteral(".damaged.%1").arg(kept.size() + 1));
        EXPECT_EQ(dataWithContentsOfFile(kept.last()), content) << qPrintable(kept.last());
        defaults.setValueForKey(1, kKey);
        EXPECT_TRUE(defaults.synchronize());
        EXPECT_THAT(UserDefaults(file).valueForKey(kKey), Optional(DefaultsValue(1)));
    }
    EXPECT_EQ(dataWithContentsOfFile(kept[1]), QByteArray("{\"key\": 1"));

    // A folder in its place is no file of settings, and kept too.
    QFile::remove(file);
    QDir().mkpath(file + QStringLiteral("/inside"));
    EXPECT_EQ(UserDefaults(file).valueForKey(kKey), std::nullopt);
    EXPECT_TRUE(QFile::exists(file + QStringLiteral(".damaged.6/inside")));
    writeFile(file, R"({"key": 1})");

    // Damage that comes while the program runs costs no value either.
    UserDefaults defaults(file);
    writeFile(file, "{");
    defaults.setValueForKey(2, kOther);
    EXPECT_TRUE(defaults.synchronize());
    EXPECT_THAT(UserDefaults(file).valueForKey(kKey), Optional(DefaultsValue(1)));
}

TEST_F(UserDefaultsTest, AnUnreadableFileIsKeptAside) {
    // In a process of its own, which may become a user who can't read everything.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto isKept = [this] {
        constexpr uid_t kNobody = 65534;
        writeFile(file, R"({"key": 1})");
        for (const QString& path : {folder.path(), file})
            if (::geteuid() == 0 && ::chown(qPrintable(path), kNobody, kNobody) != 0) return false;
        ::chmod(qPrintable(file), 0);
        if (::geteuid() == 0 && ::setuid(kNobody) != 0) return false;
        UserDefaults defaults(file);
        const bool isEmpty = !defaults.valueForKey(kKey);
        defaults.setValueForKey(2, kKey);
        return isEmpty && defaults.synchronize() && entries().size() == 2 &&
               UserDefaults(file).valueForKey(kKey) == DefaultsValue(2);
    };
    EXPECT_EXIT(::_exit(isKept() ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST_F(UserDefaultsTest, GigabytesAreNotReadAndNoPlaceIsWrittenTo) {
    constexpr qint64 kGigabytes = qint64{3} << 30;
    QFile huge(file);
    ASSERT_TRUE(huge.open(QIODevice::WriteOnly) && huge.resize(kGigabytes));
    UserDefaults defaults(file);
    EXPECT_FALSE(QFile::exists(file));
    EXPECT_EQ(QFileInfo(file + QStringLiteral(".damaged")).size(), kGigabytes);
    defaults.setValueForKey(1, kKey);
    EXPECT_TRUE(defaults.synchronize());
    // Without a home there is no file.
    const QDir here;
    const QStringList before = here.entryList();
    UserDefaults homeless{QString()};
    homeless.setValueForKey(1, kKey);
    EXPECT_FALSE(homeless.synchronize());
    EXPECT_THAT(homeless.valueForKey(kKey), Optional(DefaultsValue(1)));
    EXPECT_EQ(here.entryList(), before);
}

TEST_F(UserDefaultsTest, WhatIsNoFileBehindALinkStaysAsItIs) {
    const QByteArray device = QFile::encodeName(folder.filePath(QStringLiteral("device")));
    // What /dev/null is, or for a user who may make none, a FIFO.
    const bool isMade = ::mknod(device.constData(), S_IFCHR | 0666, makedev(1, 3)) == 0 ||
                        ::mkfifo(device.constData(), 0600) == 0;
    ASSERT_TRUE(isMade);
    ASSERT_EQ(::symlink(device.constData(), qPrintable(file)), 0);
    struct stat before = {};
    ASSERT_EQ(::lstat(device.constData(), &before), 0);
    UserDefaults defaults(file);
    EXPECT_EQ(defaults.valueForKey(kKey), std::nullopt);
    defaults.setValueForKey(1, kKey);
    EXPECT_FALSE(defaults.synchronize());
    struct stat after = {};
    ASSERT_EQ(::lstat(device.constData(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_TRUE(QFileInfo(file).isSymLink());
    EXPECT_THAT(defaults.valueForKey(kKey), Optional(DefaultsValue(1)));
}

TEST_F(UserDefaultsTest, AChangeIsOnDiskBeforeSynchronizeReturns) {
    UserDefaults defaults(file);
    const auto changed = [&](std::int32_t value, const char* failing) {
        defaults.setValueForKey(value, kKey);
        diskCalls = {};
        failingCall = failing;
        const bool saved = defaults.synchronize();
        failingCall = {};
        return saved;
    };
    EXPECT_TRUE(changed(1, ""));
    EXPECT_THAT(diskCalls, ElementsAre("flush file", "rename", "flush folder"));
    for (const char* failing : {"flush file", "rename"}) {
        EXPECT_FALSE(changed(2, failing)) << failing;
        EXPECT_THAT(UserDefaults(file).valueForKey(kKey), Optional(DefaultsValue(1))) << failing;
        EXPECT_EQ(entries(), QStringList(QStringLiteral("defaults.json"))) << failing;
    }
    EXPECT_FALSE(changed(3, "flush folder")) << "it may not be there after a power cut";
    diskCalls = {};
    EXPECT_TRUE(defaults.synchronize());
    EXPECT_THAT(diskCalls, ElementsAre("flush file", "rename", "flush folder"));
    EXPECT_TRUE(defaults.synchronize());
    EXPECT_THAT(diskCalls, SizeIs(3)) << "written without a change";
}

TEST_F(UserDefaultsTest, WhatCannotBeReadJustNowIsNotTakenForDamaged) {
    writeFile(file, R"({"key": 1})");
    rlimit limit = {};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    const rlimit none = {.rlim_cur = 0, .rlim_max = limit.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &none);
    UserDefaults defaults(file);
    defaults.setValueForKey(2, kOther);
    EXPECT_FALSE(defaults.synchronize());
    ::setrlimit(RLIMIT_NOFILE, &limit);
    EXPECT_TRUE(defaults.synchronize());
    EXPECT_THAT(defaults.valueForKey(kKey), Optional(DefaultsValue(1)));
    EXPECT_EQ(entries(), QStringList(QStringLiteral("defaults.json")));
}

TEST_F(UserDefaultsTest, SymbolicLinksAndModesStayAsTheyAre) {
    const QByteArray target = QFile::encodeName(folder.filePath(QStringLiteral("kept/real.json")));
    ASSERT_EQ(::symlink("link.json", qPrintable(file)), 0);
    ASSERT_EQ(
        ::symlink(target.constData(), qPrintable(folder.filePath(QStringLiteral("link.json")))), 0);
    UserDefaults defaults(file);
    defaults.setValueForKey(1, kKey);
    ASSERT_TRUE(defaults.synchronize());  // the links point to nothing yet
    ASSERT_EQ(::chmod(target.constData(), 0640), 0);
    defaults.setValueForKey(2, kKey);
    ASSERT_TRUE(defaults.synchronize());

    EXPECT_TRUE(QFileInfo(file).isSymLink());
    struct stat status = {};
    ASSERT_EQ(::lstat(target.constData(), &status), 0);
    EXPECT_EQ(status.st_mode, S_IFREG | 0640);
    EXPECT_THAT(UserDefaults(file).valueForKey(kKey), Optional(DefaultsValue(2)));
}

TEST_F(UserDefaultsTest, TwoProcessesKeepEachOthersValues) {
    UserDefaults ours(file);
    UserDefaults theirs(file);
    ours.setValueForKey(1, kKey);
    theirs.setValueForKey(2, kOther);
    EXPECT_TRUE(ours.synchronize());
    EXPECT_TRUE(theirs.synchronize());
    EXPECT_THAT(theirs.valueForKey(kKey), Optional(DefaultsValue(1)));
    EXPECT_THAT(UserDefaults(file).valueForKey(kOther), Optional(DefaultsValue(2)));

    // While another one is writing, ours waits for its next turn.
    const int writer = ::open(qPrintable(file + QStringLiteral(".new")), O_CREAT | O_RDWR, 0600);
    ASSERT_EQ(::flock(writer, LOCK_EX), 0);
    ours.setValueForKey(3, kKey);
    EXPECT_FALSE(ours.synchronize());
    ::close(writer);
    EXPECT_TRUE(ours.synchronize());
    EXPECT_THAT(UserDefaults(file).valueForKey(kKey), Optional(DefaultsValue(3)));

    // The new file that ours has just opened becomes the other one's settings, and a next one
    // takes its name.
    const QByteArray others = R"({"other": 4})";
    beforeLock = [&] {
        writeFile(file + QStringLiteral(".new"), others);
        QFile::remove(file);
        QFile::rename(file + QStringLiteral(".new"), file);
        writeFile(file + QStringLiteral(".new"), "");
    };
    ours.setValueForKey(5, kKey);
    EXPECT_FALSE(ours.synchronize());
    EXPECT_EQ(content(), others);
    EXPECT_TRUE(ours.synchronize());
    EXPECT_THAT(UserDefaults(file).valueForKey(kOther), Optional(DefaultsValue(4)));
}

}  // namespace
}  // namespace platform
