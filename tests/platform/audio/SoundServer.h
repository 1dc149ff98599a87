#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <memory>
#include <vector>

namespace platform::audio {

/// A sound server of one's own with a null sink, for as long as the object lives. The process's
/// environment points to it from construction on, so that players find it and nothing else.
class SoundServer {
  public:
    /// Whether this machine has what `start` and the recording need.
    static bool isInstalled();
    /// Makes the environment; the server starts with `start`.
    SoundServer();
    ~SoundServer();
    SoundServer(const SoundServer&) = delete;
    SoundServer& operator=(const SoundServer&) = delete;

    /// Starts the server with the sink "null" and waits until it takes sound.
    void start(int rate = 48000, int channels = 2);
    /// Waits until a null sink that was just loaded takes sound.
    static void waitForNewSink();
    /// Kills the server without a farewell.
    void kill();
    /// Stops the server, as one that hangs, until it is resumed.
    void pause();
    void resume();
    /// Stands in for a server that accepts its clients and never answers, until `start`.
    void startMute();
    /// Runs a command on the server, as pactl takes it, and returns what it printed.
    QByteArray control(const QStringList& arguments) const;

    /// Starts to record what the sink plays, as 32-bit float of the sink's rate and channels.
    void startRecording(const QString& sink = QStringLiteral("null"), int rate = 48000,
                        int channels = 2);
    /// Ends the recording and returns its interleaved samples.
    std::vector<float> stopRecording();

  private:
    QTemporaryDir folder_;
    std::unique_ptr<QProcess> server_;
    int mute_ = -1;  // the socket that nobody serves
    std::unique_ptr<QProcess> recorder_;
};

/// Runs the event loop for `seconds`, as an idle program would.
void runEvents(double seconds);

/// Runs the event loop until `condition` holds or `seconds` are over; returns whether it held.
template <typename Condition>
bool runEventsUntil(Condition condition, double seconds) {
    for (double passed = 0; !condition(); passed += 0.005) {
        if (passed > seconds) return false;
        runEvents(0.005);
    }
    return true;
}

}  // namespace platform::audio
