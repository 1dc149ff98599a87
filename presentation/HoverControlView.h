#pragma once

#include "platform/ui/ImageView.h"

#include <memory>

/// Album art that reveals a view of controls while the pointer is inside it. Its first subview is
/// the slot, with a cross-fade between what it holds: the control view while the pointer is inside
/// or the keyboard works one of its controls; else an empty view.
class HoverControlView final : public platform::ImageView {
    Q_OBJECT

  public:
    explicit HoverControlView(QWidget* parent = nullptr);
    ~HoverControlView() override;

    /// The view to reveal, not owned; to be set before the pointer first enters.
    void setControlView(platform::View* controlView) { controlView_ = controlView; }
    platform::View* controlView() const { return controlView_; }

    /// A flag for others; the view itself neither sets nor reads it.
    void setEntered(bool entered) { entered_ = entered; }
    bool entered() const { return entered_; }

    /// A new empty view of no size.
    std::unique_ptr<platform::View> view() const;
    /// A new tracking region over the bounds of this moment.
    platform::TrackingArea trackingArea() const;

  protected:
    void drawRect(const QRectF& rect) override;
    void mouseEntered() override;
    void mouseExited() override;
    /// Keyboard focus reveals the controls as the pointer does, and goes on to one of them.
    void focusInEvent(QFocusEvent* event) override;

  private:
    void setUpHover();
    void reveal();
    void conceal();
    bool isWorkedByKeyboard() const;
    void focusMoved(QWidget* old, QWidget* now);

    platform::View* controlView_ = nullptr;
    bool entered_ = false;
    bool isSetUp_ = false;
    bool isUnderPointer_ = false;
    bool isRevealedByFocus_ = false;
};
