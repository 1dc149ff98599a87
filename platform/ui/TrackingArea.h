#pragma once

#include <QRectF>

namespace platform {

/// A region of a view that reports when the pointer enters and leaves it, also while another window
/// is active. It keeps its rectangle when the view is resized.
struct TrackingArea {
    QRectF rect;  ///< in the view's coordinates
};

}  // namespace platform
