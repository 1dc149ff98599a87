#include "platform/ui/Control.h"

#include "platform/ui/Application.h"

namespace platform {

bool Control::sendAction() {
    if (action_.isEmpty()) return false;
    if (target_) return target_->performAction(action_, this);
    return Application::sharedApplication().performAction(action_, this);
}

}  // namespace platform
