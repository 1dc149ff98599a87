#pragma once

#include "platform/image/ImageDecoder.h"

#include <QByteArray>

namespace platform {

/// Whether `data` begins as a JPEG file does.
bool isJpeg(const QByteArray& data);

/// The JPEG picture in `data`, as decodedImage gives it. A file that breaks off is decoded as far
/// as it goes.
DecodedImage decodedJpeg(const QByteArray& data, double blur);

}  // namespace platform
