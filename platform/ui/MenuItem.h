#pragma once

#include "platform/ui/Control.h"

#include <QAction>

namespace platform {

/// An entry of a menu with its shortcut, which works in every window of the program.
class MenuItem : public QAction, public Control {
    Q_OBJECT

  public:
    explicit MenuItem(QObject* parent) : QAction(parent) {
        setShortcutContext(Qt::ApplicationShortcut);
        connect(this, &QAction::triggered, this, [this] { sendAction(); });
    }
};

}  // namespace platform
