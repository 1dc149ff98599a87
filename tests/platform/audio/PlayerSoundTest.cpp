#include "platform/audio/AudioEngine.h"
#include "platform/audio/AudioPlayer.h"
#include "tests/platform/audio/Listener.h"
#include "tests/platform/audio/Signals.h"
#include "tests/platform/audio/Songs.h"
#include "tests/platform/audio/SoundServer.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>
#include <iterator>

// Players on a real sound server with a null sink, as a listener would have them.

namespace platform::audio {
namespace {

std::unique_ptr<AudioPlayer> tonePlayer(double frequency, double seconds, float pan) {
    auto player = AudioPlayer::initWithData(
        waveFile(sine(frequency, 0.5, 44100, static_cast<size_t>(seconds * 44100)), 44100));
    player->setPan(pan);
    return player;
}

std::vector<float> channelOf(const std::vector<float>& samples, size_t channels, size_t channel) {
    std::vector<float> stereo;
    for (size_t i = channel; i < samples.size(); i += channels)
        stereo.insert(stereo.end(), 2, samples[i]);
    return stereo;
}

/// The tone within the last second.
Tone toneIn(const std::vector<float>& stereo, double frequency, int rate) {
    const size_t window = std::min(stereo.size(), 2 * static_cast<size_t>(rate));
    return fitTone(std::span(stereo).last(window), frequency, rate);
}

/// Whether a tone of half of full scale comes from that channel of a stereo sink, within some
/// seconds: a sink that has just begun takes its time.
bool isHeard(SoundServer& server, double frequency, size_t channel,
             const QString& sink = QStringLiteral("null"), int rate = 48000) {
    for (int attempt = 0; attempt < 8; ++attempt) {
        server.startRecording(sink, rate);
        runEvents(1.2);
        const auto heard = channelOf(server.stopRecording(), 2, channel);
        if (std::abs(toneIn(heard, frequency, rate).amplitude - 0.5) < 0.01) return true;
    }
    return false;
}

/// Leaves the process so many bytes beside those that it has, while the object lives.
class Tightness {
  public:
    explicit Tightness(rlim_t bytes) {
        ::getrlimit(RLIMIT_AS, &before_);
        QFile statm(QStringLiteral("/proc/self/statm"));
        if (!statm.open(QIODevice::ReadOnly)) return;
        const rlim_t pages = statm.readAll().split(' ').first().toULongLong();
        const rlimit tight = {pages * static_cast<rlim_t>(::sysconf(_SC_PAGESIZE)) + bytes,
                              before_.rlim_max};
        isTight_ = ::setrlimit(RLIMIT_AS, &tight) == 0;
    }
    ~Tightness() { ::setrlimit(RLIMIT_AS, &before_); }
    Tightness(const Tightness&) = delete;
    Tightness& operator=(const Tightness&) = delete;

    bool isTight() const { return isTight_; }

  private:
    rlimit before_ = {};
    bool isTight_ = false;
};

std::ptrdiff_t openFiles() {
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return std::distance(begin(files), end(files));
}

class PlayerSound : public testing::Test {
  protected:
    void SetUp() override {
        if (!SoundServer::isInstalled()) GTEST_SKIP() << "no sound server to play to";
    }
};

TEST_F(PlayerSound, EverySinkKeepsPitchAndSides) {
    struct Sink {
        int rate, channels;
    };
    for (const auto& [sinkRate, channels] :
         {Sink{44100, 2}, {48000, 2}, {96000, 2}, {192000, 2}, {48000, 6}, {44100, 1}}) {
        SoundServer server;
        // Not the binding itself, which newer compilers take for shadowed where a block captures
        // it.
        const int rate = sinkRate;
        server.start(rate, channels);
        const auto left = tonePlayer(440, 60, 1);
        const auto right = tonePlayer(880, 60, -1);
        left->play();
        right->play();
        ASSERT_TRUE(runEventsUntil([&] { return AudioEngine::shared().mixer.rate() == rate; }, 5))
            << rate;
        const auto count = static_cast<size_t>(channels);
        std::vector<double> levels;
        const auto isHeardOnItsSide = [&] {
            server.startRecording(QStringLiteral("null"), rate, channels);
            runEvents(1.2);
            const auto heard = server.stopRecording();
            const auto first = channelOf(heard, count, 0);
            const auto second = channelOf(heard, count, channels == 1 ? 0 : 1);
            levels = {toneIn(first, 880, rate).amplitude, toneIn(second, 440, rate).amplitude,
                      toneIn(first, 440, rate).amplitude, toneIn(second, 880, rate).amplitude};
            return levels[0] > 0.1 && levels[1] > 0.1 &&
                   (channels == 1 || std::max(levels[2], levels[3]) < 1e-4);
        };
        // A sink that has just begun takes its time, and a busy machine leaves gaps.
        bool isHeard = false;
        for (int attempt = 0; attempt < 8 && !isHeard; ++attempt)
            isHeard = isHeardOnItsSide();
        EXPECT_TRUE(isHeard) << rate << ' ' << channels << ": " << testing::PrintToString(levels);
    }
}

TEST_F(PlayerSound, PlaybackSurvivesTheServersEnd) {
    SoundServer server;
    server.start();
    const auto left = tonePlayer(440, 60, 1);
    const auto right = tonePlayer(880, 60, -1);
    left->play();
    right->play();
    ASSERT_TRUE(runEventsUntil([&] { return left->currentTime() > 0.5; }, 5));
    const double before = left->currentTime();
    server.kill();
    runEvents(1);
    EXPECT_TRUE(left->isPlaying());
    EXPECT_GT(left->currentTime(), before + 0.3) << "the silent clock has taken over";
    server.start();
    const double restarted = left->currentTime();
    QElapsedTimer passed;
    passed.start();
    EXPECT_TRUE(isHeard(server, 440, 1));
    EXPECT_TRUE(isHeard(server, 880, 0));
    EXPECT_NEAR(left->currentTime() - restarted, static_cast<double>(passed.elapsed()) / 1000, 0.5);
    EXPECT_NEAR(left->currentTime(), right->currentTime(), 0.2);
}

TEST_F(PlayerSound, ADeviceThatAppearsLaterIsPickedUp) {
    for (const bool isMute : {false, true}) {
        SoundServer server;
        // One that takes connections and never answers is none.
        if (isMute) server.startMute();
        const auto player = tonePlayer(440, 60, 0);
        player->play();
        ASSERT_TRUE(runEventsUntil([&] { return player->currentTime() > 1; }, 20));
        server.start();
        EXPECT_TRUE(isHeard(server, 440, 0));
    }
}

// Its library forgets ten files where it gets no memory to share with the server, or ends the
// program.
TEST_F(PlayerSound, AServerIsLeftAloneWhileMemoryIsShort) {
    SoundServer server;
    const auto player = tonePlayer(440, 60, 0);
    server.start();
    {
        const Tightness tight(rlim_t{110} << 20);
        ASSERT_TRUE(tight.isTight());
        const auto files = openFiles();
        player->play();
        EXPECT_TRUE(runEventsUntil([&] { return player->currentTime() > 2; }, 20));
        EXPECT_LE(openFiles(), files);
    }
    EXPECT_TRUE(isHeard(server, 440, 0));
}

TEST_F(PlayerSound, TheSoundFollowsTheDefaultSink) {
    SoundServer server;
    server.start();
    const auto player = tonePlayer(440, 60, 0);
    player->play();
    ASSERT_TRUE(runEventsUntil([&] { return player->currentTime() > 0.5; }, 5));
    server.control({QStringLiteral("load-module"), QStringLiteral("module-null-sink"),
                    QStringLiteral("sink_name=other"), QStringLiteral("rate=44100")});
    // Somebody else plays there, so that the sink has to keep its own rate.
    QProcess other;
    other.start(QStringLiteral("pacat"),
                {QStringLiteral("--device=other"), QStringLiteral("--rate=44100"),
                 QStringLiteral("/dev/zero")});
    SoundServer::waitForNewSink();
    server.control({QStringLiteral("set-default-sink"), QStringLiteral("other")});
    EXPECT_TRUE(runEventsUntil([] { return AudioEngine::shared().mixer.rate() == 44100; }, 5));
    EXPECT_TRUE(isHeard(server, 440, 0, QStringLiteral("other"), 44100));
    other.kill();
    other.waitForFinished();
}

TEST_F(PlayerSound, SongsGoOnAndEndWhileTheServerTakesNothing) {
    SoundServer server;
    server.start();
    const auto suspend = [&](const char* on) {
        server.control({QStringLiteral("suspend-sink"), QStringLiteral("null"), QLatin1String(on)});
    };
    struct Standstill {
        std::function<void()> begin, end;
    };
    for (const auto& [begin, end] : {Standstill{[&] { server.pause(); }, [&] { server.resume(); }},
                                     Standstill{[&] { suspend("1"); }, [&] { suspend("0"); }}}) {
        const auto left = tonePlayer(440, 60, 1);
        const auto right = tonePlayer(880, 3, -1);
        Listener listener;
        right->setDelegate(&listener);
        left->play();
        right->play();
        ASSERT_TRUE(runEventsUntil([&] { return left->currentTime() > 0.5; }, 10));
        begin();
        ASSERT_TRUE(runEventsUntil([&] { return listener.ends == 1; }, 20));
        EXPECT_TRUE(listener.decoded);
        // From here until the sound is back, time goes on as on any clock.
        const double start = left->currentTime();
        QElapsedTimer passed;
        passed.start();
        end();
        double last = start;
        double farthest = 0;
        for (int i = 0; i < 250; ++i) {
            runEvents(0.01);
            const double now = left->currentTime();
            EXPECT_GE(now, last);
            last = now;
            const double ahead = now - start - static_cast<double>(passed.nsecsElapsed()) * 1e-9;
            farthest = std::max(farthest, std::abs(ahead));
        }
        EXPECT_LT(farthest, 0.5);
        EXPECT_TRUE(isHeard(server, 440, 1));
    }
}

}  // namespace
}  // namespace platform::audio

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
