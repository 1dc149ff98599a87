#pragma once

#include "platform/containers/ByteReader.h"

#include <optional>

namespace platform {

// The boxes of an MP4 file (ISO/IEC 14496-12, 4.2).

/// A box's type, its four characters as one number.
using Mp4Type = quint32;

/// The type that is spelled `name`.
constexpr Mp4Type mp4Type(const char (&name)[5]) {
    Mp4Type value = 0;
    for (int i = 0; i < 4; ++i)
        value = value << 8 | static_cast<unsigned char>(name[i]);
    return value;
}

/// A box's place in its file.
struct Mp4Box {
    Mp4Type type = 0;
    qint64 begin = 0;  ///< Offset of the content.
    qint64 end = 0;    ///< Offset behind it, within the box around it.

    qint64 size() const { return end - begin; }
};

/// Walks the boxes that stand side by side between two offsets.
class Mp4BoxWalk {
  public:
    Mp4BoxWalk(ByteReader& file, qint64 begin, qint64 end);

    /// The next box, a truncated last one as far as it goes; absent at the end and where a size
    /// leads nowhere.
    std::optional<Mp4Box> next();
    /// The next box of that type; absent when there is none.
    std::optional<Mp4Box> nextOfType(Mp4Type wanted);

  private:
    ByteReader& file_;
    qint64 next_ = 0;
    qint64 end_ = 0;
};

/// Whether `file` begins as an MP4 file does.
bool isMp4(ByteReader& file);

}  // namespace platform
