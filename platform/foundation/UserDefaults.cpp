#include "platform/foundation/UserDefaults.h"

#include "platform/foundation/Bundle.h"
#include "platform/foundation/ConfigurationFolder.h"
#include "platform/foundation/DefaultsFile.h"

#include <QCoreApplication>

#include <limits>

namespace platform {

namespace {

constexpr int kSaveDelay = 1'000;    // ms; gathers the changes of one action
constexpr int kRetryDelay = 30'000;  // ms; after a save that failed

QJsonValue jsonValue(const DefaultsValue& value) {
    return std::visit([](const auto& held) { return QJsonValue(held); }, value);
}

DefaultsValue defaultsValue(const QJsonValue& value) {
    if (value.isBool()) return value.toBool();
    if (value.isString()) return value.toString();
    // What is no whole number gives the two different defaults.
    const bool whole = value.toInteger(0) == value.toInteger(1);
    const qint64 number = value.toInteger();
    using Limits = std::numeric_limits<std::int32_t>;
    if (whole && number >= Limits::min() && number <= Limits::max()) {
        return static_cast<std::int32_t>(number);
    }
    return value;
}

QString standardFile() {
    const QString identifier = Bundle::mainBundle().bundleIdentifier();
    const QString folder = configurationFolder();
    if (folder.isEmpty()) return folder;
    return folder + QLatin1Char('/') +
           (identifier.isEmpty() ? QCoreApplication::applicationName() : identifier) +
           QStringLiteral("/defaults.json");
}

}  // namespace

UserDefaults& UserDefaults::standardUserDefaults() {
    static UserDefaults defaults(standardFile());
    return defaults;
}

UserDefaults::UserDefaults(const QString& file)
    : file_(resolvedPath(file)), stored_(readDefaultsFile(file_).value_or(QJsonObject())) {
    saveTimer_.setSingleShot(true);
    QObject::connect(&saveTimer_, &QTimer::timeout, &saveTimer_, [this] { synchronize(); });
    if (const QCoreApplication* application = QCoreApplication::instance()) {
        QObject::connect(application, &QCoreApplication::aboutToQuit, &saveTimer_,
                         [this] { synchronize(); });
    }
}

UserDefaults::~UserDefaults() {
    synchronize();
}

std::optional<DefaultsValue> UserDefaults::valueForKey(const QString& key) const {
    if (const auto stored = stored_.constFind(key); stored != stored_.constEnd()) {
        return defaultsValue(*stored);
    }
    if (const auto registered = registered_.constFind(key); registered != registered_.constEnd()) {
        return *registered;
    }
    return std::nullopt;
}

void UserDefaults::setValueForKey(const DefaultsValue& value, const QString& key) {
    const QJsonValue json = jsonValue(value);
    if (stored_.contains(key) && stored_.value(key) == json) return;
    stored_.insert(key, json);
    changes_.insert(key, json);
    saveWithin(kSaveDelay);
}

void UserDefaults::registerDefaults(const QHash<QString, DefaultsValue>& values) {
    registered_.insert(values);
}

bool UserDefaults::synchronize() {
    if (changes_.isEmpty()) return true;
    if (const auto values = updateDefaultsFile(file_, stored_, changes_)) {
        stored_ = *values;
        changes_ = QJsonObject();
        saveTimer_.stop();
        return true;
    }
    // At the very end there is nobody left to try again.
    if (QCoreApplication::instance()) saveTimer_.start(kRetryDelay);
    return false;
}

void UserDefaults::saveWithin(int milliseconds) {
    if (!saveTimer_.isActive() || saveTimer_.remainingTime() > milliseconds) {
        saveTimer_.start(milliseconds);
    }
}

}  // namespace platform
