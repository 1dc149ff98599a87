#include "bench/library/Readers.h"

#include "platform/foundation/Path.h"

#include <fileref.h>
#include <tag.h>

#include <atomic>
#include <thread>
#include <vector>

QStringList trackPaths(const QString& folder, const QStringList& listing) {
    QStringList paths;
    for (const QString& entry : listing) {
        if (entry.endsWith(QLatin1String(".mp3")) || entry.endsWith(QLatin1String(".m4a")))
            paths += folder + QLatin1Char('/') + entry;
    }
    return paths;
}

Texts textsFromTagLib(const QString& path) {
    const TagLib::FileRef file(platform::fileSystemRepresentation(path).constData(), false);
    if (file.isNull() || !file.tag()) return {};
    return {QString::fromStdWString(file.tag()->title().toWString()),
            QString::fromStdWString(file.tag()->artist().toWString())};
}

int readWithTagLib(const QStringList& paths, int threads) {
    std::atomic<qsizetype> next = 0;
    std::atomic<int> found = 0;
    const auto work = [&] {
        for (qsizetype i = next++; i < paths.size(); i = next++) {
            const Texts texts = textsFromTagLib(paths[i]);
            found += (texts.title.isEmpty() ? 0 : 1) + (texts.artist.isEmpty() ? 0 : 1);
        }
    };
    std::vector<std::thread> others;
    for (int i = 1; i < threads; ++i)
        others.emplace_back(work);
    work();
    for (std::thread& other : others)
        other.join();
    return found;
}
