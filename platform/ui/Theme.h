#pragma once

#include <QColor>
#include <QWidget>

namespace platform::theme {

/// The colour of what is switched on, filled or marked.
inline const QColor kAccent(0x8F, 0xD3, 0xFF);
/// The ring around the control that has keyboard focus.
inline const QColor kFocus(0x8F, 0xD3, 0xFF, 0xE6);

/// What lies over a place that takes what is being dragged.
inline const QColor kDropLight(0x8F, 0xD3, 0xFF, 0x30);
/// The colour of the main window's panels, as dense as the window says.
inline const QColor kPanel(0x12, 0x14, 0x1A);
/// Radius of a panel's corners, in points.
inline constexpr double kPanelRadius = 14.0;

/// Whether `widget` has keyboard focus and the keyboard is what moves it: a click leaves no mark.
inline bool showsFocus(const QWidget& widget) {
    return widget.hasFocus() && widget.window()->testAttribute(Qt::WA_KeyboardFocusChange);
}

}  // namespace platform::theme
