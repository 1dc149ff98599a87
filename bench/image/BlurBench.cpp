#include "platform/image/GaussianBlur.h"
#include "platform/image/ImageDecoder.h"
#include "presentation/BlurredBackdrop.h"
#include "tests/platform/image/ReferenceBlur.h"

#include <QBuffer>

#include <hwy/targets.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

using platform::GaussianBlur;
using platform::Image;

namespace {

constexpr QSize kFiveK(5120, 2880);
constexpr double kDesktopLevel = 150;
constexpr double kArtworkLevel = 27;

template <typename Body>
double elapsedMs(const Body& body) {
    const auto begin = std::chrono::steady_clock::now();
    body();
    const std::chrono::duration<double, std::milli> elapsed =
        std::chrono::steady_clock::now() - begin;
    return elapsed.count();
}

template <typename Body>
double medianMs(int runs, const Body& body) {
    std::vector<double> times;
    for (int run = 0; run < runs; ++run)
        times.push_back(elapsedMs(body));
    std::nth_element(times.begin(), times.begin() + runs / 2, times.end());
    return times[static_cast<size_t>(runs / 2)];
}

// Shapes of many sizes under grain: what a photograph costs an encoder, and no flat spot for a
// decoder to hurry over.
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

double kernelMs(QSize size, double sigma, int threads, int runs) {
    const QImage source = photograph(size);
    GaussianBlur blur(sigma, threads);
    QImage result;
    const auto call = [&] { blur.blur(source, result); };
    call();
    return medianMs(runs, call);
}

QSizeF backdropSize(const Image& image) {
    return {575.0, image.size().height() / (image.size().width() / 575.0)};
}

double greatestError() {
    double error = 0;
    for (const platform::Subject subject : platform::kSubjects) {
        const QImage picture = platform::pictureOf(subject, {233, 187});
        for (const double sigma : {0.5, 0.7, 1.0, 1.6, 3.0, 9.0, 27.0, 80.0, 150.0, 300.0}) {
            QImage result;
            GaussianBlur(sigma).blur(picture, result);
            error = std::max(error, platform::ReferenceBlur(picture, sigma).greatestError(result));
        }
    }
    return error;
}

long pageFaults() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

class Bench {
  public:
    explicit Bench(std::string prefix) : prefix_(std::move(prefix)) {}

    template <typename Body>
    void figure(const std::string& name, const char* unit, const Body& value) const {
        if (name.rfind(prefix_, 0) != 0) return;
        std::printf("%s %.4g %s\n", name.c_str(), static_cast<double>(value()), unit);
        std::fflush(stdout);
    }

    // The first call of the process: nothing is warm but the picture.
    void coldFigures(const Image& wallpaper) const {
        long faults = 0;
        figure("blur.cold_5k_ms", "ms", [&] {
            const long before = pageFaults();
            const double time = elapsedMs(
                [&] { blurWithLevelAndSize(wallpaper, kDesktopLevel, backdropSize(wallpaper)); });
            faults = pageFaults() - before;
            return time;
        });
        if (faults > 0) figure("blur.cold_5k_page_faults", "faults", [&] { return faults; });
    }

    void kernelFigures() const {
        figure("blur.5k_s150.two_threads_ms", "ms",
               [] { return kernelMs(kFiveK, kDesktopLevel, 2, 11); });
        figure("blur.5k_s150.one_thread_ms", "ms",
               [] { return kernelMs(kFiveK, kDesktopLevel, 1, 7); });
        figure("blur.1080p_s150_ms", "ms", [] {
            return kernelMs({1920, 1080}, kDesktopLevel, 2, 31);
        });
        figure("blur.600_s27_ms", "ms", [] { return kernelMs({600, 600}, kArtworkLevel, 2, 61); });
        figure("blur.max_error_levels", "levels", greatestError);
    }

    void instructionSetFigures() const {
        const int64_t supported = hwy::SupportedTargets();
        for (const int64_t set : {HWY_SCALAR, HWY_SSSE3, HWY_SSE4, HWY_AVX2, HWY_AVX3}) {
            if (set != HWY_SCALAR && (supported & set) == 0) continue;
            hwy::SetSupportedTargetsForTest(set);
            hwy::GetChosenTarget().Update(set);
            const std::string name = std::string("blur.") + hwy::TargetName(set);
            figure(name + ".5k_s150.two_threads_ms", "ms",
                   [] { return kernelMs(kFiveK, kDesktopLevel, 2, 5); });
            figure(name + ".5k_s150.one_thread_ms", "ms",
                   [] { return kernelMs(kFiveK, kDesktopLevel, 1, 3); });
            figure(name + ".max_error_levels", "levels", greatestError);
        }
        hwy::SetSupportedTargetsForTest(0);
        hwy::GetChosenTarget().DeInit();
    }

    void wholeFigures(const Image& wallpaper) const {
        const auto whole = [&] {
            return medianMs(11, [&] {
                blurWithLevelAndSize(wallpaper, kDesktopLevel, backdropSize(wallpaper));
            });
        };
        figure("blur.whole_5k_s150_ms", "ms", whole);
        figure("blur.whole_over_kernel", "ratio",
               [&] { return whole() / kernelMs(kFiveK, kDesktopLevel, 2, 11); });
    }

    // The picture's part of a load, from encoded bytes to backdrop.
    void loadFigures() const {
        const auto loadMs = [](QSize size, double level) {
            const QByteArray jpeg = jpegOf(photograph(size));
            return medianMs(7, [&] {
                const Image image = Image::initWithData(jpeg);
                blurWithLevelAndSize(image, level, backdropSize(image));
            });
        };
        figure("blur.decode_5k_jpeg_ms", "ms", [] {
            const QByteArray jpeg = jpegOf(photograph(kFiveK));
            return medianMs(7, [&] { platform::decodedImage(jpeg); });
        });
        figure("blur.load_5k_wallpaper_ms", "ms", [&] { return loadMs(kFiveK, kDesktopLevel); });
        figure("blur.load_600_artwork_ms", "ms", [&] { return loadMs({600, 600}, kArtworkLevel); });
    }

  private:
    std::string prefix_;
};

}  // namespace

int main(int argc, char** argv) {
    const bool prefixed = argc > 1 && argv[1][0] != '-';
    const Bench bench(prefixed ? argv[1] : "");
    {
        const Image wallpaper(photograph(kFiveK));
        bench.coldFigures(wallpaper);
        bench.wholeFigures(wallpaper);
    }
    bench.kernelFigures();
    bench.instructionSetFigures();
    bench.loadFigures();
    return 0;
}
