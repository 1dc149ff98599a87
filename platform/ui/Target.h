#pragma once

#include <QString>

namespace platform {

class Control;

/// What controls send their actions to: a controller, a window or the application.
class Target {
  public:
    /// Whether the target knows the action of that name.
    virtual bool hasAction(const QString& action) const = 0;
    /// Runs the action of that name for `sender`; false when the target has no such action.
    virtual bool performAction(const QString& action, Control* sender) = 0;

  protected:
    ~Target() = default;
};

}  // namespace platform
