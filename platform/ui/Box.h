#pragma once

#include "platform/ui/FocusRing.h"
#include "platform/ui/View.h"
#include "platform/ui/WindowDrag.h"

#include <QColor>

#include <memory>
#include <optional>

namespace platform {

/// A view that groups others on a background of its own.
class Box : public View {
    Q_OBJECT
    /// Whether the box is a panel of its window: painted as dense as the window's panels are.
    Q_PROPERTY(bool panel READ isPanel WRITE setPanel)

  public:
    using View::View;

    bool isPanel() const { return isPanel_; }
    void setPanel(bool isPanel) { isPanel_ = isPanel; }
    /// What a panel of a window is painted with; absent for what is none.
    std::optional<QColor> panelColor() const;

    /// Whether a press on the box itself, followed by a drag, moves the window.
    virtual bool mouseDownCanMoveWindow() const { return false; }

  protected:
    void drawRect(const QRectF& rect) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

  private:
    bool isPanel_ = false;
    WindowDrag drag_;
    std::unique_ptr<FocusRing> ring_;  // absent without keyboard focus
};

}  // namespace platform
