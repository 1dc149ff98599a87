#pragma once

#include "platform/containers/ByteReader.h"

namespace platform {

/// The zlib stream `bytes` inflated, at most `limit` bytes of it and no more than `budget` has
/// left, from which it takes what it makes. What comes before damage counts; absent when nothing
/// does.
std::optional<QByteArray> inflated(QByteArrayView bytes, qint64 limit, ByteReader& budget);

}  // namespace platform
