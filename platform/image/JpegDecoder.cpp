#include "platform/image/JpegDecoder.h"

#include "platform/image/ColourProfile.h"
#include "platform/image/Exif.h"
#include "platform/image/JpegPlan.h"
#include "platform/image/LargeBuffer.h"

#include <QtEndian>

#include <turbojpeg.h>

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

namespace platform {

namespace {

struct Metadata {
    int orientation = 1;
    bool adobe = false;
    QByteArray profile;
};

// Reads the application segments between the start of the image and its first scan (ITU-T T.81,
// B.1.1): Exif in APP1, the profile's numbered pieces in APP2 (ICC.1:2010, B.4), Adobe's in APP14.
Metadata metadataOf(const QByteArray& data) {
    constexpr uchar kApp1 = 0xE1;
    constexpr uchar kApp2 = 0xE2;
    constexpr uchar kApp14 = 0xEE;
    constexpr uchar kStartOfScan = 0xDA;
    static constexpr QByteArrayView kExif("Exif\0\0", 6);
    static constexpr QByteArrayView kProfile("ICC_PROFILE\0", 12);
    Metadata metadata;
    std::map<uchar, QByteArrayView> pieces;
    const auto* const bytes = reinterpret_cast<const uchar*>(data.constData());
    qsizetype at = 2;
    while (at + 4 <= data.size() && bytes[at] == 0xFF && bytes[at + 1] != kStartOfScan) {
        const uchar marker = bytes[at + 1];
        // A marker may be preceded by any number of fill bytes.
        if (marker == 0xFF) {
            ++at;
            continue;
        }
        const qsizetype length = qFromBigEndian<quint16>(bytes + at + 2);
        if (length < 2 || at + 2 + length > data.size()) break;
        const QByteArrayView content = QByteArrayView(data).sliced(at + 4, length - 2);
        if (marker == kApp1 && content.startsWith(kExif))
            metadata.orientation = exifOrientation(content.sliced(kExif.size()));
        if (marker == kApp2 && content.startsWith(kProfile) && content.size() > kProfile.size() + 2)
            pieces[static_cast<uchar>(content[kProfile.size()])] =
                content.sliced(kProfile.size() + 2);
        if (marker == kApp14 && content.startsWith("Adobe")) metadata.adobe = true;
        at += 2 + length;
    }
    for (const auto& [number, piece] : pieces)
        metadata.profile += piece;
    return metadata;
}

// How far a picture that will be blurred by that many pixels may be reduced. A reduced pixel is the
// mean of those it stands for, a box whose width is nothing beside what is left of the blur.
int reductionForBlur(double blur) {
    constexpr double kLeastBlur = 32;
    int reduction = 1;
    while (reduction < 8 && blur / (2 * reduction) >= kLeastBlur)
        reduction *= 2;
    return reduction;
}

struct DestroyDecoder {
    void operator()(void* decoder) const { tjDestroy(decoder); }
};

}  // namespace

bool isJpeg(const QByteArray& data) {
    return data.startsWith("\xFF\xD8\xFF");
}

DecodedImage decodedJpeg(const QByteArray& data, double blur) {
    std::optional<JpegPlan> plan = jpegPlan(data);
    const std::unique_ptr<void, DestroyDecoder> decoder(tjInitDecompress());
    if (!plan || !decoder) return {};
    const auto* const bytes = reinterpret_cast<const uchar*>(data.constData());
    const auto length = static_cast<unsigned long>(plan->length);
    int width = 0;
    int height = 0;
    int subsampling = 0;
    int space = 0;
    if (tjDecompressHeader3(decoder.get(), bytes, length, &width, &height, &subsampling, &space) <
        0)
        return {};
    const QSize size(width, height);
    const bool cmyk = space == TJCS_CMYK || space == TJCS_YCCK;
    const Metadata metadata = metadataOf(data);
    // Colours that are still to be converted have no mean before that.
    if (!cmyk && areStandardColours(metadata.profile))
        plan->reduction = std::max(plan->reduction, reductionForBlur(blur));
    const tjscalingfactor scale = {1, plan->reduction};
    width = TJSCALED(width, scale);
    height = TJSCALED(height, scale);
    if (std::max(width, height) > kMaxDecodedSide) return {};
    QImage image = largeBitmap(
        {width, height}, cmyk ? QImage::Format_RGBA8888_Premultiplied : QImage::Format_RGBX8888);
    if (image.isNull()) return {};
    // Thousands of progressive scans make a small file decode for minutes.
    if (tjDecompress2(decoder.get(), bytes, length, image.bits(), width,
                      static_cast<int>(image.bytesPerLine()), height, cmyk ? TJPF_CMYK : TJPF_RGBA,
                      TJFLAG_LIMITSCANS) < 0 &&
        tjGetErrorCode(decoder.get()) != TJERR_WARNING)
        return {};

    if (cmyk)
        convertCmykToRgba(image.bits(), width, height, metadata.adobe, metadata.profile);
    else
        image = inStandardColours(std::move(image), metadata.profile);
    constexpr int kFirstOnItsSide = 5;
    return {uprightImage(premultiplied(std::move(image)), metadata.orientation),
            metadata.orientation < kFirstOnItsSide ? size : size.transposed(), plan->reduction};
}

}  // namespace platform
