#include "platform/foundation/Path.h"
#include "platform/foundation/UserDefaults.h"

#include <QCoreApplication>
#include <QDir>
#include <QJsonDocument>
#include <QTemporaryDir>

#include <cstdint>
#include <cstdlib>
#include <fstream>

// Whatever a settings file holds: it is read or moved aside as it was, what is set then is in the
// file, and the rest of a good file stays.

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static int count = 0;
    static const QCoreApplication application(count, nullptr);
    // In memory, as every save waits for the disk.
    static const QTemporaryDir folder(QStringLiteral("/dev/shm/defaults"));
    const QString file = folder.filePath(QStringLiteral("defaults.json"));
    const QString damaged = file + QStringLiteral(".damaged");
    const QByteArray content(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    std::ofstream(file.toStdString(), std::ios::binary) << content.toStdString();

    const QString key = QStringLiteral("PairdeckLeftRepeatState");
    {
        platform::UserDefaults defaults(file);
        defaults.valueOfTypeForKey<QString>(QStringLiteral("PairdeckLeftDefaultDirectory"));
        defaults.setValueForKey(42, key);
        if (!defaults.synchronize()) std::abort();
    }
    QJsonObject expected = QJsonDocument::fromJson(content).object();
    expected.insert(key, 42);
    const auto written = platform::dataWithContentsOfFile(file);
    if (!written || QJsonDocument::fromJson(*written).object() != expected) std::abort();
    const bool isGood = QJsonDocument::fromJson(content).isObject();
    const auto kept = platform::dataWithContentsOfFile(damaged);
    if (isGood == kept.has_value() || (kept && *kept != content)) std::abort();
    QDir().remove(damaged);
    QDir().remove(file);
    return 0;
}
