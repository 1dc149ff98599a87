#pragma once

#include "platform/containers/ByteReader.h"
#include "platform/media/Tags.h"

namespace platform {

/// Adds to `tags` what the file's item list (moov/udta/meta/ilst) has and they lack. Reads no
/// picture, and nothing behind the last text that is wanted.
void readMp4(ByteReader& file, Tags& tags);

/// The first picture in the file's item list that is not empty.
std::optional<QByteArray> mp4Picture(ByteReader& file);

}  // namespace platform
