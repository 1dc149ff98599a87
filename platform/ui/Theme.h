#pragma once

#include <QColor>

namespace platform::theme {

/// The colour of what is switched on, filled or marked.
inline const QColor kAccent(0x8F, 0xD3, 0xFF);
/// The ring around the control that has keyboard focus.
inline const QColor kFocus(0x8F, 0xD3, 0xFF, 0xE6);

}  // namespace platform::theme
