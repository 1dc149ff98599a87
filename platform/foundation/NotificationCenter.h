#pragma once

#include "platform/foundation/Notification.h"

#include <functional>
#include <memory>

namespace platform {

/// Delivers notifications within the process: synchronously, on the posting thread, to the
/// observers in the order of their registration. Main thread only.
///
/// A post goes to the observers registered when it begins, save those removed before their turn.
/// Observers may be added and removed, and notifications posted, from within a delivery.
class NotificationCenter {
    struct Observer;
    struct Registry;

  public:
    /// Keeps an observer registered for as long as it lives; may outlive the centre. An empty one
    /// (default-made or moved from) stands for no observer.
    class [[nodiscard]] ObserverToken {
      public:
        ObserverToken() = default;
        ~ObserverToken() { removeObserver(); }
        ObserverToken(ObserverToken&& other) noexcept = default;
        ObserverToken& operator=(ObserverToken&& other) noexcept;

        /// Removes the observer before the token's end; its block is not called again.
        void removeObserver();

      private:
        friend class NotificationCenter;
        ObserverToken(std::weak_ptr<Registry> registry, std::shared_ptr<Observer> observer);
        std::weak_ptr<Registry> registry_;
        std::shared_ptr<Observer> observer_;
    };

    NotificationCenter();
    ~NotificationCenter();
    NotificationCenter(const NotificationCenter&) = delete;
    NotificationCenter& operator=(const NotificationCenter&) = delete;

    /// The process's own centre.
    static NotificationCenter& defaultCenter();

    /// Calls `block` for each notification `name` from the sender `object`, or from any sender
    /// where `object` is null, until the token is gone.
    ObserverToken addObserver(std::function<void(const Notification&)> block, const QString& name,
                              const void* object = nullptr);

    /// Delivers `notification`; returns when every observer has had it.
    void postNotification(const Notification& notification);

  private:
    std::shared_ptr<Registry> registry_;
};

using ObserverToken = NotificationCenter::ObserverToken;

}  // namespace platform
