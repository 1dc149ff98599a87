#include "bench/Figures.h"
#include "bench/Pictures.h"
#include "platform/image/GaussianBlur.h"
#include "platform/image/ImageDecoder.h"
#include "presentation/BlurredBackdrop.h"
#include "tests/platform/image/ReferenceBlur.h"

#include <sys/resource.h>

#include <algorithm>
#include <string>
#include <vector>

using namespace bench;
using platform::GaussianBlur;
using platform::Image;

namespace {

constexpr double kDesktopLevel = 150;
constexpr double kArtworkLevel = 27;

double kernelMs(const QImage& source, double sigma, int threads, int runs) {
    GaussianBlur blur(sigma, threads);
    QImage result;
    const auto call = [&] { blur.blur(source, result); };
    call();
    return medianMs(runs, call);
}

double kernelMs(QSize size, double sigma, int threads, int runs) {
    return kernelMs(photograph(size), sigma, threads, runs);
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

template <typename Body>
void figure(const std::string& name, const char* unit, const Body& value) {
    if (isWanted(name)) print(name, static_cast<double>(value()), unit);
}

// The first call of the process: nothing is warm but the picture.
void coldFigures(const Image& wallpaper) {
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

void kernelFigures() {
    figure("blur.5k_s150.two_threads_ms", "ms",
           [] { return kernelMs(kFiveK, kDesktopLevel, 2, 11); });
    figure("blur.5k_s150.one_thread_ms", "ms",
           [] { return kernelMs(kFiveK, kDesktopLevel, 1, 7); });
    figure("blur.1080p_s150_ms", "ms", [] { return kernelMs({1920, 1080}, kDesktopLevel, 2, 31); });
    figure("blur.600_s27_ms", "ms", [] { return kernelMs({600, 600}, kArtworkLevel, 2, 61); });
    figure("blur.max_error_levels", "levels", greatestError);
}

void wholeFigures(const Image& wallpaper) {
    if (!isWanted("blur.whole_5k_s150_ms") && !isWanted("blur.whole_over_kernel")) return;
    const double whole = medianMs(
        11, [&] { blurWithLevelAndSize(wallpaper, kDesktopLevel, backdropSize(wallpaper)); });
    print("blur.whole_5k_s150_ms", whole, "ms");
    figure("blur.whole_over_kernel", "ratio",
           [&] { return whole / kernelMs(kFiveK, kDesktopLevel, 2, 11); });
}

void decodeFigures() {
    if (!isAnyWanted("blur.decode_5k_jpeg")) return;
    const QByteArray jpeg = jpegOf(photograph(kFiveK));
    Race race;
    race.enter([&] { platform::decodedImage(jpeg); });
    race.enter([&] { platform::premultiplied(QImage::fromData(jpeg)); });
    const std::vector<double> times = race.run(7);
    print("blur.decode_5k_jpeg_ms", times[0], "ms");
    print("blur.decode_5k_jpeg_toolkit_over_ours", times[1] / times[0], "ratio");
}

}  // namespace

int main(int argc, char** argv) {
    readCommandLine(argc, argv);
    {
        const Image wallpaper(photograph(kFiveK));
        coldFigures(wallpaper);
        wholeFigures(wallpaper);
    }
    kernelFigures();
    decodeFigures();
    return 0;
}
