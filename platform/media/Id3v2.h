#pragma once

#include "platform/containers/Id3v2Header.h"
#include "platform/media/Loudness.h"
#include "platform/media/Tags.h"

namespace platform {

/// Adds to `tags` what the readable tag at `header` has and they lack. Reads no picture, and
/// nothing behind the last text that is wanted.
void readId3v2(ByteReader& file, const Id3v2Header& header, Tags& tags);

/// The picture in the readable tag at `header`: the front cover, else the first that is not empty.
std::optional<QByteArray> id3v2Picture(ByteReader& file, const Id3v2Header& header);

/// Adds to `loudness` what the user's own texts in the readable tag at `header` tell.
void readId3v2Loudness(ByteReader& file, const Id3v2Header& header, Loudness& loudness);

/// Adds to `tags` what the ID3v1 tag in the last 128 bytes, `tag`, has and they lack.
void readId3v1(QByteArrayView tag, Tags& tags);

}  // namespace platform
