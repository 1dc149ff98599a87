#include "platform/foundation/Path.h"
#include "platform/workspace/DesktopPicture.h"

#include <QDateTime>
#include <QXmlStreamReader>

#include <cmath>

namespace platform {

namespace {

struct Slide {
    double duration = 0.0;  // seconds
    std::optional<QString> picture;
};

struct Slideshow {
    QDateTime start = QDateTime::fromSecsSinceEpoch(0);
    QList<Slide> slides;
};

QDateTime readStart(QXmlStreamReader& xml) {
    const char* const names[] = {"year", "month", "day", "hour", "minute", "second"};
    int values[] = {1970, 1, 1, 0, 0, 0};
    while (xml.readNextStartElement()) {
        const QString name = xml.name().toString();
        const int value = xml.readElementText(QXmlStreamReader::SkipChildElements).toInt();
        for (int i = 0; i < 6; ++i) {
            if (name == QLatin1String(names[i])) values[i] = value;
        }
    }
    return QDateTime(QDate(values[0], values[1], values[2]),
                     QTime(values[3], values[4], values[5]));
}

// A path, or one for each of several <size width="..." height="...">.
std::optional<QString> readPicture(QXmlStreamReader& xml, const QSize& screen) {
    QList<SizedPicture> pictures;
    QString path;
    while (!xml.atEnd() && xml.readNext() != QXmlStreamReader::EndElement) {
        if (xml.isCharacters()) path += xml.text();
        if (!xml.isStartElement()) continue;
        const QXmlStreamAttributes size = xml.attributes();
        pictures.append({{size.value(QLatin1String("width")).toInt(),
                          size.value(QLatin1String("height")).toInt()},
                         xml.readElementText(QXmlStreamReader::SkipChildElements).trimmed()});
    }
    return pathOfURL(pictureForScreen(pictures, screen).value_or(path.trimmed()));
}

// A <static> is one slide; a <transition> shows its first picture, then its second.
void readSlide(QXmlStreamReader& xml, const QSize& screen, QList<Slide>& slides) {
    double duration = 0.0;
    QList<std::optional<QString>> pictures;
    while (xml.readNextStartElement()) {
        if (xml.name() == QLatin1String("duration")) {
            duration = xml.readElementText(QXmlStreamReader::SkipChildElements).toDouble();
        } else if (xml.name() == QLatin1String("file") || xml.name() == QLatin1String("from") ||
                   xml.name() == QLatin1String("to")) {
            pictures += readPicture(xml, screen);
        } else {
            xml.skipCurrentElement();
        }
    }
    // Lengths that are no positive numbers would lose the sum.
    duration = duration > 0.0 && std::isfinite(duration) ? duration : 0.0;
    for (const std::optional<QString>& picture : pictures)
        slides.append({duration / static_cast<double>(pictures.size()), picture});
}

Slideshow readSlideshow(const QByteArray& content, const QSize& screen) {
    Slideshow show;
    QXmlStreamReader xml(content);
    xml.readNextStartElement();  // <background>
    while (xml.readNextStartElement()) {
        if (xml.name() == QLatin1String("starttime")) {
            show.start = readStart(xml);
        } else if (xml.name() == QLatin1String("static") ||
                   xml.name() == QLatin1String("transition")) {
            readSlide(xml, screen, show.slides);
        } else {
            xml.skipCurrentElement();
        }
    }
    return show;
}

}  // namespace

std::optional<QString> slideshowPicture(const QString& path, const QSize& screen) {
    const Slideshow show =
        readSlideshow(dataWithContentsOfFile(path).value_or(QByteArray()), screen);
    if (show.slides.isEmpty()) return std::nullopt;
    double round = 0.0;
    for (const Slide& slide : show.slides)
        round += slide.duration;
    const double elapsed =
        static_cast<double>(show.start.msecsTo(QDateTime::currentDateTime())) / 1000.0;
    double left = round > 0.0 && elapsed > 0.0 ? std::fmod(elapsed, round) : 0.0;
    for (const Slide& slide : show.slides) {
        if (left < slide.duration) return slide.picture;
        left -= slide.duration;
    }
    return show.slides.first().picture;
}

}  // namespace platform
