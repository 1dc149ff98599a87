#include "platform/ui/FocusRing.h"

#include "platform/ui/Theme.h"

#include <QPainter>

namespace platform {

FocusRing::FocusRing(QWidget& owner, double cornerRadius)
    : QWidget(&owner), cornerRadius_(cornerRadius) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setGeometry(owner.rect());
    raise();
    show();
}

void FocusRing::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(theme::kFocus, 2.0));
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), cornerRadius_, cornerRadius_);
}

}  // namespace platform
