#include "platform/ui/ElasticLayout.h"

#include <QEvent>
#include <QVariant>
#include <QWidget>

namespace platform {

namespace {

constexpr const char* kStretch = "stretch";

}  // namespace

bool ElasticLayout::isNeededBy(const QWidget& parent) {
    for (const QObject* child : parent.children()) {
        if (child->isWidgetType() && child->property(kStretch).isValid()) return true;
    }
    return false;
}

ElasticLayout::ElasticLayout(QWidget& parent) : QObject(&parent), designedSize_(parent.size()) {
    for (QWidget* child : parent.findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
        const QVariant stretch = child->property(kStretch);
        if (stretch.isValid()) children_[child] = {child->geometry(), stretch.toRectF()};
    }
    parent.installEventFilter(this);
}

bool ElasticLayout::eventFilter(QObject* object, QEvent* event) {
    if (event->type() != QEvent::Resize) return false;
    const auto* parent = static_cast<QWidget*>(object);
    const double wider = parent->width() - designedSize_.width();
    const double taller = parent->height() - designedSize_.height();
    for (QWidget* child : parent->findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
        const auto found = children_.constFind(child);
        if (found == children_.cend()) continue;
        const auto& [frame, stretch] = *found;
        // Edges are rounded, not sizes, so that neighbours neither overlap nor part.
        const int left = qRound(frame.left() + stretch.x() * wider);
        const int top = qRound(frame.top() + stretch.y() * taller);
        const int right = qRound(frame.right() + (stretch.x() + stretch.width()) * wider);
        const int bottom = qRound(frame.bottom() + (stretch.y() + stretch.height()) * taller);
        child->setGeometry(left, top, right - left, bottom - top);
    }
    return false;
}

}  // namespace platform
