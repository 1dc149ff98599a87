#pragma once

#include "platform/image/Image.h"

#include <QSizeF>

/// A dark and blurred copy of `image` to stand behind a deck: its bitmap blurred by a Gaussian of
/// the standard deviation `level` (in the bitmap's pixels; 0 or less blurs nothing), zoomed about
/// its centre past the blur's soft border, stretched to `size` points and darkened to 70 %. It has
/// as many pixels per point as the screen, fewer where its longer side would have more than 16,384.
/// Blurs anew at every call. Null when `image` is, for an empty `size` or when memory is short.
platform::Image blurWithLevelAndSize(const platform::Image& image, double level, QSizeF size);
