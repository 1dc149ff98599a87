#include "platform/ui/FocusRing.h"

#include "platform/ui/Theme.h"

#include <QPainter>

namespace platform {

FocusRing::FocusRing(QWidget& owner, double cornerRadius, const QColor& light)
    : QWidget(&owner), cornerRadius_(cornerRadius), light_(light) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setGeometry(owner.rect());
    raise();
    show();
}

void FocusRing::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(theme::kFocus, 2.0));
    painter.setBrush(light_);
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), cornerRadius_, cornerRadius_);
}

}  // namespace platform
