#include "platform/foundation/ConfigurationFolder.h"
#include "platform/foundation/Path.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <map>

namespace platform {
namespace {

TEST(Path, EveryByteStringSurvivesTheRoundTrip) {
    for (int first = 1; first < 256; ++first) {
        for (int second = 1; second < 256; ++second) {
            const char raw[] = {'a', static_cast<char>(first), static_cast<char>(second), 'z'};
            for (const QByteArray& bytes : {QByteArray(raw, 4), QByteArray(raw + 1, 2)}) {
                ASSERT_EQ(fileSystemRepresentation(stringWithFileSystemRepresentation(bytes)),
                          bytes);
            }
        }
    }
    const QByteArray wellFormed = QByteArrayLiteral("caf\xC3\xA9 \xF0\x9F\x8E\xB5.mp3");
    EXPECT_EQ(stringWithFileSystemRepresentation(wellFormed), QString::fromUtf8(wellFormed));
    // A surrogate encoded in three bytes is no valid UTF-8 and must not collapse, and what could
    // be a byte order mark is a character of the name.
    for (const QByteArray& bytes :
         {QByteArrayLiteral("\xED\xB2\x80"), QByteArrayLiteral("\xEF\xBB\xBF\xEF\xBB\xBFsong"),
          QByteArrayLiteral("\xFF\xEF\xBB\xBF\xFE"), QByteArrayLiteral("\xFF\xFE\xFE\xFF")})
        EXPECT_EQ(fileSystemRepresentation(stringWithFileSystemRepresentation(bytes)), bytes);
}

TEST(Path, WhatIsNoCharacterIsShownAsReplacement) {
    const QString path = stringWithFileSystemRepresentation("caf\xE9.mp3");
    EXPECT_EQ(displayString(path), QStringLiteral("caf\uFFFD.mp3"));
    EXPECT_EQ(displayString(QStringLiteral("\U0001F3B5")), QStringLiteral("\U0001F3B5"));
}

TEST(Path, LastComponent) {
    EXPECT_EQ(lastPathComponent(QStringLiteral("/Music/Song.mp3")), QStringLiteral("Song.mp3"));
    EXPECT_EQ(lastPathComponent(QStringLiteral("/Music/Live.mp3//")), QStringLiteral("Live.mp3"));
    EXPECT_EQ(lastPathComponent(QStringLiteral("Song.mp3")), QStringLiteral("Song.mp3"));
    EXPECT_EQ(lastPathComponent(QStringLiteral("///")), QStringLiteral("/"));
    EXPECT_EQ(lastPathComponent(QString()), QString());
}

class BaseFolders : public testing::Test {
  protected:
    void SetUp() override {
        for (const char* name : {"HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_RUNTIME_DIR"}) {
            if (qEnvironmentVariableIsSet(name)) before_[name] = qgetenv(name);
            qunsetenv(name);
        }
    }
    void TearDown() override {
        for (const char* name : {"HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_RUNTIME_DIR"}) {
            qunsetenv(name);
            if (before_.contains(name)) qputenv(name, before_[name]);
        }
    }

  private:
    std::map<std::string, QByteArray> before_;
};

TEST_F(BaseFolders, OnlyAbsoluteFoldersCount) {
    qputenv("HOME", "/home/ann/");
    for (const char* nothing : {"", "relative", "./config"}) {
        qputenv("XDG_CONFIG_HOME", nothing);
        qputenv("XDG_RUNTIME_DIR", nothing);
        EXPECT_EQ(configurationFolder(), QStringLiteral("/home/ann/.config")) << nothing;
        EXPECT_EQ(runtimeFolder(), QString()) << nothing;
    }
    qputenv("XDG_CONFIG_HOME", "/elsewhere");
    EXPECT_EQ(configurationFolders().first(), QStringLiteral("/elsewhere"));
    EXPECT_EQ(cacheFolder(), QStringLiteral("/home/ann/.cache"));
}

TEST_F(BaseFolders, TheUserDatabaseTellsTheHomeAndTheRootIsNone) {
    const passwd* entry = ::getpwuid(::getuid());
    if (!entry || QByteArray(entry->pw_dir).size() < 2) GTEST_SKIP() << "a user without a home";
    for (const char* nothing : {"", "relative"}) {
        qputenv("HOME", nothing);
        EXPECT_EQ(homeFolder().toUtf8(), entry->pw_dir);
        qputenv("XDG_CACHE_HOME", nothing);
        settleEnvironment();
        EXPECT_EQ(qgetenv("HOME"), entry->pw_dir) << "for libraries, too";
        EXPECT_FALSE(qEnvironmentVariableIsSet("XDG_CACHE_HOME"));
    }
    qputenv("HOME", "/");
    EXPECT_EQ(homeFolder(), QString());
    EXPECT_EQ(configurationFolder(), QString());
    EXPECT_FALSE(configurationFolders().contains(QStringLiteral("/.config")));
}

}  // namespace
}  // namespace platform
