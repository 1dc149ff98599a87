#pragma once

#include "platform/image/Image.h"
#include "platform/ui/ButtonCell.h"
#include "platform/ui/Control.h"

#include <QAbstractButton>
#include <QMenu>
#include <QPointer>

#include <optional>

namespace platform {

/// A push button, or a toggle with the states on, off and mixed, that shows an image, a title or a
/// cell. It sends its action when it is clicked, after a toggle has changed its state,
/// and when an assistive tool turns it.
class Button : public QAbstractButton, public Control {
    Q_OBJECT
    /// Whether a click turns the state on and off.
    Q_PROPERTY(bool toggles READ isCheckable WRITE setCheckable)
    /// Names of bundle images: the image, and the one shown instead in the state on.
    Q_PROPERTY(QString imageName READ imageName WRITE setImageName)
    Q_PROPERTY(QString alternateImageName READ alternateImageName WRITE setAlternateImageName)
    /// Side of the square that the image fills, in points.
    Q_PROPERTY(double imageSize MEMBER imageSize_)
    /// What the states off and on mean, for those who hear them and, on a button without a tooltip
    /// of its own, for those who rest on it; none for a plain toggle.
    Q_PROPERTY(QString offText READ offText WRITE setOffText)
    Q_PROPERTY(QString onText READ onText WRITE setOnText)
    /// Whether the button stands on a faint plate of its own.
    Q_PROPERTY(bool plated MEMBER plated_)

  public:
    enum State { MixedState = -1, OffState = 0, OnState = 1 };

    explicit Button(QWidget* parent = nullptr);

    /// Clicks the button unless it is on already.
    Q_INVOKABLE void turnOn();

    int state() const;
    /// 1 on, 0 off, -1 mixed; any other value counts as on.
    void setState(int state);

    void setImage(const Image& image);
    const Image& image() const { return image_; }
    void setImageName(const QString& name);
    QString imageName() const { return imageName_; }
    void setAlternateImageName(const QString& name);
    QString alternateImageName() const { return alternateImageName_; }

    void setOffText(const QString& text);
    QString offText() const { return offText_; }
    void setOnText(const QString& text);
    QString onText() const { return onText_; }

    void setCell(const ButtonCell& cell);
    /// Absent while the button has the interface file's own look.
    const std::optional<ButtonCell>& cell() const { return cell_; }
    /// Redraws the button with its own cell.
    void drawCell() { update(); }

    /// A press opens `menu` (not owned) below the button instead of sending the action.
    void setMenu(QMenu* menu) { menu_ = menu; }

    QSize sizeHint() const override;

  protected:
    bool event(QEvent* event) override;
    void checkStateSet() override;
    void nextCheckState() override;
    void paintEvent(QPaintEvent* event) override;

  private:
    void turn(bool on);
    void tellState();
    void drawPlate(QPainter& painter) const;
    void drawFocusMark(QPainter& painter) const;

    Image image_;
    Image alternateImage_;
    QString imageName_;
    QString alternateImageName_;
    QString offText_;
    QString onText_;
    std::optional<ButtonCell> cell_;
    QPointer<QMenu> menu_;
    double imageSize_ = 20.0;
    bool plated_ = false;
    bool mixed_ = false;
    bool isTurned_ = false;  // by a click or the program
};

}  // namespace platform
