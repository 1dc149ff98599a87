#pragma once

#include <QString>

#include <optional>

namespace platform {

/// What a file's tags tell of how loud its song is.
struct Loudness {
    /// Added to the song's level, in dB, it makes the song as loud as ReplayGain 2.0 wants all
    /// songs to be (-18 LUFS).
    std::optional<double> gain;
    /// The greatest sample of the song, full scale being 1; greater than 0.
    std::optional<double> peak;

    /// Takes what the tag called `key` (in any case) says as `value`, unless it makes no sense or
    /// the same is known already: replaygain_track_gain, replaygain_track_peak, r128_track_gain.
    void add(const QString& key, const QString& value);

    /// The linear factor that makes the song as loud as all others without driving its peak beyond
    /// full scale; where the peak is unknown no song is made louder. 1 without a gain.
    float factor() const;
};

/// What the tags of the file at `path` tell: ID3v2 user texts, APE items and the freeform items of
/// MP4; nothing for what is no audio file or can't be read.
Loudness loudnessOfFile(const QString& path);

}  // namespace platform
