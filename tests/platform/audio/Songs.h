#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <vector>

namespace platform::audio {

/// Runs an encoder's command line, in which every "OUT" stands for the file whose content comes
/// back; stops the test program when the encoder fails.
QByteArray encodedBy(const QStringList& command, const QString& suffix);

/// A lavfi source, encoded by ffmpeg with `options` into a file named *.`suffix`.
QByteArray encodedFrom(const QString& source, const QString& options, const QString& suffix);

/// `seconds` of noise and tones, encoded likewise.
QByteArray encodedSong(double seconds, const QString& options, const QString& suffix,
                       int rate = 44100, int channels = 2);

/// The lavfi source that `encodedSong` encodes, for other command lines.
QString songSource(double seconds, int rate = 44100, int channels = 2);

/// Stereo samples as they are, in a WAV file of 32-bit floats.
QByteArray waveFile(const std::vector<float>& stereo, int rate);

/// A file's whole decode by ffmpeg, as interleaved samples.
struct Reference {
    std::vector<float> samples;
    int channels = 0;
    int rate = 0;

    size_t frames() const { return samples.size() / static_cast<size_t>(channels); }
};
Reference wholeFileDecode(const QByteArray& bytes);

}  // namespace platform::audio
