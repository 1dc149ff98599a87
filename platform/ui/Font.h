#pragma once

#include <QFont>
#include <QString>

namespace platform {

/// The font of that full name ("Family Weight") at `size` points, or its stand-in where it is not
/// installed: an open typeface of the same weight. A point is one logical pixel.
QFont fontWithNameSize(const QString& name, double size);

/// The user interface's own font at `size` points.
QFont systemFontOfSize(double size);

}  // namespace platform
