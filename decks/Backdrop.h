#pragma once

#include "platform/image/Image.h"

/// Blur levels, in pixels of the source picture.
inline constexpr double kDesktopBlurLevel = 150.0;
inline constexpr double kArtworkBlurLevel = 27.0;

/// The backdrop made from `picture`: blurred, darkened, and scaled to a deck's width of 575 points
/// with its aspect ratio kept. No image for a picture that is none or has no width.
platform::Image backdropFromImage(const platform::Image& picture, double level);
