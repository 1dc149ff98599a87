#pragma once

#include "platform/image/Image.h"
#include "platform/ui/View.h"

namespace platform {

/// Where an image stands that does not fill its view; there is this one place.
enum class ImageAlignment { Center = 0 };
enum class ImageScaling {
    AxesIndependently = 1,  ///< stretched to the view
    None = 2,  ///< at the image's own size, clipped to the view; an edge inside the view fades out
};

/// A view that shows an image.
class ImageView : public View {
    Q_OBJECT
    /// Radius in points of the corners that the image is clipped to.
    Q_PROPERTY(double cornerRadius MEMBER cornerRadius_)
    /// Name of a bundle image to show.
    Q_PROPERTY(QString imageName READ imageName WRITE setImageName)

  public:
    explicit ImageView(QWidget* parent = nullptr) : View(parent) {}

    void setImage(const Image& image);
    const Image& image() const { return image_; }
    void setImageName(const QString& name);
    QString imageName() const { return imageName_; }
    void setImageAlignment(ImageAlignment) {}
    void setImageScaling(ImageScaling scaling);
    ImageScaling imageScaling() const { return scaling_; }

  protected:
    void drawRect(const QRectF& rect) override;
    /// Draws the image to fill `rect`, within the view's rounded corners.
    void drawImageInRect(const QRectF& rect);

  private:
    void drawFadingInRect(const QRectF& rect);
    void clipToCorners(QPainter& painter) const;

    Image image_;
    QString imageName_;
    ImageScaling scaling_ = ImageScaling::AxesIndependently;
    double cornerRadius_ = 0.0;
};

}  // namespace platform
