#pragma once

#include <QString>

namespace platform {

/// What a notification centre delivers: its name and, where it has one, its sender's address.
struct Notification {
    QString name;
    const void* object = nullptr;
};

}  // namespace platform
