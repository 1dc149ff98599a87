#pragma once

#include <QByteArray>
#include <QImage>

#include <cstdint>

namespace platform {

/// Whether colours that `profile` (an ICC profile) describes are sRGB as they are: for sRGB's own
/// profile and an empty one.
bool areStandardColours(const QByteArray& profile);

/// `image` with its colours, which `profile` (an ICC profile) describes, turned into sRGB. As it is
/// when the profile is empty, sRGB's own, damaged or meant for other channels than the image's. In
/// place where an image of four bytes per pixel is nobody else's.
QImage inStandardColours(QImage image, const QByteArray& profile);

/// Turns rows of CMYK bytes (0 is no ink) into opaque RGBA bytes in place, through `profile` or, if
/// that is empty or damaged, by R = (1 - C)(1 - K) and so on. `inverted` bytes have 255 for no ink.
void convertCmykToRgba(uint8_t* pixels, int width, int height, bool inverted,
                       const QByteArray& profile);

}  // namespace platform
