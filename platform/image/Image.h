#pragma once

#include <QByteArray>
#include <QImage>
#include <QSizeF>
#include <QString>

#include <memory>

class QPainter;
class QRectF;

namespace platform {

/// A picture and the size it is shown at. A value: copies share the pixels until one changes. A
/// null image is no image: it has size 0 x 0 and draws nothing.
class Image {
  public:
    Image();
    /// The image of `bitmap`, one point per pixel; null for a null bitmap.
    explicit Image(const QImage& bitmap);

    /// The bundle's image of that name (":/images/<name>.svg"), sharp at every size and scale; null
    /// when the bundle has none.
    static Image imageNamed(const QString& name);
    /// The image in the file at `path`, read when its size or pixels are first asked for; null when
    /// it then can't be read.
    static Image initByReferencingURL(const QString& path);
    /// Begins to read the file at `path` on another thread, for the next image of that path and
    /// blur, if that is the next one that is read. Main thread only.
    static void readAhead(const QString& path, double blur = 0);
    /// The image in the file at `path`, read at once; null when it can't be. Detail that a blur of
    /// `blur` pixels will hide may be left out of its bitmap.
    static Image initWithContentsOfURL(const QString& path, double blur = 0);
    /// The image encoded in `data`; null when it can't be decoded or is a drawing, which may name
    /// files to be read.
    static Image initWithData(const QByteArray& data);

    bool isNull() const;
    /// Logical size in points.
    QSizeF size() const;
    /// Shows the pixels stretched to `size` points from now on.
    void setSize(QSizeF size);
    /// The pixels, premultiplied 8-bit RGBA (QImage::Format_RGBA8888_Premultiplied), upright and in
    /// sRGB; null for no image.
    QImage bitmap() const;
    /// How many pixels of the picture each one of the bitmap stands for, along each side: 1, or 2,
    /// 4 or 8 for a picture that came reduced.
    int reduction() const;
    /// Draws the whole image, smoothly scaled to fill `rect`.
    void drawInRect(QPainter& painter, const QRectF& rect) const;

  private:
    class Representation;
    explicit Image(std::shared_ptr<Representation> representation);
    std::shared_ptr<Representation> representation_;
};

}  // namespace platform
