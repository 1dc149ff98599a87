#pragma once

#include "platform/ui/TextFieldCell.h"

/// The cell of the decks' labels: thin white text whose first line is vertically centred.
class CenteredTextFieldCell final : public platform::TextFieldCell {
  public:
    /// White "Helvetica Neue Thin" at 25 points, wrapping.
    CenteredTextFieldCell();

    /// The base class's rectangle with its top moved so that one line of text is centred in
    /// `bounds`; further lines continue below it.
    QRectF titleRectForBounds(const QRectF& bounds) const override;
    void drawInteriorWithFrameInView(const QRectF& frame, QPainter& painter,
                                     const QWidget& view) const override;
};
