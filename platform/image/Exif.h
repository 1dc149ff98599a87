#pragma once

#include <QByteArrayView>
#include <QImage>

namespace platform {

/// The orientation, 1 to 8, that an Exif block (beginning with its TIFF header) gives the picture;
/// 1, upright, when it gives none or is damaged.
int exifOrientation(QByteArrayView exif);

/// `image`, a bitmap of 4 bytes per pixel stored with `orientation`, as it is meant to be seen;
/// null when memory is short.
QImage uprightImage(const QImage& image, int orientation);

}  // namespace platform
