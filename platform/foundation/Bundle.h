#pragma once

#include <QJsonObject>
#include <QString>

#include <optional>

namespace platform {

/// The program's own metadata, embedded as the resource ":/Info.json" (one JSON object).
class Bundle {
  public:
    /// The running program's bundle, read at the first call; without the resource it has no values.
    static Bundle& mainBundle();

    /// The text under `key`, such as "CFBundleVersion"; absent when there is none.
    std::optional<QString> objectForInfoDictionaryKey(const QString& key) const;

    /// The text under "CFBundleIdentifier", the program's reverse-domain name; empty when absent.
    QString bundleIdentifier() const;

  private:
    Bundle();
    QJsonObject info_;
};

}  // namespace platform
