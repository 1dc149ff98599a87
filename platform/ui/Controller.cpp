#include "platform/ui/Controller.h"

#include "platform/ui/RunLoop.h"

namespace platform {

bool Controller::connectOutlet(const QString& name, QWidget* widget) {
    const auto outlet = outlets_.constFind(name);
    if (outlet == outlets_.cend() || !(*outlet)(widget)) return false;
    unconnected_.removeOne(name);
    return true;
}

QStringList Controller::unconnectedOutlets() const {
    return unconnected_;
}

bool Controller::performAction(const QString& action, Control* sender) {
    const auto known = actions_.constFind(action);
    if (known == actions_.cend()) return false;
    if (known->urgency == Urgency::Urgent) {
        known->perform(sender);
    } else {
        RunLoop::perform([perform = known->perform, sender] { perform(sender); });
    }
    return true;
}

}  // namespace platform
