#pragma once

#include <QByteArrayView>
#include <QtEndian>

#include <cstdint>

namespace platform::audio {

/// The big-endian number in the four bytes at `at`, which must lie within `bytes`.
inline uint32_t bigEndian32(QByteArrayView bytes, qsizetype at) {
    return qFromBigEndian<uint32_t>(bytes.data() + at);
}

/// The big-endian number in the eight bytes at `at`, which must lie within `bytes`.
inline uint64_t bigEndian64(QByteArrayView bytes, qsizetype at) {
    return qFromBigEndian<uint64_t>(bytes.data() + at);
}

}  // namespace platform::audio
