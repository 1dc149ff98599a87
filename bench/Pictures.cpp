#include "bench/Pictures.h"

#include <QBuffer>

#include <random>

namespace bench {

QImage photograph(QSize size) {
    QImage image(size, QImage::Format_RGBA8888_Premultiplied);
    std::minstd_rand random(1);
    for (int y = 0; y < size.height(); ++y) {
        uchar* const row = image.scanLine(y);
        for (int x = 0; x < size.width(); ++x) {
            const int shape = ((x ^ y) >> 4 & 31) + (x >> 5 & 63) + (y >> 5 & 63);
            const int grain = static_cast<int>(random() >> 8 & 7);
            for (int c = 0; c < 3; ++c)
                row[x * 4 + c] = static_cast<uchar>(shape + grain + 20 * c);
            row[x * 4 + 3] = 255;
        }
    }
    return image;
}

QByteArray jpegOf(const QImage& image) {
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "jpg", 90);
    return buffer.data();
}

}  // namespace bench
