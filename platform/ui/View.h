#pragma once

#include "platform/ui/FocusRing.h"
#include "platform/ui/TrackingArea.h"
#include "platform/ui/Transition.h"

#include <QHash>
#include <QList>
#include <QPointer>
#include <QStringList>
#include <QWidget>

#include <functional>
#include <memory>
#include <vector>

namespace platform {

/// A rectangle of a window that draws itself, holds an ordered list of subviews and can tell when
/// the pointer enters and leaves.
class View : public QWidget {
    Q_OBJECT

  public:
    using Animations = QHash<QString, Transition>;

    /// Changes made through the proxy play the animation that the view has for the changed key.
    class AnimatingProxy {
      public:
        void setAnimations(const Animations& animations) { view_.setAnimations(animations); }
        void replaceSubviewWith(QWidget* old, QWidget* replacement) {
            view_.replace(old, replacement, true);
        }
        /// The same with a view that is freed when it is replaced in turn.
        void replaceSubviewWith(QWidget* old, std::unique_ptr<QWidget> replacement) {
            view_.replace(old, view_.adopt(std::move(replacement)), true);
        }

      private:
        friend class View;
        explicit AnimatingProxy(View& view) : view_(view) {}
        View& view_;
    };

    explicit View(QWidget* parent = nullptr);
    ~View() override;

    QRectF bounds() const { return rect(); }

    /// The subviews in their order. What was put in by a layout of the interface file is none.
    const QList<QPointer<QWidget>>& subviews() const { return subviews_; }
    QWidget* firstSubview() const { return subviews_.isEmpty() ? nullptr : subviews_.first(); }
    /// The subviews become exactly `views`; every other child widget is hidden.
    void setSubviews(const QList<QWidget*>& views);
    /// Appends a subview; the view frees it when it is replaced.
    void addSubview(std::unique_ptr<QWidget> view);
    /// Puts `replacement` in the place of `old`, keeping the replacement's own frame. Does nothing
    /// when `old` is no subview or either is null.
    void replaceSubviewWith(QWidget* old, QWidget* replacement) {
        replace(old, replacement, false);
    }

    /// The animating stand-in for this view.
    AnimatingProxy animator() { return AnimatingProxy(*this); }
    /// The animations to play by key; the key of a change of the subviews is "subviews".
    void setAnimations(const Animations& animations) { animations_ = animations; }
    const Animations& animations() const { return animations_; }
    /// Redraws the view as a whole instead of by parts.
    void setWantsLayer(bool wantsLayer) { wantsLayer_ = wantsLayer; }
    bool wantsLayer() const { return wantsLayer_; }

    /// What the view does with files and folders that are dropped on it or on a subview that takes
    /// no drops itself. The paths are absolute and never none. It lights up under what it takes.
    struct FileDrop {
        std::function<bool(const QStringList& paths)> accepts;  ///< asked when they are dragged in
        std::function<void(const QStringList& paths)> perform;
    };
    void setFileDrop(FileDrop fileDrop);

    void addTrackingArea(const TrackingArea& area);
    const std::vector<TrackingArea>& trackingAreas() const { return trackingAreas_; }

  protected:
    /// Draws the view's own content in `rect`, the part to be redrawn.
    virtual void drawRect(const QRectF& rect);
    /// The pointer has entered or left one of the tracking areas.
    virtual void mouseEntered() {}
    virtual void mouseExited() {}

    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

  private:
    bool takesDrop(QDropEvent* event, const QStringList& paths) const;
    void replace(QWidget* old, QWidget* replacement, bool animated);
    QWidget* adopt(std::unique_ptr<QWidget> view);
    void putOnShow(QWidget* view);
    void takeAway(QWidget* view);
    void trackPointer(const QPointF* position);
    void lookForPointer();

    QList<QPointer<QWidget>> subviews_;
    QList<QPointer<QWidget>> adopted_;
    Animations animations_;
    bool wantsLayer_ = false;
    std::vector<TrackingArea> trackingAreas_;
    std::vector<bool> inside_;
    FileDrop fileDrop_;
    std::unique_ptr<FocusRing> dropLight_;  // while what the view takes is dragged over it
    std::unique_ptr<RunningTransition> transition_;
};

}  // namespace platform
