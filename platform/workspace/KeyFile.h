#pragma once

#include <QHash>
#include <QString>
#include <QStringList>

#include <optional>

namespace platform {

/// The groups of keys and values of a desktop's configuration file, as KDE and GLib write it.
class KeyFile {
  public:
    /// Reads the file at `path`; one that can't be read has no groups.
    explicit KeyFile(const QString& path);

    /// The groups' names in the file's order; a nested group is written as in the file without the
    /// outermost brackets: "Containments][1".
    const QStringList& groups() const { return groups_; }

    /// The value of `key` in `group`, its escapes resolved; absent when there is none.
    std::optional<QString> value(const QString& group, const QString& key) const;

  private:
    QStringList groups_;
    QHash<QString, QHash<QString, QString>> values_;
};

}  // namespace platform
