#pragma once

#include <QStyledItemDelegate>

namespace platform {

/// Draws the cells of a table: the style's background and mark, and one line of text, which is
/// shaped once. What does not fit ends in an ellipsis where its reading ends, on the left of a text
/// that is read from the right.
class CellDelegate : public QStyledItemDelegate {
    Q_OBJECT

  public:
    using QStyledItemDelegate::QStyledItemDelegate;
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
};

}  // namespace platform
