#include "platform/ui/Control.h"

#include "platform/ui/Application.h"

namespace platform {

bool Control::sendActionTo(const QString& action, Target* target) {
    if (action.isEmpty()) return false;
    if (target) return target->performAction(action, this);
    return Application::sharedApplication().performAction(action, this);
}

}  // namespace platform
