#include "platform/foundation/Bundle.h"

#include <QFile>
#include <QJsonDocument>

namespace platform {

Bundle& Bundle::mainBundle() {
    static Bundle bundle;
    return bundle;
}

Bundle::Bundle() {
    QFile file(QStringLiteral(":/Info.json"));
    if (file.open(QIODevice::ReadOnly)) info_ = QJsonDocument::fromJson(file.readAll()).object();
}

std::optional<QString> Bundle::objectForInfoDictionaryKey(const QString& key) const {
    const QJsonValue value = info_.value(key);
    if (!value.isString()) return std::nullopt;
    return value.toString();
}

QString Bundle::bundleIdentifier() const {
    return objectForInfoDictionaryKey(QStringLiteral("CFBundleIdentifier")).value_or(QString());
}

}  // namespace platform
