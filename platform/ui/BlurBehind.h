#pragma once

#include <QRegion>
#include <QWindow>

namespace platform {

/// Asks the compositor to blur what lies behind `region` of the window, in its points; the empty
/// region asks for nothing any more. Without effect where the window system knows no such wish.
void askForBlurBehind(const QWindow& window, const QRegion& region);

}  // namespace platform
