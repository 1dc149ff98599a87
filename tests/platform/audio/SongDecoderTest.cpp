#include "platform/audio/SongDecoder.h"
#include "tests/platform/audio/Songs.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace platform::audio {
namespace {

constexpr double kSongSeconds = 7.3;
constexpr int64_t kSongFrames = 321930;  // at 44.1 kHz
// How far another program's decode may be from ours. The tests for this processor are run in an
// emulator, beside a decoder for another one.
#if defined(__aarch64__)
constexpr double kRounding = 1e-5;
#else
constexpr double kRounding = 0;
#endif

std::vector<float> readFrom(SongDecoder& decoder, int64_t sample, size_t frames) {
    std::vector<float> stereo(2 * frames);
    decoder.seek(sample);
    stereo.resize(2 * decoder.read(stereo.data(), frames));
    return stereo;
}

/// The sync extension that FFmpeg's muxer writes says "no band replication"; says "to 44.1 kHz".
QByteArray withBandReplication(QByteArray m4a) {
    const qsizetype at = m4a.indexOf(QByteArrayView("\x13\x90\x56\xE5", 4));
    if (at < 0) std::abort();
    m4a[at + 4] = static_cast<char>(0xA0);
    return m4a;
}

const QByteArray kTag = QByteArray("ID3\3\0\0\0\0\7\x68", 10) + QByteArray(1000, '\0');

QByteArray byLame(const char* command) {
    const auto pipe = QStringLiteral("ffmpeg -v error -f lavfi -i '%1' -f wav - | ");
    const QString words = pipe.arg(songSource(kSongSeconds)) + QString::fromUtf8(command);
    return encodedBy({QStringLiteral("sh"), QStringLiteral("-c"), words}, QStringLiteral("mp3"));
}

QByteArray encode(const std::string& name) {
    const QString mp3 = QStringLiteral("mp3");
    const QString m4a = QStringLiteral("m4a");
    const auto ffmpeg = [](const char* options, const QString& suffix, int rate = 44100,
                           int channels = 2) {
        return encodedSong(kSongSeconds, QString::fromUtf8(options), suffix, rate, channels);
    };
    if (name == "Cbr") return ffmpeg("-c:a libmp3lame -b:a 192k", mp3);
    if (name == "Vbr") return ffmpeg("-c:a libmp3lame -q:a 5", mp3);
    if (name == "LowBitrate") return ffmpeg("-c:a libmp3lame -b:a 24k", mp3, 22050, 1);
    if (name == "CbrTagless") return ffmpeg("-c:a libmp3lame -b:a 128k -write_xing 0", mp3);
    if (name == "VbrTagless") return ffmpeg("-c:a libmp3lame -q:a 2 -write_xing 0", mp3);
    // Noise substitution draws from one random sequence for a whole decode and can't be repeated.
    if (name == "Aac") return ffmpeg("-c:a aac -b:a 160k -aac_pns 0", m4a);
    if (name == "AacMono") return ffmpeg("-c:a aac -b:a 96k -aac_pns 0", m4a, 48000, 1);
    if (name == "AacBandReplicated")
        return withBandReplication(ffmpeg("-c:a aac -b:a 64k -aac_pns 0", m4a, 22050));
    if (name == "Alac") return ffmpeg("-c:a alac", m4a);
    if (name == "Adts") return ffmpeg("-c:a aac -b:a 160k -aac_pns 0", QStringLiteral("aac"));
    if (name == "Latm")
        return ffmpeg("-c:a aac -b:a 160k -aac_pns 0 -f latm", QStringLiteral("latm"));
    if (name == "Vorbis") return ffmpeg("-c:a libvorbis -q:a 5 -f ogg", mp3);
    if (name == "Opus") return ffmpeg("-c:a libopus -b:a 128k -f ogg", mp3);
    if (name == "Ac3") return ffmpeg("-c:a ac3 -b:a 192k", m4a);
    if (name == "AlacInCaf") return ffmpeg("-c:a alac -f caf", m4a);
    if (name == "BehindZeros") return QByteArray(1'500'000, '\0') + encode("Cbr");
    if (name == "Mp4BehindTag") return kTag + encode("Alac");
    if (name == "AdtsBehindTag") return kTag + QByteArray(3000, 'x') + encode("Adts");
    if (name == "Joined") return encode("Cbr") + ffmpeg("-c:a libmp3lame -b:a 96k", mp3, 48000);
    if (name == "FreeFormat") return byLame("lame --quiet --freeformat -b 400 - OUT");
    std::abort();
}

/// The same audio in a file as ffmpeg reads it; version 9 takes a CAF's end away twice.
std::string plainly(const std::string& name) {
    if (name == "BehindZeros") return "Cbr";
    if (name == "Mp4BehindTag" || name == "AlacInCaf") return "Alac";
    return name == "AdtsBehindTag" ? "Adts" : name;
}

class Exactness : public testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(Encodings, Exactness,
                         testing::Values("Cbr", "Vbr", "LowBitrate", "CbrTagless", "VbrTagless",
                                         "Aac", "AacMono", "AacBandReplicated", "Alac", "Latm",
                                         "Vorbis", "AlacInCaf", "BehindZeros", "Mp4BehindTag",
                                         "AdtsBehindTag"),
                         [](const auto& encoding) { return std::string(encoding.param); });

TEST_P(Exactness, EverySeekContinuesTheWholeFileDecode) {
    const QByteArray plain = encode(plainly(GetParam()));
    const Reference whole = wholeFileDecode(plain);
    const auto song = openSong(encode(GetParam()));
    ASSERT_TRUE(song);
    ASSERT_EQ(song->length, openSong(plain)->length);
    ASSERT_EQ(song->rate, whole.rate);
    // ffmpeg plays an MP4's last packet whole.
    const int64_t surplus = static_cast<int64_t>(whole.frames()) - song->length;
    ASSERT_TRUE(surplus == 0 || (surplus > 0 && surplus < 2048 && plain.contains("moov")));
    SongDecoder decoder(song);

    const auto length = static_cast<size_t>(song->length);
    const std::vector<float> played = readFrom(decoder, 0, length);
    ASSERT_EQ(played.size(), 2 * length);
    for (size_t i = 0; i < played.size(); ++i) {
        const size_t place = whole.channels == 1 ? i / 2 : i;
        ASSERT_NEAR(played[i], whole.samples[place], kRounding) << "at frame " << i / 2;
    }
    std::mt19937 random(1);
    std::vector<int64_t> starts = {1, song->length / 2, song->length - 1};
    for (int i = 0; i < 40; ++i)
        starts.push_back(std::uniform_int_distribution<int64_t>(0, song->length - 1)(random));
    starts.push_back(0);
    for (const int64_t start : starts) {
        const size_t frames = start == 0 ? length : 3000;
        const std::vector<float> heard = readFrom(decoder, start, frames);
        const size_t before = 2 * static_cast<size_t>(start);
        ASSERT_EQ(heard.size(), std::min(2 * frames, played.size() - before));
        for (size_t i = 0; i < heard.size(); ++i)
            ASSERT_EQ(heard[i], played[before + i]) << "from " << start << " at frame " << i / 2;
    }
    EXPECT_FALSE(decoder.brokeOff());
}

TEST(SongLength, EncodersPaddingIsTrimmed) {
    for (const char* name : {"Cbr", "Vbr", "Aac", "Alac"}) {
        const auto song = openSong(encode(name));
        ASSERT_TRUE(song) << name;
        EXPECT_EQ(song->length, kSongFrames) << name;
    }
    const auto lame = openSong(byLame("lame --quiet -V5 - OUT"));
    ASSERT_TRUE(lame);
    EXPECT_EQ(lame->length, kSongFrames);
}

// What can't be repeated to the bit, as it draws noise or never forgets, and what ffmpeg does not
// play.
TEST(OddFormats, SoundLikeAnotherDecode) {
    struct Format {
        const char* name;
        const char* other;
        double played;  // the greatest difference from the start on
        double sought;  // and from anywhere
    };
    const auto difference = [](SongDecoder& decoder, int64_t from, const Reference& other) {
        const auto frames = static_cast<size_t>(decoder.song().length - from);
        const std::vector<float> heard = readFrom(decoder, from, frames);
        double greatest = 0;
        for (size_t i = 0; i < heard.size(); ++i) {
            const float expected = other.samples[2 * static_cast<size_t>(from) + i];
            greatest = std::max(greatest, std::abs(double{heard[i]} - expected));
        }
        return greatest;
    };
    for (const auto& [name, otherName, played, sought] :
         {Format{"Opus", "Opus", kRounding, 0.1}, Format{"Ac3", "Ac3", kRounding, 0.15},
          Format{"FreeFormat", "Alac", 0.1, 0.1}}) {
        const auto song = openSong(encode(name));
        ASSERT_TRUE(song) << name;
        const Reference other = wholeFileDecode(encode(otherName));
        // Some versions of the other play more of the last packet than the container tells.
        ASSERT_LE(song->length, other.frames()) << name;
        EXPECT_GE(song->length + 1536, other.frames()) << name;
        SongDecoder decoder(song);
        EXPECT_LE(difference(decoder, 0, other), played) << name;
        for (const int64_t from : {1000, 100'000, 300'000})
            EXPECT_LE(difference(decoder, from, other), sought) << name << " from " << from;
    }
}

TEST(OddFormats, JoinedSongsOfTwoRatesArePlayedInTurn) {
    const Reference part = wholeFileDecode(encode("Cbr"));
    const auto first = openSong(encode("Cbr"));
    const auto song = openSong(encode("Joined"));
    ASSERT_TRUE(song);
    SongDecoder decoder(song);
    const std::vector<float> heard = readFrom(decoder, 0, static_cast<size_t>(song->length));
    // Behind the first part's padding and the second's header and delay, which is at 48 kHz.
    const size_t second = first->packets.size() * 1152 - static_cast<size_t>(first->skip) +
                          (1152 + static_cast<size_t>(first->skip)) * 441 / 480;
    ASSERT_GE(heard.size(), 2 * second + part.samples.size());
    double worst = 0;
    for (size_t i = 0; i < part.samples.size(); ++i) {
        ASSERT_NEAR(heard[i], part.samples[i], kRounding) << i;
        // Its noise is another one.
        worst = std::max(worst, std::abs(double{heard[2 * second + i]} - part.samples[i]));
    }
    EXPECT_LT(worst, 0.3);
}

}  // namespace
}  // namespace platform::audio
