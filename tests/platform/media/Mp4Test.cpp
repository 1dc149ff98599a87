#include "tests/platform/media/ReadBytes.h"
#include "tests/platform/media/TagBytes.h"

#include <gtest/gtest.h>

namespace platform {
namespace {

QByteArray item(const QByteArray& name, const QByteArray& text) {
    return atom(name, dataAtom(1, text));
}

TEST(Mp4, ReadsTheItemList) {
    const Tags tags = read(m4a(item("\xA9"
                                    "ART",
                                    "Artist") +
                               item("\xA9nam", "T\xC3\xAFtle") +
                               item("\xA9"
                                    "alb",
                                    "") +
                               item("\xA9nam", "Second")));
    EXPECT_EQ(tags.title, QStringLiteral("T\u00EFtle"));
    EXPECT_EQ(tags.artist, QStringLiteral("Artist"));
    EXPECT_EQ(tags.album, QString());
}

TEST(Mp4, ReadsTheValuesThatAreText) {
    const auto title = [](const QByteArray& data) {
        return read(m4a(atom("\xA9nam", data))).title;
    };
    EXPECT_EQ(title(dataAtom(1, "One") + dataAtom(1, "Two")), QStringLiteral("One, Two"));
    EXPECT_EQ(title(dataAtom(1, QByteArrayLiteral("One\0Two\0"))), QStringLiteral("One, Two"));
    EXPECT_EQ(title(dataAtom(1, "bad \xFF")), QStringLiteral("bad \uFFFD"));
    EXPECT_EQ(title(dataAtom(2, QByteArrayLiteral("\0A\0\xE9"))), QStringLiteral("A\u00E9"));
    EXPECT_EQ(title(dataAtom(0, "caf\xE9")), QStringLiteral("caf\u00E9"));
    EXPECT_EQ(title(dataAtom(13, "picture")), std::nullopt);
    EXPECT_EQ(title(dataAtom(13, "picture") + dataAtom(1, "text")), QStringLiteral("text"));
    EXPECT_EQ(title(atom("mean", "x")), std::nullopt);
    EXPECT_EQ(title(QByteArray()), std::nullopt);
}

TEST(Mp4, FindsTheItemListInEveryLayout) {
    const QByteArray list = atom("ilst", item("\xA9nam", "Title"));
    const QByteArray handler = atom("hdlr", nul(25));
    const auto file = [](const QByteArray& meta) {
        return atom("moov", atom("udta", atom("meta", meta)));
    };
    const QByteArray moov = file(nul(4) + handler + list);
    // A meta atom without version and flags.
    EXPECT_EQ(read(file(handler + list)).title, QStringLiteral("Title"));
    EXPECT_EQ(read(file(nul(4) + list)).title, QStringLiteral("Title"));
    // A size of 64 bits, a size of 0 for "to the end".
    const QByteArray longMdat = number(1, 4) + "mdat" + number(16 + 100, 8) + nul(100);
    EXPECT_EQ(read(longMdat + moov).title, QStringLiteral("Title"));
    EXPECT_EQ(read(atom("free", "") + nul(4) + moov.sliced(4)).title, QStringLiteral("Title"));
    // Lengths beyond the file.
    EXPECT_EQ(read(moov.chopped(2)).title, QStringLiteral("Tit"));
    EXPECT_EQ(read(number(0xFFFFFFF0, 4) + moov.sliced(4)).title, QStringLiteral("Title"));
    EXPECT_EQ(read(number(1, 4) + "mdat" + number(~quint64{0}, 8) + moov).title, std::nullopt);
    // Sizes that lead nowhere.
    for (const int size : {2, 7}) {
        const QByteArray broken = number(size, 4) + "free";
        EXPECT_EQ(read(atom("ftyp", "M4A ") + broken + moov).title, std::nullopt);
    }
    // A second moov where the first has no list.
    EXPECT_EQ(read(atom("moov", atom("udta", atom("meta", nul(4) + handler))) + moov).title,
              QStringLiteral("Title"));
}

TEST(Mp4, FindsTheFirstPictureThatIsOne) {
    const QByteArray gif = "GIF89a picture";
    EXPECT_EQ(
        picture(m4a(item("\xA9nam", "T") + atom("covr", dataAtom(13, "") + dataAtom(13, gif)))),
        gif);
    EXPECT_EQ(picture(m4a(atom("covr", dataAtom(14, nul() + gif) + dataAtom(13, "other")))), gif);
    EXPECT_EQ(picture(m4a(item("\xA9nam", "T"))), std::nullopt);
    // A picture larger than may be read at all is stepped over on the way to a text.
    const QByteArray huge = atom("covr", dataAtom(13, QByteArray(ByteReader::kBytes + 1, 'x')));
    EXPECT_EQ(read(m4a(huge + item("\xA9nam", "Title"))).title, QStringLiteral("Title"));
    EXPECT_EQ(picture(m4a(huge)), std::nullopt);
}

}  // namespace
}  // namespace platform
