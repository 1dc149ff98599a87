#pragma once

#include <QColor>
#include <QFont>
#include <QRectF>
#include <QString>

class QPainter;
class QWidget;

namespace platform {

/// What draws the text of a text field, from the top left of a title rectangle.
class TextFieldCell {
  public:
    TextFieldCell();
    virtual ~TextFieldCell() = default;
    TextFieldCell(const TextFieldCell&) = delete;
    TextFieldCell& operator=(const TextFieldCell&) = delete;

    void setStringValue(const QString& text) { text_ = text; }
    const QString& stringValue() const { return text_; }
    void setTextColor(const QColor& color) { textColor_ = color; }
    QColor textColor() const { return textColor_; }
    void setFont(const QFont& font) { font_ = font; }
    QFont font() const { return font_; }
    /// Whether text that is wider than the cell goes on in further lines.
    void setWraps(bool wraps) { wraps_ = wraps; }
    bool wraps() const { return wraps_; }

    /// The size of the text in its font, laid out on one line; 0 x 0 for no text.
    QSizeF attributedStringSize() const;

    /// Where the text goes in `bounds`.
    virtual QRectF titleRectForBounds(const QRectF& bounds) const;
    /// Draws the text with `frame` as its rectangle, clipped to `view`. Lines that no longer fit
    /// the visible part are left out, the last one shown ends in an ellipsis then.
    virtual void drawInteriorWithFrameInView(const QRectF& frame, QPainter& painter,
                                             const QWidget& view) const;

  private:
    QString text_;
    QColor textColor_ = Qt::black;
    QFont font_;
    bool wraps_ = false;
};

}  // namespace platform
