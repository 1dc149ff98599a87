#include "platform/ui/ImageView.h"

#include <QPainter>
#include <QPainterPath>

namespace platform {

void ImageView::setImage(const Image& image) {
    image_ = image;
    update();
}

void ImageView::setImageName(const QString& name) {
    imageName_ = name;
    setImage(Image::imageNamed(name));
}

void ImageView::setImageScaling(ImageScaling scaling) {
    scaling_ = scaling;
    update();
}

void ImageView::drawImageInRect(const QRectF& rect) {
    if (image_.isNull()) return;
    QPainter painter(this);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    if (cornerRadius_ > 0.0) {
        QPainterPath corners;
        corners.addRoundedRect(bounds(), cornerRadius_, cornerRadius_);
        painter.setClipPath(corners);
    }
    image_.drawInRect(painter, rect);
}

void ImageView::drawRect(const QRectF&) {
    QRectF place = bounds();
    if (scaling_ == ImageScaling::None) {
        place = QRectF(QPointF(), image_.size());
        place.moveCenter(bounds().center());
    }
    drawImageInRect(place);
}

}  // namespace platform
