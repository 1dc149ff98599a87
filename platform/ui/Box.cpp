#include "platform/ui/Box.h"

#include "platform/ui/Theme.h"
#include "platform/ui/Window.h"
#include "platform/workspace/Workspace.h"

#include <QMouseEvent>
#include <QPainter>

namespace platform {

std::optional<QColor> Box::panelColor() const {
    const auto* window = qobject_cast<const Window*>(this->window());
    if (!isPanel_ || !window) return std::nullopt;
    QColor color = theme::kPanel;
    if (!Workspace::sharedWorkspace().accessibilityDisplayShouldIncreaseContrast())
        color.setAlphaF(static_cast<float>(window->panelDensity()));
    return color;
}

void Box::drawRect(const QRectF& rect) {
    const auto color = panelColor();
    if (!color) return View::drawRect(rect);
    const bool hasContrast =
        Workspace::sharedWorkspace().accessibilityDisplayShouldIncreaseContrast();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(hasContrast ? QPen(Qt::white, 2.0) : QPen(Qt::NoPen));
    painter.setBrush(*color);
    const double inset = hasContrast ? 1.0 : 0.0;
    painter.drawRoundedRect(bounds().adjusted(inset, inset, -inset, -inset), theme::kPanelRadius,
                            theme::kPanelRadius);
}

void Box::mousePressEvent(QMouseEvent* event) {
    drag_.press(*event);
    // Accepted, so that the drag that may follow is the box's.
    event->setAccepted(mouseDownCanMoveWindow() && event->button() == Qt::LeftButton);
}

void Box::mouseMoveEvent(QMouseEvent* event) {
    if (mouseDownCanMoveWindow() && drag_.move(*event, *this)) return;
    View::mouseMoveEvent(event);
}

void Box::focusInEvent(QFocusEvent* event) {
    View::focusInEvent(event);
    if (theme::showsFocus(*this)) ring_ = std::make_unique<FocusRing>(*this, theme::kPanelRadius);
}

void Box::focusOutEvent(QFocusEvent* event) {
    View::focusOutEvent(event);
    ring_.reset();
}

}  // namespace platform
