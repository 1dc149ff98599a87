#include "presentation/CenteredTextFieldCell.h"

#include "platform/ui/Font.h"

CenteredTextFieldCell::CenteredTextFieldCell() {
    setTextColor(Qt::white);
    setFont(platform::fontWithNameSize(QStringLiteral("Helvetica Neue Thin"), 25.0));
    setWraps(true);
}

QRectF CenteredTextFieldCell::titleRectForBounds(const QRectF& bounds) const {
    const double lineHeight = attributedStringSize().height();
    QRectF title = TextFieldCell::titleRectForBounds(bounds);
    title.moveTop(bounds.y() + (bounds.height() - lineHeight) / 2.0);
    return title;
}

void CenteredTextFieldCell::drawInteriorWithFrameInView(const QRectF& frame, QPainter& painter,
                                                        const QWidget& view) const {
    TextFieldCell::drawInteriorWithFrameInView(titleRectForBounds(frame), painter, view);
}
