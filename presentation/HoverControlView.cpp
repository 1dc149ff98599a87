#include "presentation/HoverControlView.h"

#include "platform/ui/Transition.h"

#include <QApplication>
#include <QFocusEvent>

#include <utility>

HoverControlView::HoverControlView(QWidget* parent) : ImageView(parent) {
    setFocusPolicy(Qt::TabFocus);
    connect(qApp, &QApplication::focusChanged, this, &HoverControlView::focusMoved);
}

HoverControlView::~HoverControlView() {
    // The base class gives up the focus on its way out, when nothing may be swapped any more.
    disconnect(qApp, nullptr, this, nullptr);
}

std::unique_ptr<platform::View> HoverControlView::view() const {
    auto empty = std::make_unique<platform::View>();
    empty->setGeometry(0, 0, 0, 0);
    return empty;
}

platform::TrackingArea HoverControlView::trackingArea() const {
    return {bounds()};
}

void HoverControlView::drawRect(const QRectF& rect) {
    drawImageInRect(rect);
    // Once per view: more regions and slots would only repeat the same swap.
    if (!std::exchange(isSetUp_, true)) setUpHover();
}

void HoverControlView::setUpHover() {
    addTrackingArea(trackingArea());
    setWantsLayer(true);
    const platform::Transition fade = {platform::Transition::Type::Fade};
    platform::AnimationContext::currentContext().setDuration(3.5);
    animator().setAnimations({{QStringLiteral("subviews"), fade}});
    addSubview(view());
}

void HoverControlView::reveal() {
    animator().replaceSubviewWith(firstSubview(), controlView_);
}

void HoverControlView::conceal() {
    animator().replaceSubviewWith(firstSubview(), view());
}

void HoverControlView::mouseEntered() {
    isUnderPointer_ = true;
    reveal();
}

void HoverControlView::mouseExited() {
    isUnderPointer_ = false;
    // Taking the controls away would take the focus away with them.
    if (!isWorkedByKeyboard()) conceal();
}

bool HoverControlView::isWorkedByKeyboard() const {
    // As the window knows it, also while another one is in front.
    const QWidget* focused = window()->focusWidget();
    return focused && isAncestorOf(focused) && window()->testAttribute(Qt::WA_KeyboardFocusChange);
}

void HoverControlView::focusInEvent(QFocusEvent* event) {
    ImageView::focusInEvent(event);
    const bool isBackwards = event->reason() == Qt::BacktabFocusReason;
    const bool comesFromWithin = std::exchange(isRevealedByFocus_, true);
    if (isBackwards && comesFromWithin) {
        focusPreviousChild();
        return;
    }
    reveal();
    if (isBackwards) {
        const auto controls = controlView_->findChildren<QWidget*>();
        if (!controls.isEmpty()) controls.last()->setFocus(event->reason());
    } else {
        focusNextChild();
    }
}

void HoverControlView::focusMoved(QWidget*, QWidget* now) {
    // A window that goes behind another keeps its focus for when it comes back.
    if (!now || now->window() != window()) return;
    const bool isWithin = now == this || isAncestorOf(now);
    if (isWithin) return;
    isRevealedByFocus_ = false;
    if (!isUnderPointer_ && firstSubview() == controlView_) conceal();
}
