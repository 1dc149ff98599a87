#pragma once

#include <QColor>
#include <QWidget>

namespace platform {

/// A mark around a widget that is covered by its own content, drawn above all of it: of the focus,
/// or of a place that takes what is being dragged. It lasts as long as the owner keeps it.
class FocusRing final : public QWidget {
    Q_OBJECT

  public:
    /// Marks `owner`, whose corners have that radius in points.
    /// It is filled with `light`.
    FocusRing(QWidget& owner, double cornerRadius, const QColor& light = Qt::transparent);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    double cornerRadius_;
    QColor light_;
};

}  // namespace platform
