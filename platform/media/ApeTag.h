#pragma once

#include "platform/containers/ByteReader.h"
#include "platform/media/Loudness.h"
#include "platform/media/Tags.h"

namespace platform {

/// Adds to `tags` what the APE tag that ends in the 32-byte footer at `footer` has and they lack.
void readApe(ByteReader& file, qint64 footer, Tags& tags);

/// Adds to `loudness` what the APE tag that ends in the 32-byte footer at `footer` tells.
void readApeLoudness(ByteReader& file, qint64 footer, Loudness& loudness);

/// The front cover in the APE tag that ends in the 32-byte footer at `footer`.
std::optional<QByteArray> apePicture(ByteReader& file, qint64 footer);

}  // namespace platform
