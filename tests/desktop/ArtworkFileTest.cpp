#include "desktop/ArtworkFile.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QUrl>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

const QByteArray kPicture = "a picture";

mode_t modeOf(const QString& path) {
    struct stat status = {};
    return ::lstat(qPrintable(path), &status) == 0 ? status.st_mode & 0777 : 0;
}

TEST(ArtworkFile, EachProgramHasItsOwnAndLeftoversGo) {
    const QTemporaryDir session;
    const QByteArray before = qgetenv("XDG_RUNTIME_DIR");
    qputenv("XDG_RUNTIME_DIR", session.path().toUtf8());
    const QString base = session.filePath(QStringLiteral("com.ovrelin.Pairdeck"));
    const mode_t mask = ::umask(0777);
    QString shown;
    {
        ArtworkFile first;
        shown = QUrl(first.urlOf(kPicture)).toLocalFile();
        ::umask(0);
        ArtworkFile second;
        const QString other = QUrl(second.urlOf(kPicture)).toLocalFile();
        EXPECT_NE(shown, other);
        for (const QString& file : {shown, other}) {
            EXPECT_TRUE(file.startsWith(base));
            EXPECT_EQ(QFileInfo(file).size(), kPicture.size());
            EXPECT_EQ(modeOf(file), 0600);
            EXPECT_EQ(modeOf(QFileInfo(file).path()), 0700);
        }
        EXPECT_EQ(modeOf(base), 0700);
        EXPECT_NE(first.urlOf(QByteArray("another")), QUrl::fromLocalFile(shown).toString());
        EXPECT_FALSE(QFile::exists(shown));
        EXPECT_EQ(first.urlOf(std::nullopt), QString());
    }
    ::umask(mask);
    const auto folders = [&] { return QDir(base).entryList(QDir::Dirs | QDir::NoDotAndDotDot); };
    EXPECT_EQ(folders(), QStringList());
    // What a crash leaves, and what is not ours.
    ASSERT_TRUE(QDir(base).mkpath(QStringLiteral("artwork-crash")));
    ASSERT_TRUE(QDir(base).mkpath(QStringLiteral("else")));
    QFile left(base + QStringLiteral("/artwork-crash/picture"));
    ASSERT_TRUE(left.open(QIODevice::WriteOnly));
    const ArtworkFile next;
    EXPECT_EQ(folders(), QStringList{QStringLiteral("else")});
    qputenv("XDG_RUNTIME_DIR", before);
}

}  // namespace
