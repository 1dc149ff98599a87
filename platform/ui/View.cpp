#include "platform/ui/View.h"

#include "platform/ui/FileDragging.h"
#include "platform/ui/Theme.h"
#include "platform/workspace/Workspace.h"

#include <QApplication>
#include <QCursor>
#include <QDropEvent>
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
    animated = animated && !Workspace::sharedWorkspace().accessibilityDisplayShouldReduceMotion();
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
    // The focus stays in the neighbourhood instead of jumping to whatever comes next.
    const QWidget* focused = QApplication::focusWidget();
    QWidget* heir = focused && view->isAncestorOf(focused) ? this : nullptr;
    while (heir && !(heir->focusPolicy() & Qt::ClickFocus))
        heir = heir->isWindow() ? nullptr : heir->parentWidget();
    if (heir) heir->setFocus(Qt::OtherFocusReason);
    view->hide();
    if (adopted_.removeOne(view)) view->deleteLater();
}

void View::addTrackingArea(const TrackingArea& area) {
    setAttribute(Qt::WA_Hover);
    if (trackingAreas_.empty()) qApp->installEventFilter(this);
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

void View::lookForPointer() {
    const QPoint pointer = QCursor::pos();
    const QWidget* seen = QApplication::widgetAt(pointer);
    const QPointF position = mapFromGlobal(QPointF(pointer));
    trackPointer(seen && seen->window() == window() ? &position : nullptr);
}

bool View::eventFilter(QObject* watched, QEvent* event) {
    // While a button is held elsewhere, the pointer comes and goes unseen; where a drag ends, not
    // every window system tells.
    if (event->type() == QEvent::MouseButtonRelease) {
        QMetaObject::invokeMethod(this, &View::lookForPointer, Qt::QueuedConnection);
    } else if (event->type() == QEvent::Leave && watched == window()) {
        trackPointer(nullptr);
    }
    return QWidget::eventFilter(watched, event);
}

void View::setFileDrop(FileDrop fileDrop) {
    fileDrop_ = std::move(fileDrop);
    setAcceptDrops(bool(fileDrop_.perform));
}

bool View::takesDrop(QDropEvent* event, const QStringList& paths) const {
    if (paths.isEmpty() || !fileDrop_.accepts(paths)) return false;
    // Never a move: where the files came from, they stay.
    event->setDropAction(Qt::CopyAction);
    event->accept();
    return true;
}

void View::dragEnterEvent(QDragEnterEvent* event) {
    if (!takesDrop(event, pathsOfMimeData(event->mimeData()))) return;
    dropLight_ = std::make_unique<FocusRing>(*this, theme::kPanelRadius, theme::kDropLight);
}

void View::dragLeaveEvent(QDragLeaveEvent*) {
    dropLight_.reset();
}

void View::dropEvent(QDropEvent* event) {
    dropLight_.reset();
    const QStringList paths = pathsOfMimeData(event->mimeData());
    if (takesDrop(event, paths)) fileDrop_.perform(paths);
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
