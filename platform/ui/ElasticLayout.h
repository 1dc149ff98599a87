#pragma once

#include <QHash>
#include <QObject>
#include <QRect>
#include <QRectF>

class QWidget;

namespace platform {

/// Lays a widget's children out anew whenever the widget is resized, shown or not. A child's
/// dynamic property `stretch` is a rectangle: which share of every point that the parent has more,
/// or less, than in the interface file goes to the child's left, top, width and height. A child
/// without it keeps its frame. A layout of the toolkit would take moving subviews back in
/// mid-transition.
class ElasticLayout final : public QObject {
  public:
    /// Takes the parent's and the children's frames of this moment as those of the interface file.
    explicit ElasticLayout(QWidget& parent);

    /// Whether a child of `parent` asks for it.
    static bool isNeededBy(const QWidget& parent);

    bool eventFilter(QObject* object, QEvent* event) override;

  private:
    struct Design {
        QRectF frame;
        QRectF stretch;
    };
    QSizeF designedSize_;
    QHash<QWidget*, Design> children_;  // keys are compared, never followed, once a child is gone
};

}  // namespace platform
