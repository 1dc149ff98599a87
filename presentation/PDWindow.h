#pragma once

#include "platform/ui/Window.h"

/// The main window: see-through, and able to take keyboard focus all the same.
class PDWindow final : public platform::Window {
    Q_OBJECT

  public:
    using platform::Window::Window;

    bool isOpaque() const override { return false; }
    bool canBecomeMainWindow() const override { return true; }
    bool canBecomeKeyWindow() const override { return true; }
    /// Always fully transparent, whatever colour is set.
    QColor backgroundColor() const override { return QColor(Qt::transparent); }
};
