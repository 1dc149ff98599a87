#include "tests/platform/media/ReadBytes.h"
#include "tests/platform/media/TagBytes.h"

#include <gtest/gtest.h>

namespace platform {
namespace {

QByteArray frame(const QByteArray& id, const QByteArray& text) {
    return id3Frame(3, id, encoded(0, text));
}

const std::optional<QString> kAbsent;

TEST(Id3v2, DecodesEveryEncoding) {
    struct Case {
        QByteArray content;
        std::optional<QString> text;
    };
    const QByteArray utf16 = QByteArrayLiteral(
        "\xFF\xFE"
        "A\0\xE9\0");
    const Case cases[] = {
        {encoded(0, "caf\xE9 \x80"), QStringLiteral("caf\u00E9 \u20AC")},
        {encoded(0, "caf\xC3\xA9"), QStringLiteral("caf\u00E9")},
        {encoded(1, utf16), QStringLiteral("A\u00E9")},
        {encoded(1, utf16 + nul(2)), QStringLiteral("A\u00E9")},
        {encoded(1, QByteArrayLiteral("\xFE\xFF\0A\0\xE9")), QStringLiteral("A\u00E9")},
        {encoded(1, QByteArrayLiteral("A\0B\0C")), QStringLiteral("AB")},
        {encoded(2, QByteArrayLiteral("\0A\xD8\x3C\xDF\xB5")), QStringLiteral("A\U0001F3B5")},
        {encoded(2, QByteArrayLiteral("\0A\xD8\x3C")), QStringLiteral("A\uFFFD")},
        {encoded(3, "\xC3\xA9\xFF!"), QStringLiteral("\u00E9\uFFFD!")},
        {encoded(0, QByteArrayLiteral("One\0Two\0\0Three\0")), QStringLiteral("One, Two, Three")},
        {encoded(1, utf16 + nul(2) + utf16), QStringLiteral("A\u00E9, A\u00E9")},
        {encoded(3, ""), QString()},
        {encoded(1, QByteArrayLiteral("\xFF\xFE")), QString()},
        {encoded(9, "odd"), kAbsent},
    };
    for (const Case& item : cases) {
        SCOPED_TRACE(item.content.toHex().constData());
        for (const int version : {2, 3, 4}) {
            const QByteArray id = version == 2 ? "TT2" : "TIT2";
            const Tags tags = read(id3Tag(version, id3Frame(version, id, item.content) + nul(64)));
            EXPECT_EQ(tags.title, item.text);
        }
    }
}

TEST(Id3v2, GoesOnBehindWhatItCannotRead) {
    const QByteArray title = frame("TIT2", "Title");
    const QByteArray artist = frame("TPE1", "Artist");
    for (const QByteArray& oddity :
         {id3Frame(3, "TXXX", ""), id3Frame(3, "TIT2", ""), id3Frame(3, "x?\x80 ", "any"),
          id3Frame(3, "TIT2", encoded(7, "any")), id3Frame(3, "TIT2", encoded(0, "secret"), 0x40),
          id3Frame(3, "APIC", nul(100'000)), id3Frame(3, "TIT2", "ab", 0x80)}) {
        SCOPED_TRACE(oddity.left(24).toHex().constData());
        const Tags tags = read(id3Tag(3, oddity + title + oddity + artist));
        EXPECT_EQ(tags.title, QStringLiteral("Title"));
        EXPECT_EQ(tags.artist, QStringLiteral("Artist"));
    }
}

TEST(Id3v2, UsesWhatIsThereOfATagCutShort) {
    const QByteArray longer = "TIT2" + number(1000, 4) + nul(2) + encoded(0, "Cut");
    EXPECT_EQ(read(id3Tag(3, longer)).title, QStringLiteral("Cut"));
    const QByteArray whole = id3Tag(3, frame("TIT2", "Title") + nul(5000));
    EXPECT_EQ(read(whole.first(40)).title, QStringLiteral("Title"));
    EXPECT_EQ(read(whole.first(24)).title, QStringLiteral("Tit"));
}

TEST(Id3v2, TheFirstOfRepeatedFramesCounts) {
    const QByteArray first = frame("TIT2", "First");
    EXPECT_EQ(read(id3Tag(3, first + frame("TIT2", "Second"))).title, QStringLiteral("First"));
    const Tags tags =
        read(id3Tag(3, first) + id3Tag(3, frame("TIT2", "Second") + frame("TPE1", "B")));
    EXPECT_EQ(tags.title, QStringLiteral("First"));
    EXPECT_EQ(tags.artist, QStringLiteral("B"));
}

TEST(Id3v2, ReadsTheOddLayoutsOfWriters) {
    const QByteArray text = encoded(0, "Title");
    // Three-letter names in 2.3.
    EXPECT_EQ(read(id3Tag(3, id3Frame(3, QByteArrayLiteral("TT2\0"), text))).title,
              QStringLiteral("Title"));
    // 8-bit sizes in 2.4, among frames that only one reading reaches.
    const QByteArray longText = encoded(0, QByteArray(299, 'x'));
    const QByteArray plainSize = "TPE1" + number(longText.size(), 4) + nul(2) + longText;
    const Tags tags = read(id3Tag(4, plainSize + id3Frame(4, "TIT2", text)));
    EXPECT_EQ(tags.artist, QString(299, QLatin1Char('x')));
    EXPECT_EQ(tags.title, QStringLiteral("Title"));
    // Extended headers, which 2.3 and 2.4 count differently.
    EXPECT_EQ(read(id3Tag(3, number(6, 4) + nul(6) + id3Frame(3, "TIT2", text), 0x40)).title,
              QStringLiteral("Title"));
    EXPECT_EQ(read(id3Tag(4, number(6, 4) + "\1" + nul(1) + id3Frame(4, "TIT2", text), 0x40)).title,
              QStringLiteral("Title"));
    // Garbage before the first tag, which looks like a tag itself; audio is none.
    const QByteArray tag = id3Tag(3, id3Frame(3, "TIT2", text));
    for (const qsizetype size : {1, 5'000, 60'000})
        EXPECT_EQ(read("ID2" + nul(size) + "ID3\3" + nul(2) + "\xFF\xFF\xFF\xFF" + tag).title,
                  QStringLiteral("Title"));
    EXPECT_EQ(read(QByteArray("\xFF\xFB\x90\x64") + tag).title, kAbsent);
    // A footer between one tag and the next.
    const QByteArray footer = "3DI" + nul(7);
    EXPECT_EQ(read(id3Tag(4, nul(20), 0x10) + footer + id3Tag(4, id3Frame(4, "TIT2", text))).title,
              QStringLiteral("Title"));
}

TEST(Id3v2, UndoesUnsynchronisation) {
    // FF 00 in the text stands for FF.
    const QByteArray stored = encoded(0, QByteArrayLiteral("\xFF\0\xE0 y"));
    const QString text = QStringLiteral("\u00FF\u00E0 y");
    // Up to 2.3 sizes count the bytes before.
    const QByteArray plainSize = "TIT2" + number(stored.size() - 1, 4) + nul(2);
    EXPECT_EQ(read(id3Tag(3, plainSize + stored + frame("TPE1", "A"), 0x80)).title, text);
    EXPECT_EQ(read(id3Tag(3, plainSize + stored + frame("TPE1", "A"), 0x80)).artist,
              QStringLiteral("A"));
    // 2.4 does it frame by frame, with the length before in front.
    const QByteArray withLength = number(stored.size() - 1, 4, 7) + stored;
    EXPECT_EQ(read(id3Tag(4, id3Frame(4, "TIT2", withLength, 0x03))).title, text);
    EXPECT_EQ(read(id3Tag(4, id3Frame(4, "TIT2", stored), 0x80)).title, text);
    const QByteArray cover = apic(QByteArrayLiteral("\xFF\0\xD8\xFF\0\xE0rest"));
    EXPECT_EQ(picture(id3Tag(4, id3Frame(4, "APIC", cover, 0x02))),
              QByteArrayLiteral("\xFF\xD8\xFF\xE0rest"));
}

TEST(Id3v2, InflatesWithinBounds) {
    const QByteArray content = encoded(0, "Packed");
    const QByteArray packed = qCompress(content);  // its length in 4 bytes, then the stream
    EXPECT_EQ(read(id3Tag(3, id3Frame(3, "TIT2", packed, 0x80))).title, QStringLiteral("Packed"));
    EXPECT_EQ(read(id3Tag(4, id3Frame(4, "TIT2", packed, 0x09))).title, QStringLiteral("Packed"));
    const QByteArray bomb = qCompress(apic(QByteArray(2 * ByteReader::kBytes, 'x')), 9);
    EXPECT_LT(bomb.size(), 100'000);
    const auto bounded = picture(id3Tag(3, id3Frame(3, "APIC", bomb, 0x80)));
    EXPECT_TRUE(!bounded || bounded->size() <= ByteReader::kBytes);
    EXPECT_EQ(read(id3Tag(3, id3Frame(3, "TPE1", bomb, 0x80) + frame("TIT2", "T"))).title,
              QStringLiteral("T"));
}

TEST(Id3v2, FallsThroughToApeAndId3v1PerField) {
    const QByteArray ape = apeTag({{"Title", "Ape title"}, {"ARTIST", QByteArrayLiteral("A\0B")}});
    const QByteArray old = id3v1("Old title", "Old artist \xE9");
    const QByteArray sound = QByteArrayLiteral("\xFF\xFB\x90") + nul(400);
    const Tags all = read(id3Tag(3, frame("TIT2", "New title")) + sound + ape + old);
    EXPECT_EQ(all.title, QStringLiteral("New title"));
    EXPECT_EQ(all.artist, QStringLiteral("A, B"));
    EXPECT_EQ(read(sound + ape).title, QStringLiteral("Ape title"));
    EXPECT_EQ(read(sound + old).artist, QStringLiteral("Old artist \u00E9"));
    EXPECT_EQ(read(sound + id3v1("", "   ")).title, kAbsent);
    EXPECT_EQ(read(id3Tag(3, frame("TIT2", "")) + sound + old).title, QString());
    EXPECT_EQ(
        picture(sound + apeTag({{"Cover Art (Front)", QByteArrayLiteral("a.jpg\0\xFF\xD8\xFF!")}})),
        QByteArrayLiteral("\xFF\xD8\xFF!"));
}

TEST(Id3v2, FindsThePictureThatCounts) {
    const QByteArray jpeg = QByteArrayLiteral("\xFF\xD8\xFF\xE0 jpeg");
    const QByteArray png = QByteArrayLiteral("\x89PNG png");
    const auto pictureFrame = [](const QByteArray& content) {
        return id3Frame(3, "APIC", content);
    };
    const auto inTag = [&](const QByteArray& content) {
        return picture(id3Tag(3, pictureFrame(content)));
    };
    EXPECT_EQ(inTag(apic(jpeg, 0, "image/png")), jpeg);
    EXPECT_EQ(inTag(apic(nul() + png)), png);
    EXPECT_EQ(inTag(apic("")), std::nullopt);
    EXPECT_EQ(inTag(apic("http://example.org/a.jpg", 3, "-->")), std::nullopt);
    EXPECT_EQ(inTag("\1image/png" + nul() + "\3" +
                    QByteArrayLiteral("\xFF\xFE"
                                      "d\0\0\0") +
                    png),
              png);
    EXPECT_EQ(picture(id3Tag(2, id3Frame(2, "PIC", nul() + "JPG\3" + nul() + jpeg))), jpeg);
    EXPECT_EQ(picture(id3Tag(3, pictureFrame(apic(png, 4)) + pictureFrame(apic(jpeg)))), jpeg);
    EXPECT_EQ(picture(id3Tag(3, pictureFrame(apic(png, 4)) + pictureFrame(apic("")))), png);
    EXPECT_EQ(picture(id3Tag(3, frame("TIT2", "T")) + id3Tag(3, pictureFrame(apic(png)))), png);
    EXPECT_EQ(picture(id3Tag(3, pictureFrame(apic(jpeg))).chopped(2)), jpeg.chopped(2));
    // An APIC frame that ends within its own description.
    EXPECT_EQ(inTag(apic(jpeg).first(18)), std::nullopt);
}

}  // namespace
}  // namespace platform
