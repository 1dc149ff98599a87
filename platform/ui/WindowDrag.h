#pragma once

#include <QPoint>

#include <optional>

class QMouseEvent;
class QWidget;

namespace platform {

/// A press on a widget that becomes a move of its window when the pointer goes on.
class WindowDrag {
  public:
    /// A press of a button; from any but the left one no move comes.
    void press(const QMouseEvent& event);
    /// The pointer's move: starts the move of `widget`'s window once it has gone far enough. Tells
    /// whether the press is this drag's, so that nobody else should make something of it.
    bool move(const QMouseEvent& event, const QWidget& widget);

  private:
    std::optional<QPoint> pressedAt_;  // absent once the press has become a move of the window
};

}  // namespace platform
