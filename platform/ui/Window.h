#pragma once

#include "platform/ui/Target.h"
#include "platform/ui/WindowDrag.h"

#include <QColor>
#include <QList>
#include <QPointer>
#include <QWidget>

namespace platform {

class View;

/// A top-level window. What the window system asks of it are overridable queries.
class Window : public QWidget, public Target {
    Q_OBJECT
    /// Whether the window goes without the desktop's own frame.
    Q_PROPERTY(bool borderless MEMBER borderless_)
    /// Whether the window only serves another: it is put away by Escape, in the other window too,
    /// and has no taskbar entry.
    Q_PROPERTY(bool secondary MEMBER secondary_)
    /// How broad, in points, the band along the edges is by which the window is resized where the
    /// desktop gives it no frame; 0 for a window that is resized by its desktop's frame alone.
    Q_PROPERTY(int resizeBand MEMBER resizeBand_)
    /// Radius in points of the corners of the painted background.
    Q_PROPERTY(double cornerRadius MEMBER cornerRadius_)
    /// Start of the names of the user defaults ("...Position", where the window system lets windows
    /// choose their place, and "...Size") that keep the window's frame from one run to the next;
    /// empty to forget it.
    Q_PROPERTY(QString autosaveName MEMBER autosaveName_)

  public:
    explicit Window(QWidget* parent = nullptr);
    ~Window() override;

    /// Whether nothing behind the window shows through.
    virtual bool isOpaque() const { return opaque_; }
    virtual bool canBecomeMainWindow() const { return true; }
    /// Whether the window takes keyboard focus.
    virtual bool canBecomeKeyWindow() const { return true; }
    /// The colour that the background is painted with.
    virtual QColor backgroundColor() const { return backgroundColor_; }

    void setOpaque(bool opaque) { opaque_ = opaque; }
    /// How dense the window's panels are, from 0, clear, to 1, solid.
    double panelDensity() const { return panelDensity_; }
    void setPanelDensity(double density);
    void setBackgroundColor(const QColor& color);

    /// The view that the interface file calls "contentView"; null when there is none.
    View* contentView() const;

    /// Makes the native window and tells the window system about it when it is first shown.
    void setVisible(bool visible) override;
    /// Shows the window in front and gives it keyboard focus.
    void makeKeyAndOrderFront();
    /// Hides the window; it can be shown again.
    void orderOut();
    /// Puts the window where the desktop keeps minimised ones.
    void miniaturize();

    /// The window that this one serves, not owned: the desktop shows this one above it and with it.
    void setTransientFor(Window* window) { transientFor_ = window; }

    bool hasAction(const QString& action) const override;
    /// Knows "makeKeyAndOrderFront", "orderOut" and "miniaturize".
    bool performAction(const QString& action, Control* sender) override;

  Q_SIGNALS:
    /// The user has closed the window.
    void willClose();

  protected:
    bool event(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    /// A press in the band along the edges resizes the window; one beside what it shows moves it.
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

  private:
    void applyWindowAttributes();
    void focusMoved(QWidget* was, QWidget* now);
    void place();
    QRect preferredFrame() const;
    void keepOnScreen();
    void saveFrame() const;
    void blurBehindPanels();
    Qt::Edges edgesAt(const QPointF& position) const;
    void showEdges(Qt::Edges edges);

    QColor backgroundColor_;
    QString autosaveName_;
    bool opaque_ = true;
    double panelDensity_ = 0.9;
    bool borderless_ = false;
    bool secondary_ = false;
    double cornerRadius_ = 0.0;
    int resizeBand_ = 0;
    bool comesBackToKeyboard_ = false;
    bool becomesKeyWhenPainted_ = false;
    QPointer<Window> transientFor_;
    QList<QPointer<Window>> serving_;  // this window; the one shown last stands last
    WindowDrag drag_;
};

}  // namespace platform
