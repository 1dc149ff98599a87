#pragma once

#include "platform/ui/View.h"

#include <optional>

namespace platform {

/// A view that groups others on a background of its own.
class Box : public View {
    Q_OBJECT

  public:
    using View::View;

    /// Whether a press on the box itself, followed by a drag, moves the window.
    virtual bool mouseDownCanMoveWindow() const { return false; }

  protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

  private:
    std::optional<QPoint> pressedAt_;  // absent once the press has become a move of the window
};

}  // namespace platform
