#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>

#include <cstddef>
#include <optional>

class QDBusPendingCallWatcher;

/// Keeps the machine from falling asleep while it is active. Asks the session's own services and
/// the desktop portal in turn (the portal first where the program is in a sandbox) until one grants
/// it; never waits for an answer, and has no effect where nobody gives one.
class SleepInhibitor final : public QObject {
    Q_OBJECT

  public:
    explicit SleepInhibitor(const QDBusConnection& bus);
    /// Lets the machine sleep again.
    ~SleepInhibitor() override;

    void setActive(bool active);

  private Q_SLOTS:
    /// What became of a request to the portal, which answers with a handle before it knows.
    void portalDidRespond(const QDBusMessage& response);

  private:
    void ask(std::size_t service);
    void answered(std::size_t service, QDBusPendingCallWatcher& answer);
    void release();

    QDBusConnection bus_;
    bool isActive_ = false;
    bool isAsking_ = false;
    std::size_t asked_ = 0;                    // the service asked last
    QString refused_;                          // the portal's request that came to nothing last
    std::optional<QDBusMessage> releaseCall_;  // while the machine is held awake
};
