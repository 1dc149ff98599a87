#include "bench/audio/Disturbances.h"

#include "platform/image/Image.h"
#include "platform/media/MediaAsset.h"
#include "presentation/BlurredBackdrop.h"
#include "tests/platform/media/TagBytes.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>

#include <algorithm>

namespace platform::audio {

void readTags(int files) {
    const QTemporaryDir folder;
    const QByteArray title = encoded(3, "A song");
    const QByteArray bytes = id3Tag(4, id3Frame(4, "TIT2", title)) + nul(4096);
    for (int i = 0; i < files; ++i) {
        const QString path = folder.filePath(QStringLiteral("%1.mp3").arg(i));
        QFile file(path);
        if (file.open(QIODevice::WriteOnly)) file.write(bytes);
        file.close();
        MediaAsset::URLAssetWithURL(path);
    }
}

void blurTwice() {
    QImage picture(5120, 2880, QImage::Format_RGB32);
    picture.fill(Qt::darkCyan);
    const Image image(picture);
    for (int i = 0; i < 2; ++i)
        blurWithLevelAndSize(image, 150, QSizeF(575, 323.4375));
}

BusyProcessors::BusyProcessors() {
    const unsigned processors = std::max(1U, std::thread::hardware_concurrency());
    for (unsigned i = 0; i < processors; ++i) {
        threads_.emplace_back([this] {
            while (!ending_.load(std::memory_order_relaxed)) {
            }
        });
    }
}

BusyProcessors::~BusyProcessors() {
    ending_ = true;
    for (std::thread& thread : threads_)
        thread.join();
}

}  // namespace platform::audio
