#pragma once

#include "platform/containers/ByteReader.h"

#include <optional>

namespace platform {

/// The tags at the end of a file: ID3v1 in its last 128 bytes, APE in front of that or at the end.
struct TrailingTags {
    static constexpr qsizetype kId3v1Size = 128;

    std::optional<qint64> id3v1;      ///< Offset of its kId3v1Size bytes.
    std::optional<qint64> apeFooter;  ///< Offset of its last 32 bytes.
    qint64 begin = 0;                 ///< Offset of the first of them; the file's size without any.
};

/// Finds the tags at the end of `file`, none of which begins before `from`.
TrailingTags trailingTags(ByteReader& file, qint64 from = 0);

}  // namespace platform
