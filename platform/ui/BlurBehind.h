#pragma once

#include <QRegion>
#include <QWindow>

namespace platform {

/// Asks the compositor to blur what lies behind `region` of the window, in its points; the empty
/// region asks for nothing any more. Without effect where the window system knows no such wish.
void askForBlurBehind(QWindow& window, const QRegion& region);

/// The rectangle in units that are finer by `scale`. What touches it still does: each edge is
/// rounded, not the width.
inline QRect scaledByEdges(const QRect& rect, double scale) {
    const auto scaled = [scale](int edge) { return qRound(edge * scale); };
    const QPoint corner(scaled(rect.x()), scaled(rect.y()));
    return {corner, QSize(scaled(rect.x() + rect.width()) - corner.x(),
                          scaled(rect.y() + rect.height()) - corner.y())};
}

}  // namespace platform
