#pragma once

#include "platform/ui/Box.h"

/// A box by which the user drags the window around.
class DraggableBox final : public platform::Box {
    Q_OBJECT

  public:
    using platform::Box::Box;

    bool mouseDownCanMoveWindow() const override { return true; }
};
