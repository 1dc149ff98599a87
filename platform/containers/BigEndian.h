#pragma once

#include <QByteArrayView>

namespace platform {

/// The unsigned number that `bytes` (up to 8) spell with the most significant first.
inline quint64 bigEndian(QByteArrayView bytes) {
    quint64 value = 0;
    for (const char byte : bytes)
        value = value << 8 | static_cast<unsigned char>(byte);
    return value;
}

}  // namespace platform
