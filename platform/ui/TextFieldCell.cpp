#include "platform/ui/TextFieldCell.h"

#include "platform/foundation/Path.h"
#include "platform/ui/Font.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QTextLayout>
#include <QWidget>

namespace platform {

namespace {

// What separates paragraphs separates lines here; everything else is one run of text.
QString singleParagraph(QString text) {
    return text.replace(QLatin1Char('\n'), QChar::LineSeparator);
}

}  // namespace

TextFieldCell::TextFieldCell() : font_(systemFontOfSize(13.0)) {}

QSizeF TextFieldCell::attributedStringSize() const {
    if (text_.isEmpty()) return {0.0, 0.0};
    const QFontMetricsF metrics(font_);
    return {metrics.horizontalAdvance(text_), metrics.height()};
}

QRectF TextFieldCell::titleRectForBounds(const QRectF& bounds) const {
    return bounds;
}

void TextFieldCell::drawInteriorWithFrameInView(const QRectF& frame, QPainter& painter,
                                                const QWidget& view) const {
    if (text_.isEmpty()) return;
    const QFontMetricsF metrics(font_);
    const QString text = singleParagraph(displayString(text_));
    const double bottom = qMin(frame.bottom(), double(view.rect().bottom() + 1));

    QTextLayout layout(text, font_);
    QTextOption option;
    option.setWrapMode(wraps_ ? QTextOption::WrapAtWordBoundaryOrAnywhere : QTextOption::NoWrap);
    layout.setTextOption(option);
    layout.beginLayout();
    double y = frame.top();
    QList<QTextLine> lines;
    bool fits = true;
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(frame.width());
        const double height = metrics.height();
        if (!lines.isEmpty() && y + height > bottom + 0.5) {
            fits = false;
            break;
        }
        line.setPosition(QPointF(frame.left(), y));
        y += height;
        lines.append(line);
    }
    layout.endLayout();

    painter.save();
    painter.setFont(font_);
    painter.setPen(textColor_);
    for (const QTextLine& line : lines) {
        const bool isLast = line.lineNumber() == lines.size() - 1;
        const bool overflows = line.naturalTextWidth() > frame.width() + 0.5;
        if ((isLast && !fits) || overflows) {
            const QString rest = text.mid(line.textStart());
            painter.drawText(
                QPointF(frame.left(), line.position().y() + metrics.ascent()),
                metrics.elidedText(rest, Qt::ElideRight, frame.width(), Qt::TextSingleLine));
        } else {
            line.draw(&painter, QPointF());
        }
    }
    painter.restore();
}

}  // namespace platform
