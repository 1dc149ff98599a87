#pragma once

#include <QString>

namespace platform {

class Target;

/// What the user works: it sends its action, with itself as the sender, to its target. Actions tell
/// controls apart by identity.
class Control {
  public:
    virtual ~Control() = default;
    Control(const Control&) = delete;
    Control& operator=(const Control&) = delete;

    /// The target is not owned and must outlive the control; null sends to the application.
    void setTarget(Target* target) { target_ = target; }
    Target* target() const { return target_; }
    void setAction(const QString& action) { action_ = action; }
    const QString& action() const { return action_; }

    /// Sends the action; false when there is none or nobody knows it.
    bool sendAction();

  protected:
    Control() = default;

  private:
    Target* target_ = nullptr;
    QString action_;
};

}  // namespace platform
