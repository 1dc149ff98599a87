#include "bench/library/Readers.h"
#include "platform/media/TagReader.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <attachedpictureframe.h>
#include <fileref.h>
#include <id3v2tag.h>
#include <mp4file.h>
#include <mpegfile.h>

#include <cstdio>

// Prints what our reader and TagLib make of the file that is named: a JSON object of "pairdeck" and
// "taglib", each a list of title, artist and the size of the picture; null for what is absent.

namespace {

QJsonValue textOrNull(const std::optional<QString>& text) {
    return text ? QJsonValue(*text) : QJsonValue();
}

QJsonArray ours(const QString& path) {
    const platform::Tags tags = platform::tagsOfFile(path);
    const auto picture = platform::pictureOfFile(path);
    return {textOrNull(tags.title), textOrNull(tags.artist),
            picture ? QJsonValue(picture->size()) : QJsonValue()};
}

QJsonValue pictureFromTagLib(TagLib::File* file) {
    if (auto* mp4 = dynamic_cast<TagLib::MP4::File*>(file)) {
        const auto covers = mp4->tag()->item("covr").toCoverArtList();
        return covers.isEmpty() ? QJsonValue() : QJsonValue(qint64{covers.front().data().size()});
    }
    auto* mpeg = dynamic_cast<TagLib::MPEG::File*>(file);
    if (!mpeg || !mpeg->ID3v2Tag()) return {};
    const auto pictures = mpeg->ID3v2Tag()->frameList("APIC");
    if (pictures.isEmpty()) return {};
    const auto* first = dynamic_cast<TagLib::ID3v2::AttachedPictureFrame*>(pictures.front());
    return first ? QJsonValue(qint64{first->picture().size()}) : QJsonValue();
}

}  // namespace

int main(int count, char** arguments) {
    if (count < 2) return 1;
    const QString path = QString::fromLocal8Bit(arguments[1]);
    const Texts texts = textsFromTagLib(path);
    const TagLib::FileRef file(arguments[1], false);
    const QJsonArray theirs = {texts.title, texts.artist, pictureFromTagLib(file.file())};
    const QJsonObject all = {{QStringLiteral("pairdeck"), ours(path)},
                             {QStringLiteral("taglib"), theirs}};
    std::puts(QJsonDocument(all).toJson(QJsonDocument::Compact).constData());
    return 0;
}
