#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>

#include <cstddef>
#include <optional>

class QDBusPendingCallWatcher;

/// Keeps the machine from falling asleep while it is active. Asks the desktop portal or, where
/// there is none, the session's own service for that; never waits for an answer, and has no effect
/// where nobody gives one.
class SleepInhibitor final : public QObject {
    Q_OBJECT

  public:
    explicit SleepInhibitor(const QDBusConnection& bus);
    /// Lets the machine sleep again.
    ~SleepInhibitor() override;

    void setActive(bool active);

  private:
    void ask(std::size_t service);
    void answered(std::size_t service, QDBusPendingCallWatcher& answer);
    void release();

    QDBusConnection bus_;
    bool isActive_ = false;
    bool isAsking_ = false;
    std::optional<QDBusMessage> releaseCall_;  // while the machine is held awake
};
