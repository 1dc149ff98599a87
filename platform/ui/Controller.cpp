#include "platform/ui/Controller.h"

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
    const auto perform = actions_.constFind(action);
    if (perform == actions_.cend()) return false;
    (*perform)(sender);
    return true;
}

}  // namespace platform
