#include "platform/foundation/NotificationCenter.h"

#include <utility>

namespace platform {

NotificationCenter& NotificationCenter::defaultCenter() {
    static NotificationCenter center;
    return center;
}

void NotificationCenter::addObserver(const QObject& observer, const QString& name,
                                     std::function<void(const Notification&)> block) {
    connect(
        this, &NotificationCenter::posted, &observer,
        [name, block = std::move(block)](const Notification& notification) {
            if (notification.name == name) block(notification);
        },
        Qt::DirectConnection);
}

}  // namespace platform
