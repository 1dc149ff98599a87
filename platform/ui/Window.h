#pragma once

#include "platform/ui/Target.h"

#include <QColor>
#include <QWidget>

namespace platform {

class View;

/// A top-level window. What the window system asks of it are overridable queries.
class Window : public QWidget, public Target {
    Q_OBJECT
    /// Whether the window goes without the desktop's own frame.
    Q_PROPERTY(bool borderless MEMBER borderless_)
    /// Whether the window only serves another: it is put away by Escape and has no taskbar entry.
    Q_PROPERTY(bool secondary MEMBER secondary_)
    /// Radius in points of the corners of the painted background.
    Q_PROPERTY(double cornerRadius MEMBER cornerRadius_)
    /// The user default that keeps the window's position from one run to the next, where the window
    /// system lets windows choose their place; empty to forget it.
    Q_PROPERTY(QString autosaveName MEMBER autosaveName_)

  public:
    explicit Window(QWidget* parent = nullptr);

    /// Whether nothing behind the window shows through.
    virtual bool isOpaque() const { return opaque_; }
    virtual bool canBecomeMainWindow() const { return true; }
    /// Whether the window takes keyboard focus.
    virtual bool canBecomeKeyWindow() const { return true; }
    /// The colour that the background is painted with.
    virtual QColor backgroundColor() const { return backgroundColor_; }

    void setOpaque(bool opaque) { opaque_ = opaque; }
    void setBackgroundColor(const QColor& color);

    /// The view that the interface file calls "contentView"; null when there is none.
    View* contentView() const;

    /// Shows the window in front and gives it keyboard focus.
    void makeKeyAndOrderFront();
    /// Hides the window; it can be shown again.
    void orderOut();

    bool hasAction(const QString& action) const override;
    /// Knows "makeKeyAndOrderFront" and "orderOut".
    bool performAction(const QString& action, Control* sender) override;

  protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    void applyWindowAttributes();
    void restorePosition();
    void savePosition() const;

    QColor backgroundColor_;
    QString autosaveName_;
    bool opaque_ = true;
    bool borderless_ = false;
    bool secondary_ = false;
    double cornerRadius_ = 0.0;
};

}  // namespace platform
