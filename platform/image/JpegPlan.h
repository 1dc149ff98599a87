#pragma once

#include <QByteArray>

#include <optional>

namespace platform {

/// How a JPEG file is decoded within bounds of time and memory.
struct JpegPlan {
    /// 1, 2, 4 or 8: what both sides are divided by while decoding.
    int reduction = 1;
    /// The bytes to decode: where refinements of the whole picture follow one another, those that
    /// are worth their time.
    qsizetype length = 0;
};

/// The plan for the JPEG file `data`, up to 24 million pixels at its full size (inks, which take
/// longer to turn into colours, up to 9 million) and up to 2^28 in the file; absent for one that
/// would take longer than any ordinary picture, or more memory, or is damaged before its first
/// scan.
std::optional<JpegPlan> jpegPlan(const QByteArray& data);

}  // namespace platform
