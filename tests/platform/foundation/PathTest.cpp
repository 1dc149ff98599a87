#include "platform/foundation/Path.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace platform
