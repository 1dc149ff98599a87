#include "platform/audio/GaplessComment.h"
#include "platform/audio/SongDecoder.h"
#include "tests/platform/audio/Songs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace platform::audio {
namespace {

/// Decodes to the end; returns whether anything was heard.
bool sounds(const std::shared_ptr<const Song>& song) {
    SongDecoder decoder(song);
    decoder.seek(0);
    std::vector<float> block(2 * 4096);
    int64_t total = 0;
    bool heard = false;
    while (const size_t got = decoder.read(block.data(), 4096)) {
        total += static_cast<int64_t>(got);
        heard = heard || std::any_of(block.begin(), block.begin() + static_cast<long>(2 * got),
                                     [](float sample) { return std::abs(sample) > 0.01F; });
    }
    EXPECT_EQ(total, song->length);
    return heard;
}

QByteArray mp3(const char* options = "-b:a 128k") {
    return encodedSong(5, QString::fromUtf8(options), QStringLiteral("mp3"));
}

QByteArray m4a(const char* options = "-b:a 128k -movflags +faststart") {
    return encodedSong(5, QString::fromUtf8(options), QStringLiteral("m4a"));
}

TEST(BadInput, WhatIsNoAudioIsNoTrack) {
    QByteArray text;
    for (int i = 0; i < 20000; ++i)
        text += "The quick brown fox. ";
    std::mt19937 random(7);
    QByteArray noise(1 << 20, '\0');
    for (char& byte : noise)
        byte = static_cast<char>(random());
    const QByteArray picture = encodedFrom(QStringLiteral("testsrc2=size=800x600"),
                                           QStringLiteral("-frames:v 1"), QStringLiteral("jpg"));
    const QByteArray video =
        encodedFrom(QStringLiteral("testsrc2=size=64x64:duration=1"), {}, QStringLiteral("mp4"));
    const QByteArray zeros(1 << 20, '\0');
    const QByteArray ones(1 << 20, '\xFF');
    for (const QByteArray& bytes :
         {QByteArray(), QByteArray("x"), QByteArray("ID3"),
          QByteArray("\0\0\0\x08"
                     "ftyp",
                     8),
          text, noise, picture, video, zeros, ones, m4a().first(600), mp3().first(300)})
        EXPECT_FALSE(openSong(bytes))
            << bytes.size() << bytes.first(std::min<qsizetype>(4, bytes.size())).toStdString();
}

TEST(BadInput, TruncatedFilesPlayWhatIsThere) {
    const QByteArray file = mp3();
    const QByteArray half = file.first(file.size() / 2);
    const auto mp3Song = openSong(half);
    ASSERT_TRUE(mp3Song);
    EXPECT_NEAR(mp3Song->duration(), 2.5, 0.1);
    EXPECT_TRUE(sounds(mp3Song));
    const QByteArray packaged = m4a();
    const auto m4aSong = openSong(packaged.first(packaged.size() / 2));
    ASSERT_TRUE(m4aSong);
    EXPECT_NEAR(m4aSong->duration(), 2.5, 0.3);
    EXPECT_TRUE(sounds(m4aSong));
}

TEST(BadInput, ABrokenMiddleIsPlayedPast) {
    std::mt19937 random(3);
    for (QByteArray file : {mp3(), m4a()}) {
        const double whole = openSong(file)->duration();
        for (qsizetype i = file.size() / 3; i < file.size() / 2; ++i)
            file[i] = static_cast<char>(random());
        const auto song = openSong(file);
        ASSERT_TRUE(song);
        EXPECT_GT(song->duration(), 0.7 * whole);
        SongDecoder decoder(song);
        decoder.seek(song->length - 44100);
        std::vector<float> end(2 * 44100);
        ASSERT_EQ(decoder.read(end.data(), 44100), 44100);
        EXPECT_GT(*std::max_element(end.begin(), end.end()), 0.2F);
        EXPECT_TRUE(sounds(song));
    }
}

TEST(BadInput, TheBytesCountNotThePromises) {
    QByteArray xing = mp3();
    const qsizetype tag = xing.indexOf("Xing") >= 0 ? xing.indexOf("Xing") : xing.indexOf("Info");
    ASSERT_GT(tag, 0);
    xing.replace(tag + 8, 4, "\x7F\xFF\xFF\xFF", 4);
    EXPECT_NEAR(openSong(xing)->duration(), 5, 0.1);

    QByteArray samples = m4a();
    const qsizetype sizes = samples.indexOf("stsz");
    samples.replace(sizes + 12, 4, "\x7F\xFF\xFF\xFF", 4);
    EXPECT_FALSE(openSong(samples));
    samples = m4a("-movflags +frag_keyframe+empty_moov");
    samples.replace(samples.indexOf("trun") + 8, 4, "\x04\0\0\0", 4);
    EXPECT_FALSE(openSong(samples));

    const QByteArray hugeTag = QByteArray("ID3\x03\0\0\x7F\x7F\x7F\x7F", 10) + mp3();
    const auto song = openSong(hugeTag);
    ASSERT_TRUE(song) << "a tag larger than the file is no tag";
    EXPECT_NEAR(song->duration(), 5, 0.1);

    // Rates that a resampler would have to take every second of sound, or all memory, for.
    QByteArray wave = waveFile(std::vector<float>(2000, 0.1F), 8000);
    for (const char* rate : {"\1\0\0\0", "\xFF\xFF\xFF\x7F"})
        EXPECT_FALSE(openSong(wave.replace(24, 4, rate, 4)));
}

TEST(BadInput, TheContentDecidesNotTheLabel) {
    // What a listener may find under the wrong name.
    for (const char* suffix : {"flac", "ogg", "wav", "aac", "aiff", "mp2"}) {
        const auto song = openSong(encodedSong(2, {}, QString::fromUtf8(suffix)));
        ASSERT_TRUE(song) << suffix;
        EXPECT_NEAR(song->duration(), 2, 0.1) << suffix;
        EXPECT_TRUE(sounds(song)) << suffix;
    }
    const auto fragmented = openSong(m4a("-b:a 128k -movflags +frag_keyframe+empty_moov"));
    ASSERT_TRUE(fragmented);
    EXPECT_NEAR(fragmented->duration(), 5, 0.1);
    EXPECT_TRUE(sounds(fragmented));
    const auto surround = openSong(
        encodedFrom(QStringLiteral("sine=d=1"), QStringLiteral("-ac 6"), QStringLiteral("m4a")));
    ASSERT_TRUE(surround);
    EXPECT_TRUE(sounds(surround));
}

TEST(BadInput, GaplessComment) {
    const auto comment = readGaplessComment(
        QByteArray("iTunSMPB\0", 9) + " 00000000 00000840 0000037C 0000000000A17F44 00000000");
    ASSERT_TRUE(comment);
    EXPECT_EQ(comment->delay, 0x840);
    EXPECT_EQ(comment->padding, 0x37C);
    EXPECT_EQ(comment->length, 0xA17F44);
    for (const char* bad : {"iTunSMPB", "iTunSMPB 00000000 00000840", "no comment",
                            "iTunSMPB 00000000 0000084x 0000037C 0000000000A17F44",
                            "iTunSMPB 00000000 00000840 0000037C 0000000000000000",
                            "iTunSMPB 00000000 00000840 0000037C 7FFFFFFFFFFFFFFF"})
        EXPECT_FALSE(readGaplessComment(bad)) << bad;
}

}  // namespace
}  // namespace platform::audio
