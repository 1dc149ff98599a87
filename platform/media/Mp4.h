#pragma once

#include "platform/containers/ByteReader.h"
#include "platform/media/Loudness.h"
#include "platform/media/Tags.h"

namespace platform {

/// Adds to `tags` what the file's item list (moov/udta/meta/ilst) has and they lack. Reads no
/// picture, and nothing behind the last text that is wanted.
void readMp4(ByteReader& file, Tags& tags);

/// Adds to `loudness` what the freeform items of the file's item list tell.
void readMp4Loudness(ByteReader& file, Loudness& loudness);

/// The first picture in the file's item list that is not empty.
std::optional<QByteArray> mp4Picture(ByteReader& file);

}  // namespace platform
