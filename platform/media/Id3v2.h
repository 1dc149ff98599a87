#pragma once

#include "platform/media/ByteReader.h"
#include "platform/media/Tags.h"

namespace platform {

/// An ID3v2 tag's place in its file, as its header tells it.
struct Id3v2Header {
    int version = 0;  ///< 2, 3 or 4
    bool unsynchronised = false;
    bool extended = false;  ///< an extended header stands before the frames
    qint64 begin = 0;       ///< offset of the first byte behind the header
    qint64 end = 0;         ///< offset behind the last frame or padding, within the file
    qint64 next = 0;        ///< offset of what follows the tag
};

/// The header of the ID3v2.2 to 2.4 tag at `offset`; absent when there is none.
std::optional<Id3v2Header> id3v2HeaderAt(ByteReader& file, qint64 offset);

/// Adds to `tags` what the tag at `header` has and they lack. Reads no picture, and nothing behind
/// the last text that is wanted.
void readId3v2(ByteReader& file, const Id3v2Header& header, Tags& tags);

/// The picture in the tag at `header`: the front cover, else the first that is not empty.
std::optional<QByteArray> id3v2Picture(ByteReader& file, const Id3v2Header& header);

/// Adds to `tags` what the ID3v1 tag in the last 128 bytes, `tag`, has and they lack.
void readId3v1(QByteArrayView tag, Tags& tags);

}  // namespace platform
