#include "platform/ui/TextField.h"

#include "platform/foundation/Path.h"

#include <QPainter>

namespace platform {

TextField::TextField(QWidget* parent) : QLabel(parent) {
    setTextFormat(Qt::PlainText);
}

void TextField::setStringValue(const QString& text) {
    const QString shown = displayString(text);
    setText(shown);
    // A name that says what the field is hides what it reads from a screen reader.
    if (!accessibleName().isEmpty()) setAccessibleDescription(shown);
    if (cell_) cell_->setStringValue(text);
}

void TextField::setCell(std::unique_ptr<TextFieldCell> cell) {
    cell_ = std::move(cell);
    if (cell_) cell_->setStringValue(text());
    update();
}

void TextField::paintEvent(QPaintEvent* event) {
    if (!cell_) {
        QLabel::paintEvent(event);
        return;
    }
    QPainter painter(this);
    cell_->drawInteriorWithFrameInView(rect(), painter, *this);
}

}  // namespace platform
