#include "platform/foundation/Path.h"
#include "platform/media/MediaAsset.h"
#include "tests/platform/media/TagBytes.h"

#include <QTemporaryDir>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace platform {
namespace {

class MediaAssetFile : public ::testing::Test {
  protected:
    QString write(const QByteArray& name, const QByteArray& content) const {
        const QByteArray path = fileSystemRepresentation(folder_.path()) + '/' + name;
        const int file = ::open(path.constData(), O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0644);
        EXPECT_EQ(::write(file, content.constData(), static_cast<size_t>(content.size())),
                  content.size());
        ::close(file);
        return stringWithFileSystemRepresentation(path);
    }

    QTemporaryDir folder_;
};

TEST_F(MediaAssetFile, HasTheTextsAtOnceAndThePictureWhenAsked) {
    const QByteArray jpeg = QByteArrayLiteral("\xFF\xD8\xFF\xE0") + QByteArray(300'000, 'j');
    const QByteArray tag = id3Tag(
        4, id3Frame(4, "APIC", apic(jpeg)) + id3Frame(4, "TALB", encoded(3, "Album")) +
               id3Frame(4, "TPE1", encoded(3, "Artist")) + id3Frame(4, "TIT2", encoded(3, "")));
    const QString path = write("caf\xE9.mp3", tag);
    const MediaAsset asset = MediaAsset::URLAssetWithURL(path);
    EXPECT_EQ(asset.metadata().title, QString());
    EXPECT_EQ(asset.metadata().artist, QStringLiteral("Artist"));
    EXPECT_EQ(asset.metadata().album, QStringLiteral("Album"));
    EXPECT_EQ(asset.artwork(), jpeg);
    // Nothing was kept: the next answer is that of the file as it is then.
    write("caf\xE9.mp3", id3Tag(4, id3Frame(4, "APIC", apic("other"))));
    EXPECT_EQ(asset.artwork(), QByteArray("other"));
    ASSERT_EQ(::unlink(fileSystemRepresentation(path).constData()), 0);
    EXPECT_EQ(asset.artwork(), std::nullopt);
}

TEST_F(MediaAssetFile, WhatIsNoAudioFileHasNoTags) {
    for (const QString& path :
         {folder_.path(), folder_.filePath(QStringLiteral("gone.mp3")), QString(),
          write("empty.mp3", ""), write("text.mp3", "just some words"),
          write("zeros.m4a", nul(10'000)), write("bare.mp3", "\xFF\xFB\x90" + nul(1000))}) {
        SCOPED_TRACE(path.toStdString());
        const MediaAsset asset = MediaAsset::URLAssetWithURL(path);
        const Tags& tags = asset.metadata();
        EXPECT_FALSE(tags.title || tags.artist || tags.album || asset.artwork());
    }
}

}  // namespace
}  // namespace platform
