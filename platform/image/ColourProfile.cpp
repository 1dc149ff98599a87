#include "platform/image/ColourProfile.h"

#include "platform/image/LargeBuffer.h"
#include "platform/image/Parallel.h"

#include <QColorSpace>

#include <lcms2.h>

#include <algorithm>
#include <memory>
#include <type_traits>

namespace platform {

namespace {

constexpr int kThreads = 2;

struct CloseProfile {
    void operator()(void* profile) const { cmsCloseProfile(profile); }
};
struct DeleteTransform {
    void operator()(void* transform) const { cmsDeleteTransform(transform); }
};
using Profile = std::unique_ptr<void, CloseProfile>;
using Transform = std::unique_ptr<void, DeleteTransform>;

Profile openedProfile(const QByteArray& data, cmsColorSpaceSignature space) {
    Profile profile(
        cmsOpenProfileFromMem(data.constData(), static_cast<cmsUInt32Number>(data.size())));
    if (profile && cmsGetColorSpace(profile.get()) != space) profile.reset();
    return profile;
}

// Null when the profile lacks what a conversion needs. Without the library's one-pixel cache, which
// its calls write to, rows may be converted on several threads.
Transform transformToStandard(const Profile& profile, cmsUInt32Number pixels,
                              cmsUInt32Number flags) {
    if (!profile) return nullptr;
    const Profile standard(cmsCreate_sRGBProfile());
    return Transform(cmsCreateTransform(profile.get(), pixels, standard.get(), TYPE_RGBA_8,
                                        INTENT_PERCEPTUAL, flags | cmsFLAGS_NOCACHE));
}

void convert(const Transform& transform, const QImage& source, QImage& result) {
    uchar* const out = result.bits();
    parallelFor(source.height(), kThreads, [&](int y, int) {
        cmsDoTransform(transform.get(), source.constScanLine(y), out + y * result.bytesPerLine(),
                       static_cast<cmsUInt32Number>(source.width()));
    });
}

}  // namespace

bool areStandardColours(const QByteArray& profile) {
    return profile.isEmpty() ||
           QColorSpace::fromIccProfile(profile) == QColorSpace(QColorSpace::SRgb);
}

QImage inStandardColours(QImage image, const QByteArray& profile) {
    if (image.isNull() || areStandardColours(profile)) return image;
    if (Profile gray = openedProfile(profile, cmsSigGrayData); gray && image.isGrayscale()) {
        const Transform transform = transformToStandard(gray, TYPE_GRAY_16, 0);
        const QImage source = image.convertToFormat(QImage::Format_Grayscale16);
        QImage result = largeBitmap(image.size(), QImage::Format_RGBX8888);
        if (!transform || source.isNull() || result.isNull()) return image;
        result.fill(Qt::white);
        convert(transform, source, result);
        return result;
    }
    const Profile colours = openedProfile(profile, cmsSigRgbData);
    if (image.depth() <= 32) {
        const Transform transform = transformToStandard(colours, TYPE_RGBA_8, cmsFLAGS_COPY_ALPHA);
        if (!transform) return image;
        image.convertTo(image.hasAlphaChannel() ? QImage::Format_RGBA8888
                                                : QImage::Format_RGBX8888);
        if (!image.isNull()) convert(transform, image, image);
        return image;
    }
    const Transform transform = transformToStandard(colours, TYPE_RGBA_16, cmsFLAGS_COPY_ALPHA);
    if (!transform) return image;
    const QImage source = image.convertToFormat(QImage::Format_RGBA64);
    QImage result = largeBitmap(image.size(), QImage::Format_RGBA8888);
    if (source.isNull() || result.isNull()) return image;
    convert(transform, source, result);
    return result;
}

void convertCmykToRgba(uint8_t* pixels, int width, int height, bool inverted,
                       const QByteArray& profile) {
    const Transform transform = transformToStandard(openedProfile(profile, cmsSigCmykData),
                                                    inverted ? TYPE_CMYK_8_REV : TYPE_CMYK_8, 0);
    parallelFor(height, kThreads, [&](int y, int) {
        uint8_t* const row = pixels + static_cast<int64_t>(y) * width * 4;
        if (transform)
            cmsDoTransform(transform.get(), row, row, static_cast<cmsUInt32Number>(width));
        for (uint8_t* pixel = row; pixel < row + static_cast<int64_t>(width) * 4; pixel += 4) {
            if (!transform) {
                const int paper = inverted ? pixel[3] : 255 - pixel[3];
                for (int i = 0; i < 3; ++i) {
                    const int light = inverted ? pixel[i] : 255 - pixel[i];
                    pixel[i] = static_cast<uint8_t>((light * paper + 127) / 255);
                }
            }
            pixel[3] = 255;
        }
    });
}

}  // namespace platform
