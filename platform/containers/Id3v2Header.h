#pragma once

#include "platform/containers/ByteReader.h"

#include <optional>

namespace platform {

/// An ID3v2 tag's place in its file, as its header tells it.
struct Id3v2Header {
    int version = 0;        ///< 2, 3 or 4 where `readable`.
    bool readable = false;  ///< Of a version that is known, its size spelled as the format asks.
    bool unsynchronised = false;
    bool extended = false;  ///< An extended header stands before the frames.
    qint64 begin = 0;       ///< Offset of the first byte behind the header.
    qint64 end = 0;         ///< Offset behind the last frame or padding, within the file.
    qint64 next = 0;        ///< Offset of what follows the tag; may lie beyond the file.
};

/// The header of the ID3v2 tag at `offset`; absent when there is none.
std::optional<Id3v2Header> id3v2HeaderAt(ByteReader& file, qint64 offset);

/// The header of the first tag of an MPEG audio file: at its beginning or, where that is neither a
/// tag nor audio, behind what stands there, within the first ByteReader::kLargestView bytes.
std::optional<Id3v2Header> firstId3v2Header(ByteReader& file);

/// The number that `bytes` (up to 9) spell with 7 bits in each, the most significant first.
qint64 synchsafe(QByteArrayView bytes);
/// Whether no byte uses its eighth bit.
bool isSynchsafe(QByteArrayView bytes);

}  // namespace platform
