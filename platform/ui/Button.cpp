#include "platform/ui/Button.h"

#include "platform/ui/Font.h"
#include "platform/ui/Theme.h"

#include <QHelpEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QToolTip>

namespace platform {

namespace {

// Hardly a text face has U+2715: it would look as in whichever other face does, and the start would
// wait for all faces of the system to be asked for it.
void drawMultiplicationX(QPainter& painter, const QRectF& place, const AttributedString& title) {
    const double em = title.font.pixelSize();
    QRectF cross(0.0, 0.0, 0.45 * em, 0.45 * em);
    cross.moveCenter(place.center());
    painter.setPen(QPen(title.foregroundColor, em / 9.0, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(cross.topLeft(), cross.bottomRight());
    painter.drawLine(cross.topRight(), cross.bottomLeft());
}

void drawTitle(QPainter& painter, const QRectF& place, const AttributedString& title) {
    if (title.string == QChar(0x2715)) return drawMultiplicationX(painter, place, title);
    painter.setFont(title.font);
    painter.setPen(title.foregroundColor);
    painter.drawText(place, int(title.alignment | Qt::AlignVCenter), title.string);
}

}  // namespace

Button::Button(QWidget* parent) : QAbstractButton(parent) {
    setFont(systemFontOfSize(13.0));
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
    connect(this, &QAbstractButton::clicked, this, [this] {
        if (menu_) {
            menu_->popup(mapToGlobal(QPoint(0, height() + 4)));
        } else {
            sendAction();
        }
    });
}

bool Button::event(QEvent* event) {
    // The focused button keeps the key that presses it, whatever that key does elsewhere.
    if (event->type() == QEvent::ShortcutOverride &&
        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Space) {
        event->accept();
    }
    if (event->type() == QEvent::ToolTip && toolTip().isEmpty()) {
        QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), accessibleDescription(),
                           this);
        return true;
    }
    return QAbstractButton::event(event);
}

void Button::turnOn() {
    if (state() != OnState) click();
}

int Button::state() const {
    if (mixed_) return MixedState;
    return isChecked() ? OnState : OffState;
}

void Button::setState(int state) {
    mixed_ = state == MixedState;
    turn(state != OffState && !mixed_);
    update();
}

void Button::nextCheckState() {
    const bool turnsOn = mixed_ || !isChecked();
    mixed_ = false;
    if (isCheckable()) turn(turnsOn);
}

void Button::turn(bool on) {
    isTurned_ = true;
    setChecked(on);
    isTurned_ = false;
}

void Button::checkStateSet() {
    tellState();
    // An assistive tool turns a toggle by its state alone, which is as much the user's work; what
    // one of a group turns off by turning on is not.
    if (!isTurned_ && !action().isEmpty() && (isChecked() || !autoExclusive())) sendAction();
}

void Button::setOffText(const QString& text) {
    offText_ = text;
    tellState();
}

void Button::setOnText(const QString& text) {
    onText_ = text;
    tellState();
}

void Button::tellState() {
    if (!onText_.isEmpty()) setAccessibleDescription(state() == OnState ? onText_ : offText_);
}

void Button::setImage(const Image& image) {
    image_ = image;
    update();
}

void Button::setImageName(const QString& name) {
    imageName_ = name;
    setImage(Image::imageNamed(name));
}

void Button::setAlternateImageName(const QString& name) {
    alternateImageName_ = name;
    alternateImage_ = Image::imageNamed(name);
    update();
}

void Button::setCell(const ButtonCell& cell) {
    cell_ = cell;
    update();
}

QSize Button::sizeHint() const {
    if (text().isEmpty()) return {36, 36};
    return {fontMetrics().horizontalAdvance(text()) + 28, 32};
}

void Button::drawPlate(QPainter& painter) const {
    const QRectF plate = QRectF(rect()).adjusted(1, 1, -1, -1);
    double opacity = plated_ ? 0.14 : 0.0;
    if (plated_ && !text().isEmpty() && state() == OnState) opacity += 0.16;
    if (underMouse() && isEnabled()) opacity += 0.12;
    if (isDown()) opacity += 0.12;
    if (opacity <= 0.0) return;
    QColor color = palette().color(QPalette::ButtonText);
    color.setAlphaF(static_cast<float>(opacity));
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    const double radius = qMin(plate.height() / 2.0, text().isEmpty() ? plate.width() / 2.0 : 8.0);
    painter.drawRoundedRect(plate, radius, radius);
}

void Button::drawFocusMark(QPainter& painter) const {
    if (!theme::showsFocus(*this)) return;
    const QRectF mark = QRectF(rect()).adjusted(1.5, 1.5, -1.5, -1.5);
    painter.setPen(QPen(theme::kFocus, 2.0));
    painter.setBrush(Qt::NoBrush);
    const double radius = qMin(mark.height() / 2.0, text().isEmpty() ? mark.width() / 2.0 : 8.0);
    painter.drawRoundedRect(mark, radius, radius);
}

void Button::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (!isEnabled()) painter.setOpacity(0.4);
    if (cell_) {
        const QRectF plate = QRectF(rect()).adjusted(1, 1, -1, -1);
        const QColor background = cell_->backgroundColor;
        painter.setPen(cell_->bordered ? QPen(background.darker(130)) : QPen(Qt::NoPen));
        painter.setBrush(isDown()       ? background.darker(115)
                         : underMouse() ? background.lighter(112)
                                        : background);
        painter.drawRoundedRect(plate, plate.height() / 2.0, plate.height() / 2.0);
        drawTitle(painter, plate, cell_->attributedTitle);
    } else {
        drawPlate(painter);
        const Image& shown =
            state() == OnState && !alternateImage_.isNull() ? alternateImage_ : image_;
        if (!shown.isNull()) {
            QRectF place(0, 0, imageSize_, imageSize_);
            place.moveCenter(QRectF(rect()).center());
            if (!text().isEmpty()) place.moveLeft(10.0);
            shown.drawInRect(painter, place);
        }
        painter.setPen(palette().color(QPalette::ButtonText));
        painter.setFont(font());
        const QRectF title = shown.isNull() ? QRectF(rect()) : QRectF(rect()).adjusted(16, 0, 0, 0);
        painter.drawText(title, Qt::AlignCenter, text());
    }
    drawFocusMark(painter);
}

}  // namespace platform
