#pragma once

#include <QRect>
#include <QSize>
#include <QString>

#include <optional>

class QScreen;

namespace platform {

/// Two whole numbers as the user defaults keep them, "x y" or "width height".
QString stringWithNumbers(int first, int second);
/// The numbers of such a text; absent for any other text.
std::optional<std::pair<int, int>> numbersOfString(const QString& text);

/// The screen that shows most of `frame`; null when none shows any of it.
QScreen* screenShowing(const QRect& frame);

/// `size`, no larger than what `screen` has for windows and no smaller than `minimum`.
QSize sizeOnScreen(QSize size, QSize minimum, const QScreen& screen);

/// `frame` moved so that all of it is on `screen`, its top left corner at least.
QRect frameOnScreen(QRect frame, const QScreen& screen);

}  // namespace platform
