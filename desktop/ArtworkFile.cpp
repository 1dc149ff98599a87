#include "desktop/ArtworkFile.h"

#include "platform/foundation/Bundle.h"
#include "platform/foundation/ConfigurationFolder.h"
#include "platform/foundation/Path.h"

#include <QCryptographicHash>

#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;

bool write(const fs::path& file, const QByteArray& content) {
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    stream.write(content.constData(), content.size());
    stream.close();
    return stream.good();
}

}  // namespace

ArtworkFile::ArtworkFile(const QString& prefix)
    : folder_(platform::cacheFolder() + QLatin1Char('/') +
              platform::Bundle::mainBundle().bundleIdentifier() + QStringLiteral("/artwork")),
      prefix_(prefix) {
    removeAll();
}

ArtworkFile::~ArtworkFile() {
    removeAll();
}

void ArtworkFile::removeAll() const {
    const std::string beginning = prefix_.toStdString() + '-';
    std::error_code error;
    for (fs::directory_iterator entry(platform::standardPath(folder_), error), end;
         !error && entry != end; entry.increment(error)) {
        std::error_code ignored;
        if (entry->path().filename().native().starts_with(beginning)) {
            fs::remove(entry->path(), ignored);
        }
    }
}

QString ArtworkFile::urlOf(const std::optional<QByteArray>& picture) {
    if (picture == picture_) return url_;
    removeAll();
    picture_ = picture;
    url_.clear();
    if (!picture) return url_;
    const QByteArray hash = QCryptographicHash::hash(*picture, QCryptographicHash::Sha1).toHex();
    const QString file =
        folder_ + QLatin1Char('/') + prefix_ + QLatin1Char('-') + QString::fromLatin1(hash);
    std::error_code error;
    fs::create_directories(platform::standardPath(folder_), error);
    if (write(platform::standardPath(file), *picture)) {
        url_ = QString::fromLatin1(platform::fileURLWithPath(file));
    }
    return url_;
}
