#include "platform/image/Image.h"

#include "platform/foundation/Path.h"
#include "platform/image/ImageDecoder.h"

#include <QFile>
#include <QHash>
#include <QPainter>
#include <QSvgRenderer>

#include <algorithm>
#include <future>
#include <system_error>
#include <utility>
#include <vector>

namespace platform {

namespace {

DecodedImage imageOfFile(const QString& path, double blur) {
    const auto data = dataWithContentsOfFile(path);
    return data ? decodedImage(*data, Drawings::Decoded, blur) : DecodedImage();
}

/// A file that is being read on another thread.
struct ReadAhead {
    QString path;
    double blur = 0;
    std::future<DecodedImage> image;
};

ReadAhead& lastReadAhead() {
    static ReadAhead last;
    return last;
}

}  // namespace

// Where the pixels come from. Only the logical size ever changes once it is loaded.
class Image::Representation {
  public:
    explicit Representation(const DecodedImage& image) { take(image); }
    explicit Representation(std::shared_ptr<QSvgRenderer> drawing)
        : drawing_(std::move(drawing)), size_(drawing_->defaultSize()) {}

    static std::shared_ptr<Representation> atPath(const QString& path, double blur) {
        auto representation = std::make_shared<Representation>(DecodedImage());
        representation->path_ = path;
        representation->blur_ = blur;
        return representation;
    }

    void load() {
        if (path_.isNull()) return;
        // Whatever was read ahead is not kept for longer than this.
        ReadAhead ahead = std::exchange(lastReadAhead(), {});
        const bool isRead = ahead.image.valid() && ahead.path == path_ && ahead.blur == blur_;
        take(isRead ? ahead.image.get() : imageOfFile(path_, blur_));
        path_ = QString();
    }

    bool isNull() const { return !drawing_ && bitmap_.isNull(); }
    QSizeF size() const { return size_; }
    void setSize(QSizeF size) { size_ = size; }

    QImage bitmap() const { return drawing_ ? rendered(drawing_->defaultSize()) : bitmap_; }
    int reduction() const { return reduction_; }

    // The image at exactly that many pixels; drawn anew only when it isn't among the last few.
    QImage pixels(QSize size) {
        const auto known = std::find_if(cache_.begin(), cache_.end(),
                                        [&](const QImage& image) { return image.size() == size; });
        if (known != cache_.end()) return *known;
        constexpr size_t kCached = 4;
        if (cache_.size() == kCached) cache_.erase(cache_.begin());
        cache_.push_back(
            drawing_ ? rendered(size)
                     : bitmap_.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
        return cache_.back();
    }

    bool drawsBestAtPixels(QSize size) const {
        return drawing_ || size.width() < bitmap_.width() || size.height() < bitmap_.height();
    }

  private:
    void take(const DecodedImage& image) {
        bitmap_ = image.bitmap;
        size_ = bitmap_.isNull() ? QSize(0, 0) : image.size;
        reduction_ = image.reduction;
    }

    QImage rendered(QSize size) const {
        QImage image(size, QImage::Format_RGBA8888_Premultiplied);
        if (image.isNull()) return image;
        image.fill(Qt::transparent);
        QPainter painter(&image);
        drawing_->render(&painter);
        return image;
    }

    QString path_;
    double blur_ = 0;
    QImage bitmap_;
    int reduction_ = 1;
    std::shared_ptr<QSvgRenderer> drawing_;
    QSizeF size_;
    std::vector<QImage> cache_;
};

Image::Image() : Image(QImage()) {}

Image::Image(const QImage& bitmap)
    : Image(std::make_shared<Representation>(DecodedImage{
          bitmap.convertToFormat(QImage::Format_RGBA8888_Premultiplied), bitmap.size(), 1})) {}

Image::Image(std::shared_ptr<Representation> representation)
    : representation_(std::move(representation)) {}

Image Image::imageNamed(const QString& name) {
    // Asked for again at every refresh and drawing; kept beyond the application's end, where a
    // drawing can't be taken down any more.
    static auto& known = *new QHash<QString, Image>;
    if (const auto found = known.constFind(name); found != known.cend()) return *found;
    const QString path = QStringLiteral(":/images/") + name + QStringLiteral(".svg");
    if (!QFile::exists(path)) return Image();
    auto drawing = std::make_shared<QSvgRenderer>(path);
    if (!drawing->isValid()) return Image();
    return *known.insert(name, Image(std::make_shared<Representation>(std::move(drawing))));
}

Image Image::initByReferencingURL(const QString& path) {
    return Image(Representation::atPath(path, 0));
}

void Image::readAhead(const QString& path, double blur) {
    try {
        lastReadAhead() = {path, blur, std::async(std::launch::async, imageOfFile, path, blur)};
    } catch (const std::system_error&) {
        // No thread is to be had: it will be read when it is asked for.
    }
}

Image Image::initWithContentsOfURL(const QString& path, double blur) {
    Image image(Representation::atPath(path, blur));
    image.representation_->load();
    return image;
}

Image Image::initWithData(const QByteArray& data) {
    return Image(std::make_shared<Representation>(decodedImage(data)));
}

bool Image::isNull() const {
    representation_->load();
    return representation_->isNull();
}

QSizeF Image::size() const {
    representation_->load();
    return representation_->size();
}

void Image::setSize(QSizeF size) {
    representation_->load();
    if (isNull()) return;
    if (representation_.use_count() > 1)
        representation_ = std::make_shared<Representation>(*representation_);
    representation_->setSize(size);
}

QImage Image::bitmap() const {
    representation_->load();
    return representation_->bitmap();
}

int Image::reduction() const {
    representation_->load();
    return representation_->reduction();
}

void Image::drawInRect(QPainter& painter, const QRectF& rect) const {
    if (isNull() || rect.isEmpty()) return;
    const QSize size = painter.deviceTransform().mapRect(rect).size().toSize();
    if (size.isEmpty()) return;
    painter.save();
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(rect, representation_->drawsBestAtPixels(size) ? representation_->pixels(size)
                                                                     : representation_->bitmap());
    painter.restore();
}

}  // namespace platform
