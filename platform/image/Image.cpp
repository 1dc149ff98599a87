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

QImage bitmapOfFile(const QString& path) {
    const auto data = dataWithContentsOfFile(path);
    return data ? decodedImage(*data, Drawings::Decoded) : QImage();
}

/// A file that is being read on another thread.
struct ReadAhead {
    QString path;
    std::future<QImage> bitmap;
};

ReadAhead& lastReadAhead() {
    static ReadAhead last;
    return last;
}

}  // namespace

// Where the pixels come from. Only the logical size ever changes once it is loaded.
class Image::Representation {
  public:
    explicit Representation(const QImage& bitmap) : bitmap_(bitmap), size_(bitmap.size()) {}
    explicit Representation(std::shared_ptr<QSvgRenderer> drawing)
        : drawing_(std::move(drawing)), size_(drawing_->defaultSize()) {}

    static std::shared_ptr<Representation> atPath(const QString& path) {
        auto representation = std::make_shared<Representation>(QImage());
        representation->path_ = path;
        return representation;
    }

    void load() {
        if (path_.isNull()) return;
        // Whatever was read ahead is not kept for longer than this.
        ReadAhead ahead = std::exchange(lastReadAhead(), {});
        const bool isRead = ahead.bitmap.valid() && ahead.path == path_;
        bitmap_ = isRead ? ahead.bitmap.get() : bitmapOfFile(path_);
        size_ = bitmap_.size();
        path_ = QString();
    }

    bool isNull() const { return !drawing_ && bitmap_.isNull(); }
    QSizeF size() const { return size_; }
    void setSize(QSizeF size) { size_ = size; }

    QImage bitmap() const { return drawing_ ? rendered(drawing_->defaultSize()) : bitmap_; }

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
    QImage rendered(QSize size) const {
        QImage image(size, QImage::Format_RGBA8888_Premultiplied);
        if (image.isNull()) return image;
        image.fill(Qt::transparent);
        QPainter painter(&image);
        drawing_->render(&painter);
        return image;
    }

    QString path_;
    QImage bitmap_;
    std::shared_ptr<QSvgRenderer> drawing_;
    QSizeF size_;
    std::vector<QImage> cache_;
};

Image::Image() : Image(QImage()) {}

Image::Image(const QImage& bitmap)
    : Image(std::make_shared<Representation>(
          bitmap.convertToFormat(QImage::Format_RGBA8888_Premultiplied))) {}

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
    return Image(Representation::atPath(path));
}

void Image::readAhead(const QString& path) {
    try {
        lastReadAhead() = {path, std::async(std::launch::async, bitmapOfFile, path)};
    } catch (const std::system_error&) {
        // No thread is to be had: it will be read when it is asked for.
    }
}

Image Image::initWithContentsOfURL(const QString& path) {
    Image image = initByReferencingURL(path);
    image.representation_->load();
    return image;
}

Image Image::initWithData(const QByteArray& data) {
    return Image(decodedImage(data));
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
