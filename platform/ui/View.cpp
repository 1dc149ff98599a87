#include "platform/ui/View.h"

#include <QHoverEvent>
#include <QPaintEvent>
#include <QStyleOption>
#include <QStylePainter>

namespace platform {

View::View(QWidget* parent) : QWidget(parent) {}

View::~View() {
    transition_.reset();
}

void View::setSubviews(const QList<QWidget*>& views) {
    transition_.reset();
    const auto previous = findChildren<QWidget*>(Qt::FindDirectChildrenOnly);
    subviews_.clear();
    for (QWidget* child : previous) {
        if (!views.contains(child)) takeAway(child);
    }
    for (QWidget* view : views) {
        subviews_.append(view);
        putOnShow(view);
    }
}

void View::addSubview(std::unique_ptr<QWidget> view) {
    QWidget* added = adopt(std::move(view));
    subviews_.append(added);
    putOnShow(added);
}

QWidget* View::adopt(std::unique_ptr<QWidget> view) {
    QWidget* adopted = view.release();
    adopted->setParent(this);
    adopted_.append(adopted);
    return adopted;
}

void View::replace(QWidget* old, QWidget* replacement, bool animated) {
    const qsizetype index = subviews_.indexOf(old);
    if (!old || !replacement || index < 0) return;
    // A change in the middle of a transition takes effect at once: the last request wins and the
    // view that was leaving is gone before the next one starts to leave.
    transition_.reset();
    if (old == replacement) return;
    subviews_[index] = replacement;
    putOnShow(replacement);
    const auto animation = animations_.constFind(QStringLiteral("subviews"));
    const double seconds = AnimationContext::currentContext().duration();
    if (!animated || animation == animations_.cend() || !isVisible() || seconds <= 0.0) {
        takeAway(old);
        return;
    }
    transition_ = std::make_unique<RunningTransition>(
        *animation, old, replacement, seconds, [this, leaving = QPointer<QWidget>(old)] {
            transition_.reset();
            if (leaving && !subviews_.contains(leaving.data())) takeAway(leaving);
        });
}

void View::putOnShow(QWidget* view) {
    if (view->parentWidget() != this) {
        // Setting a parent moves a widget to the parent's origin; a view keeps its own frame.
        const QPoint origin = view->pos();
        view->setParent(this);
        view->move(origin);
    }
    view->show();
    view->raise();
}

void View::takeAway(QWidget* view) {
    view->hide();
    if (adopted_.removeOne(view)) view->deleteLater();
}

void View::addTrackingArea(const TrackingArea& area) {
    setAttribute(Qt::WA_Hover);
    trackingAreas_.push_back(area);
    inside_.push_back(false);
}

void View::trackPointer(const QPointF* position) {
    for (size_t i = 0; i < trackingAreas_.size(); ++i) {
        const bool isInside = position && trackingAreas_[i].rect.contains(*position);
        if (isInside == inside_[i]) continue;
        inside_[i] = isInside;
        if (isInside) {
            mouseEntered();
        } else {
            mouseExited();
        }
    }
}

bool View::event(QEvent* event) {
    switch (event->type()) {
        case QEvent::HoverEnter:
        case QEvent::HoverMove: {
            const QPointF position = static_cast<QHoverEvent*>(event)->position();
            trackPointer(&position);
            break;
        }
        case QEvent::HoverLeave:
            trackPointer(nullptr);
            break;
        default:
            break;
    }
    return QWidget::event(event);
}

void View::drawRect(const QRectF&) {
    // What the style sheet gives the view (a background, a border) is its content.
    QStyleOption option;
    option.initFrom(this);
    QStylePainter(this).drawPrimitive(QStyle::PE_Widget, option);
}

void View::paintEvent(QPaintEvent* event) {
    drawRect(wantsLayer_ ? bounds() : QRectF(event->rect()));
}

}  // namespace platform
