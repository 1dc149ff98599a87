#pragma once

#include <QDBusMessage>
#include <QObject>

#include <array>
#include <functional>

namespace platform {

/// What the desktop's settings ask of everything that is shown: read once from the settings
/// themselves, then as the desktop portal tells them where it runs; it is not started for this.
class DisplayOptions final : public QObject {
    Q_OBJECT

  public:
    enum class Wish { LessMotion, MoreContrast };

    /// Calls `didChange` whenever one of the answers below becomes another.
    explicit DisplayOptions(std::function<void()> didChange);

    bool isWished(Wish wish) const;

  private Q_SLOTS:
    void settingDidChange(const QDBusMessage& signal);

  private:
    void readSettings();
    void askPortal();
    void portalDidAnswer(const QDBusMessage& answer);
    void hear(const QString& group, const QString& key, const QString& value);

    static constexpr std::size_t kSettingCount = 5;

    std::function<void()> didChange_;
    std::array<bool, kSettingCount> wishes_ = {};  // by the setting's place in the list
};

}  // namespace platform
