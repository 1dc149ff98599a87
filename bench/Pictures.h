#pragma once

#include <QByteArray>
#include <QImage>
#include <QSize>

namespace bench {

/// The size of a wallpaper for a screen of 5K.
constexpr QSize kFiveK(5120, 2880);

/// An opaque picture, always the same: shapes of many sizes under grain, which cost an encoder and
/// a decoder what a photograph does, with no flat spot to hurry over.
QImage photograph(QSize size);

/// The picture as a JPEG of quality 90.
QByteArray jpegOf(const QImage& image);

}  // namespace bench
