#include "platform/ui/ImageView.h"

#include <QPainter>
#include <QPainterPath>

namespace platform {

namespace {

// How far a picture's edge takes to fade, in points; a small picture's is a quarter of it.
constexpr double kFade = 56.0;

}  // namespace

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
    clipToCorners(painter);
    image_.drawInRect(painter, rect);
}

void ImageView::drawFadingInRect(const QRectF& rect) {
    QImage layer((bounds().size() * devicePixelRatioF()).toSize(),
                 QImage::Format_ARGB32_Premultiplied);
    layer.setDevicePixelRatio(devicePixelRatioF());
    layer.fill(Qt::transparent);
    {
        QPainter painter(&layer);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        image_.drawInRect(painter, rect);
        painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
        const auto fade = [&](QPointF edge, QPointF inward) {
            const double extent = inward.x() != 0 ? rect.width() : rect.height();
            QLinearGradient gradient(edge, edge + inward * qMin(kFade, extent / 4));
            gradient.setColorAt(0.0, Qt::transparent);
            gradient.setColorAt(1.0, Qt::black);
            painter.fillRect(bounds(), gradient);
        };
        if (rect.left() > bounds().left()) fade(rect.topLeft(), {1, 0});
        if (rect.right() < bounds().right()) fade(rect.topRight(), {-1, 0});
        if (rect.top() > bounds().top()) fade(rect.topLeft(), {0, 1});
        if (rect.bottom() < bounds().bottom()) fade(rect.bottomLeft(), {0, -1});
    }
    QPainter painter(this);
    clipToCorners(painter);
    painter.drawImage(QPointF(), layer);
}

void ImageView::clipToCorners(QPainter& painter) const {
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    if (cornerRadius_ <= 0.0) return;
    QPainterPath corners;
    corners.addRoundedRect(bounds(), cornerRadius_, cornerRadius_);
    painter.setClipPath(corners);
}

void ImageView::drawRect(const QRectF&) {
    QRectF place = bounds();
    if (scaling_ == ImageScaling::None) {
        place = QRectF(QPointF(), image_.size());
        place.moveCenter(bounds().center());
    }
    if (place.contains(bounds())) {
        drawImageInRect(place);
    } else if (!image_.isNull()) {
        drawFadingInRect(place);
    }
}

}  // namespace platform
