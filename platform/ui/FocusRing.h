#pragma once

#include <QWidget>

namespace platform {

/// The focus mark of a widget that is covered by its own content, drawn above all of it. It lasts
/// as long as the focus does.
class FocusRing final : public QWidget {
    Q_OBJECT

  public:
    /// Marks `owner`, whose corners have that radius in points.
    FocusRing(QWidget& owner, double cornerRadius);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    double cornerRadius_;
};

}  // namespace platform
