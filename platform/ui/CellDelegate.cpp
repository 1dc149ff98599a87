#include "platform/ui/CellDelegate.h"

#include <QApplication>
#include <QPainter>
#include <QTextLayout>

#include <utility>

namespace platform {

namespace {

constexpr int kMargin = 11;  // points before and behind the text, as in the header
constexpr int kMarkGap = 6;  // points between a mark and the text, as the style puts them

// The toolkit's own way shapes every text three times: to measure it, to see whether it fits, and
// to draw it.
void drawLine(const QString& text, const QFont& font, const QRectF& room, QPainter& painter) {
    QTextLayout layout(text, font);
    QTextOption option(Qt::AlignLeft | Qt::AlignAbsolute);
    option.setWrapMode(QTextOption::NoWrap);
    option.setTextDirection(text.isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
    layout.setTextOption(option);
    // Else the glyphs are given back where the layout ends, and made again to be drawn.
    layout.setCacheEnabled(true);
    layout.beginLayout();
    QTextLine line = layout.createLine();
    line.setLineWidth(room.width());
    layout.endLayout();
    if (line.naturalTextWidth() > room.width()) {
        const QFontMetricsF metrics(font, painter.device());
        const QString elided = metrics.elidedText(text, Qt::ElideRight, room.width());
        if (elided != text) return drawLine(elided, font, room, painter);
    }
    line.setPosition({0.0, (room.height() - line.height()) / 2.0});
    line.draw(&painter, room.topLeft());
}

}  // namespace

void CellDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                         const QModelIndex& index) const {
    QStyleOptionViewItem cell = option;
    initStyleOption(&cell, index);
    const QString text = std::exchange(cell.text, QString());
    const QStyle* const style = cell.widget ? cell.widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &cell, painter, cell.widget);
    const bool isMarked = cell.features.testFlag(QStyleOptionViewItem::HasDecoration);
    const int mark = isMarked ? cell.decorationSize.width() + kMarkGap : 0;
    const QRectF room = QRectF(cell.rect).adjusted(kMargin + mark, 0, -kMargin, 0);
    if (room.width() <= 0.0) return;
    const bool isSelected = cell.state.testFlag(QStyle::State_Selected);
    painter->save();
    painter->setPen(cell.palette.color(isSelected ? QPalette::HighlightedText : QPalette::Text));
    painter->setClipRect(cell.rect, Qt::IntersectClip);
    drawLine(text, cell.font, room, *painter);
    painter->restore();
}

}  // namespace platform
