#include "platform/audio/SongDecoder.h"
#include "tests/platform/audio/Songs.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace platform::audio {
namespace {

constexpr double kSongSeconds = 7.3;
constexpr int64_t kSongFrames = 321930;  // at 44.1 kHz

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
    std::abort();
}

class Exactness : public testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(Encodings, Exactness,
                         testing::Values("Cbr", "Vbr", "LowBitrate", "CbrTagless", "VbrTagless",
                                         "Aac", "AacMono", "AacBandReplicated", "Alac"),
                         [](const auto& encoding) { return std::string(encoding.param); });

TEST_P(Exactness, EverySeekContinuesTheWholeFileDecode) {
    const QByteArray bytes = encode(GetParam());
    const Reference whole = wholeFileDecode(bytes);
    const auto song = openSong(bytes);
    ASSERT_TRUE(song);
    ASSERT_EQ(song->rate, whole.rate);
    ASSERT_LE(song->length, static_cast<int64_t>(whole.frames()));
    SongDecoder decoder(song);

    std::mt19937 random(1);
    std::vector<int64_t> starts = {0, 1, song->length / 2, song->length - 1};
    for (int i = 0; i < 40; ++i)
        starts.push_back(std::uniform_int_distribution<int64_t>(0, song->length - 1)(random));
    starts.push_back(0);
    for (const int64_t start : starts) {
        const size_t frames = start == 0 ? static_cast<size_t>(song->length) : 3000;
        const std::vector<float> heard = readFrom(decoder, start, frames);
        const int64_t left = song->length - start;
        ASSERT_EQ(heard.size() / 2, std::min(frames, static_cast<size_t>(left)));
        for (size_t i = 0; i < heard.size(); ++i) {
            const size_t frame = static_cast<size_t>(start) + i / 2;
            const size_t channel = whole.channels == 1 ? 0 : i % 2;
            const float expected =
                whole.samples[frame * static_cast<size_t>(whole.channels) + channel];
            ASSERT_EQ(heard[i], expected) << "from " << start << " at frame " << i / 2;
        }
    }
    EXPECT_FALSE(decoder.brokeOff());
}

TEST(SongLength, EncodersPaddingIsTrimmed) {
    for (const char* name : {"Cbr", "Vbr", "Aac", "Alac"}) {
        const auto song = openSong(encode(name));
        ASSERT_TRUE(song) << name;
        EXPECT_EQ(song->length, kSongFrames) << name;
    }
    const QString pipe =
        QStringLiteral("ffmpeg -v error -f lavfi -i '%1' -f wav - | lame --quiet -V5 - OUT")
            .arg(songSource(kSongSeconds));
    const auto lame = openSong(
        encodedBy({QStringLiteral("sh"), QStringLiteral("-c"), pipe}, QStringLiteral("mp3")));
    ASSERT_TRUE(lame);
    EXPECT_EQ(lame->length, kSongFrames);
}

}  // namespace
}  // namespace platform::audio
