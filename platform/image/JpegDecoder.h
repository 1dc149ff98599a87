#pragma once

#include <QByteArray>
#include <QImage>

namespace platform {

/// Whether `data` begins as a JPEG file does.
bool isJpeg(const QByteArray& data);

/// The JPEG picture in `data`, as decodedImage gives it. A file that breaks off is decoded as far
/// as it goes.
QImage decodedJpeg(const QByteArray& data);

}  // namespace platform
