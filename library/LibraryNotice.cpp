#include "library/LibraryNotice.h"

#include "platform/foundation/Path.h"
#include "platform/ui/RunLoop.h"

#include <QLocale>

#include <filesystem>

using platform::RunLoop;

namespace {

bool isFolder(const QString& path) {
    // One that is on a dead disk is not there either, and was waited for before.
    constexpr RunLoop::Duration kPatience{500};
    const auto is = RunLoop::resultOf(
        [path](const std::atomic<bool>&) {
            std::error_code error;
            return std::filesystem::is_directory(platform::standardPath(path), error);
        },
        kPatience);
    return is.value_or(false);
}

QString quoted(const QString& text) {
    return QStringLiteral("“%1”").arg(text);
}

QString numberOfSongs(std::size_t count) {
    const QString number = QLocale().toString(static_cast<qulonglong>(count));
    return count == 1 ? QStringLiteral("1 song") : number + QStringLiteral(" songs");
}

}  // namespace

LibraryNotice LibraryNotice::of(const std::optional<QString>& folder, const QString& text,
                                std::size_t total, std::size_t found) {
    if (!folder) {
        return {{},
                QStringLiteral("No folder is open.\nChoose one with music, or drop it here."),
                true};
    }
    LibraryNotice notice;
    notice.count = numberOfSongs(total);
    if (!text.isEmpty()) {
        notice.count = QLocale().toString(static_cast<qulonglong>(found)) + QStringLiteral(" of ") +
                       notice.count;
    }
    const QString name = quoted(platform::lastPathComponent(*folder));
    if (total == 0 && !isFolder(*folder)) {
        notice.explanation = QStringLiteral("The folder %1 is not there.").arg(name);
        notice.offersFolder = true;
    } else if (total == 0) {
        notice.explanation =
            QStringLiteral("No songs in %1.\nSongs are files that end in .mp3 or .m4a.").arg(name);
        notice.offersFolder = true;
    } else if (found == 0) {
        notice.explanation = QStringLiteral("Nothing found for %1.").arg(quoted(text));
    }
    return notice;
}
