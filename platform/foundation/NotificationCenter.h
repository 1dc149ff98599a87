#pragma once

#include "platform/foundation/Notification.h"

#include <QObject>

#include <functional>

namespace platform {

/// Delivers notifications within the process: synchronously, to the observers in the order of
/// their registration. Main thread only.
///
/// A post goes to the observers registered when it begins, save those that are gone before their
/// turn. Observers may come and go, and notifications be posted, from within a delivery.
class NotificationCenter final : public QObject {
    Q_OBJECT

  public:
    /// The process's own centre.
    static NotificationCenter& defaultCenter();

    /// Calls `block` for each notification `name`, from any sender, for as long as `observer`
    /// lives.
    void addObserver(const QObject& observer, const QString& name,
                     std::function<void(const Notification&)> block);

    /// Delivers `notification`; returns when every observer has had it.
    void postNotification(const Notification& notification) { Q_EMIT posted(notification); }

  Q_SIGNALS:
    void posted(const platform::Notification& notification);
};

}  // namespace platform
