#include "platform/ui/TextFieldCell.h"

#include "platform/foundation/Path.h"
#include "platform/ui/FallbackFaces.h"
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

// By the baseline, not the top: a line with letters of another face may be taller, and the lines
// keep their distance all the same.
void putOnBaseline(QTextLine& line, QPointF start) {
    line.setPosition(start - QPointF(0.0, line.ascent()));
}

// The layout's first line, where it breaks by `mode` at `width`.
QTextLine firstLine(QTextLayout& layout, QTextOption::WrapMode mode, double width) {
    QTextOption option;
    option.setWrapMode(mode);
    layout.setTextOption(option);
    layout.setFormats(fallbackFaces(layout.text(), layout.font()));
    // For the drawing, which else would shape it again.
    layout.setCacheEnabled(true);
    layout.beginLayout();
    QTextLine line = layout.createLine();
    line.setLineWidth(width);
    layout.endLayout();
    return line;
}

// As much of `text` as one line of `width` holds, with an ellipsis for the rest.
void drawElided(QString text, const QFont& font, double width, QPointF start, QPainter& painter) {
    text.replace(QChar::LineSeparator, QLatin1Char(' '));
    const QChar ellipsis(0x2026);
    QTextLayout whole(text, font);
    const double room = width - QFontMetricsF(font).horizontalAdvance(ellipsis);
    const QTextLine kept = firstLine(whole, QTextOption::WrapAnywhere, room);
    QTextLayout shown(text.first(kept.textLength()).trimmed() + ellipsis, font);
    QTextLine line = firstLine(shown, QTextOption::NoWrap, width);
    putOnBaseline(line, start);
    line.draw(&painter, QPointF());
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
    layout.setFormats(fallbackFaces(text, font_));
    QTextOption option;
    option.setWrapMode(wraps_ ? QTextOption::WrapAtWordBoundaryOrAnywhere : QTextOption::NoWrap);
    layout.setTextOption(option);
    layout.setCacheEnabled(true);
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
        putOnBaseline(line, QPointF(frame.left(), y + metrics.ascent()));
        y += height;
        lines.append(line);
    }
    layout.endLayout();

    painter.save();
    painter.setPen(textColor_);
    for (const QTextLine& line : lines) {
        const bool isLast = line.lineNumber() == lines.size() - 1;
        const bool overflows = line.naturalTextWidth() > frame.width() + 0.5;
        if ((isLast && !fits) || overflows) {
            const QPointF baseline(frame.left(), line.position().y() + line.ascent());
            drawElided(text.mid(line.textStart()), font_, frame.width(), baseline, painter);
        } else {
            line.draw(&painter, QPointF());
        }
    }
    painter.restore();
}

}  // namespace platform
