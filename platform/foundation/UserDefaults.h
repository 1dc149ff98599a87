#pragma once

#include <QHash>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QTimer>

#include <cstdint>
#include <optional>
#include <variant>

namespace platform {

/// A setting. A value of the file that is no boolean, 32-bit integer or string (a fraction, a
/// larger number, a list, null ...) is a QJsonValue and stays in the file as it is.
using DefaultsValue = std::variant<bool, std::int32_t, QString, QJsonValue>;

/// The program's stored settings: one JSON object in one file. Main thread only.
///
/// A changed value is seen at once, and is in the file about a second later, or sooner by
/// `synchronize`, at the application's orderly exit or when the object goes. The file is replaced
/// as a whole, so that the end of the process or of the disk's space at any instant leaves the
/// values from before or after. A save that fails is tried again, and what it held is not lost
/// while the program runs.
///
/// A file that is no JSON object, or may not be read, counts as empty and is kept beside under its
/// name and ".damaged" (or ".damaged.2" and so on). What others wrote to the file in the meantime
/// stays, except under the keys set here.
class UserDefaults {
  public:
    /// The settings of the running program: `<configuration folder>/<bundle identifier>/
    /// defaults.json`.
    static UserDefaults& standardUserDefaults();

    /// The settings in the file at the absolute path `file`, which need not exist; where it is a
    /// symbolic link, the file that it points to.
    explicit UserDefaults(const QString& file);
    /// Saves what is not saved yet.
    ~UserDefaults();
    UserDefaults(const UserDefaults&) = delete;
    UserDefaults& operator=(const UserDefaults&) = delete;

    /// The stored value under `key`, else the registered one; absent when there is neither.
    std::optional<DefaultsValue> valueForKey(const QString& key) const;

    /// The value under `key` where it is of that type; absent for none and for any other.
    template <typename Type>
    std::optional<Type> valueOfTypeForKey(const QString& key) const {
        const auto value = valueForKey(key);
        const auto* typed = value ? std::get_if<Type>(&*value) : nullptr;
        return typed ? std::optional<Type>(*typed) : std::nullopt;
    }

    /// Stores `value` under `key`. To store what is stored already changes nothing.
    void setValueForKey(const DefaultsValue& value, const QString& key);

    /// Adds fallbacks for keys without a stored value. They live as long as this object and are
    /// never written.
    void registerDefaults(const QHash<QString, DefaultsValue>& values);

    /// Puts every change on disk before it returns; without changes it touches nothing. False when
    /// that failed: the file is then as it was, and the changes wait for the next save.
    bool synchronize();

  private:
    void saveWithin(int milliseconds);

    QString file_;
    QJsonObject stored_;   // the file's values with the changes applied
    QJsonObject changes_;  // what the file does not hold yet
    QHash<QString, DefaultsValue> registered_;
    QTimer saveTimer_;
};

}  // namespace platform
