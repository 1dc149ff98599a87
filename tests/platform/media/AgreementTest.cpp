#include "platform/media/TagReader.h"
#include "tests/platform/media/TagBytes.h"

#include <apetag.h>
#include <attachedpictureframe.h>
#include <gtest/gtest.h>
#include <id3v1tag.h>
#include <id3v2tag.h>
#include <mp4file.h>
#include <mpegfile.h>
#include <tbytevectorstream.h>

namespace platform {
namespace {

// An MPEG file without its audio's properties; TagLib 2 has turned the arguments round.
struct MpegFile : TagLib::MPEG::File {
#if TAGLIB_MAJOR_VERSION >= 2
    explicit MpegFile(TagLib::IOStream* stream) : TagLib::MPEG::File(stream, false) {}
#else
    explicit MpegFile(TagLib::IOStream* stream)
        : TagLib::MPEG::File(stream, TagLib::ID3v2::FrameFactory::instance(), false) {}
#endif
};

// Tags as the field's standard library writes and reads them, and as we read them.
class Agreement : public ::testing::TestWithParam<const char16_t*> {
  protected:
    TagLib::String text() const {
        return TagLib::String(QString::fromUtf16(GetParam()).toStdWString());
    }

    static QString string(const TagLib::String& text) {
        return QString::fromStdWString(text.toWString());
    }

    static QByteArray bytes(const TagLib::ByteVector& data) {
        return QByteArray(data.data(), static_cast<qsizetype>(data.size()));
    }

    static void expectAgreement(const TagLib::ByteVector& file, const TagLib::Tag& theirs) {
        ByteReader reader(bytes(file));
        const Tags ours = tagsOf(reader);
        EXPECT_EQ(ours.title.value_or(QString()), string(theirs.title()));
        EXPECT_EQ(ours.artist.value_or(QString()), string(theirs.artist()));
        EXPECT_EQ(ours.album.value_or(QString()), string(theirs.album()));
    }

    static TagLib::ByteVector emptyFile() { return TagLib::ByteVector("\xFF\xFB\x90\x64", 4); }

    const TagLib::ByteVector picture_ = TagLib::ByteVector("\xFF\xD8\xFF\xE0 some picture", 17);
};

TEST_P(Agreement, OnId3v2) {
    using Encoding = TagLib::String::Type;
    for (const Encoding encoding : {TagLib::String::Latin1, TagLib::String::UTF16,
                                    TagLib::String::UTF16BE, TagLib::String::UTF8}) {
        for (const auto version : {TagLib::ID3v2::v3, TagLib::ID3v2::v4}) {
            TagLib::ID3v2::FrameFactory::instance()->setDefaultTextEncoding(encoding);
            TagLib::ByteVectorStream stream(emptyFile());
            MpegFile file(&stream);
            TagLib::ID3v2::Tag* const tag = file.ID3v2Tag(true);
            tag->setTitle(text());
            tag->setArtist(text());
            tag->setAlbum("Album");
            auto* const frame = new TagLib::ID3v2::AttachedPictureFrame;  // the tag's own
            frame->setMimeType("image/jpeg");
            frame->setDescription(text());
            frame->setTextEncoding(encoding);
            frame->setPicture(picture_);
            tag->addFrame(frame);
            ASSERT_TRUE(file.save(TagLib::MPEG::File::ID3v2, TagLib::File::StripOthers, version));
            stream.seek(0);
            MpegFile again(&stream);
            expectAgreement(*stream.data(), *again.ID3v2Tag());
            ByteReader reader(bytes(*stream.data()));
            EXPECT_EQ(pictureOf(reader), bytes(picture_));
        }
    }
    TagLib::ID3v2::FrameFactory::instance()->setDefaultTextEncoding(TagLib::String::Latin1);
}

TEST_P(Agreement, OnApeAndId3v1) {
    for (const int kind : {TagLib::MPEG::File::APE, TagLib::MPEG::File::ID3v1}) {
        TagLib::ByteVectorStream stream(emptyFile());
        MpegFile file(&stream);
        TagLib::Tag* tag = file.APETag(true);
        if (kind == TagLib::MPEG::File::ID3v1) tag = file.ID3v1Tag(true);
        tag->setTitle(text());
        tag->setAlbum("Album");
        ASSERT_TRUE(file.save(kind, TagLib::File::StripOthers));
        stream.seek(0);
        const MpegFile again(&stream);
        expectAgreement(*stream.data(), *again.tag());
    }
}

TEST_P(Agreement, OnMp4) {
    const QByteArray bare = m4a(QByteArray());
    TagLib::ByteVectorStream stream(
        TagLib::ByteVector(bare.constData(), static_cast<unsigned>(bare.size())));
    TagLib::MP4::File file(&stream, false);
    ASSERT_TRUE(file.isValid());
    file.tag()->setTitle(text());
    file.tag()->setArtist("Artist");
    TagLib::MP4::CoverArtList covers;
    covers.append(TagLib::MP4::CoverArt(TagLib::MP4::CoverArt::JPEG, picture_));
    file.tag()->setItem("covr", covers);
    ASSERT_TRUE(file.save());
    stream.seek(0);
    const TagLib::MP4::File again(&stream, false);
    expectAgreement(*stream.data(), *again.tag());
    ByteReader reader(bytes(*stream.data()));
    EXPECT_EQ(pictureOf(reader), bytes(picture_));
}

INSTANTIATE_TEST_SUITE_P(Texts, Agreement,
                         ::testing::Values(u"Title", u"", u" blanks ", u"caf\u00E9",
                                           u"\u041D\u043E\u0447\u044C", u"\u591C\U0001F3B5",
                                           u"a title that is longer than thirty characters are"));

}  // namespace
}  // namespace platform
