#include "platform/foundation/NotificationCenter.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace platform {

struct NotificationCenter::Observer {
    std::function<void(const Notification&)> block;
    QString name;
    const void* object;
    bool removed = false;
};

struct NotificationCenter::Registry {
    std::vector<std::shared_ptr<Observer>> observers;
};

NotificationCenter::NotificationCenter() : registry_(std::make_shared<Registry>()) {}

NotificationCenter::~NotificationCenter() = default;

NotificationCenter& NotificationCenter::defaultCenter() {
    static NotificationCenter center;
    return center;
}

ObserverToken NotificationCenter::addObserver(std::function<void(const Notification&)> block,
                                              const QString& name, const void* object) {
    auto observer = std::make_shared<Observer>(Observer{std::move(block), name, object});
    registry_->observers.push_back(observer);
    return ObserverToken(registry_, std::move(observer));
}

void NotificationCenter::postNotification(const Notification& notification) {
    // The copy leaves the registry free to change during the delivery, and holds each block until
    // its call has returned, even where the block removes its own observer.
    const std::vector<std::shared_ptr<Observer>> observers = registry_->observers;
    for (const std::shared_ptr<Observer>& observer : observers) {
        if (observer->removed || observer->name != notification.name) continue;
        if (observer->object && observer->object != notification.object) continue;
        observer->block(notification);
    }
}

NotificationCenter::ObserverToken::ObserverToken(std::weak_ptr<Registry> registry,
                                                 std::shared_ptr<Observer> observer)
    : registry_(std::move(registry)), observer_(std::move(observer)) {}

NotificationCenter::ObserverToken& NotificationCenter::ObserverToken::operator=(
    ObserverToken&& other) noexcept {
    if (this != &other) {
        removeObserver();
        registry_ = std::move(other.registry_);
        observer_ = std::move(other.observer_);
    }
    return *this;
}

void NotificationCenter::ObserverToken::removeObserver() {
    const std::shared_ptr<Observer> observer = std::exchange(observer_, nullptr);
    if (!observer) return;
    observer->removed = true;
    if (const std::shared_ptr<Registry> registry = registry_.lock()) {
        std::erase(registry->observers, observer);
    }
}

}  // namespace platform
