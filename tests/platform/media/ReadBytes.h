#pragma once

#include "platform/media/TagReader.h"

#include <QByteArray>

#include <optional>

namespace platform {

// What the reader makes of a file with these bytes.

inline Tags read(const QByteArray& bytes) {
    ByteReader file(bytes);
    return tagsOf(file);
}

inline std::optional<QByteArray> picture(const QByteArray& bytes) {
    ByteReader file(bytes);
    return pictureOf(file);
}

}  // namespace platform
