#include "platform/media/Loudness.h"
#include "tests/platform/media/TagBytes.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>

namespace platform {
namespace {

class LoudnessTags : public testing::Test {
  protected:
    // The factor that a file of these bytes gets, in dB.
    double decibels(const QByteArray& bytes) {
        QFile file(folder_.filePath(QStringLiteral("song")));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        file.close();
        return 20.0 * std::log10(loudnessOfFile(file.fileName()).factor());
    }
    static QByteArray userText(int version, const char* key, const char* value) {
        return id3Frame(version, version == 2 ? "TXX" : "TXXX",
                        encoded(0, QByteArray(key) + nul() + value));
    }
    static QByteArray freeform(const char* name, const char* value) {
        return atom("----", atom("mean", nul(4) + "com.apple.iTunes") +
                                atom("name", nul(4) + name) + dataAtom(1, value));
    }
    QTemporaryDir folder_;
};

TEST_F(LoudnessTags, StandInEveryKindOfTag) {
    const QByteArray sound(5000, 'x');
    for (const int version : {2, 3, 4}) {
        const QByteArray frames = userText(version, "mood", "loud") +
                                  userText(version, "REPLAYGAIN_TRACK_GAIN", "-7.50 dB");
        EXPECT_NEAR(decibels(id3Tag(version, frames) + sound), -7.5, 1e-4) << version;
    }
    const QByteArray ape = apeTag(
        {{"Title", "T"}, {"replaygain_track_gain", "+3,2 dB"}, {"Replaygain_Track_Peak", "0.5"}});
    EXPECT_NEAR(decibels(sound + ape), 3.2, 1e-4);
    EXPECT_NEAR(decibels(m4a(freeform("replaygain_track_gain", "-4 dB"))), -4.0, 1e-4);
    // Of -23 LUFS, in 256ths of a dB.
    EXPECT_NEAR(decibels(m4a(freeform("R128_TRACK_GAIN", "-2304"))), -4.0, 1e-4);
    EXPECT_EQ(decibels(sound), 0.0);
}

TEST_F(LoudnessTags, NeverDriveASongBeyondFullScale) {
    const auto of = [this](const char* gain, const char* peak) {
        return decibels(id3Tag(4, userText(4, "replaygain_track_gain", gain) +
                                      userText(4, "replaygain_track_peak", peak)));
    };
    EXPECT_NEAR(of("9 dB", "0.1"), 9.0, 1e-4);
    EXPECT_NEAR(of("9 dB", "0.5"), 6.0206, 1e-4);
    EXPECT_NEAR(of("-1 dB", "1.25"), -1.9382, 1e-4);
    // A peak that is none leaves unknown how much louder the song may be.
    for (const char* peak : {"0", "-1", "?", ""})
        EXPECT_EQ(of("9 dB", peak), 0.0) << peak;
    for (const char* gain : {"", "dB", "nan", "-900 dB", "600"})
        EXPECT_EQ(of(gain, "0.1"), 0.0) << gain;
}

}  // namespace
}  // namespace platform
