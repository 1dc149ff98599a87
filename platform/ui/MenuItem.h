#pragma once

#include "platform/ui/Control.h"

#include <QAction>

namespace platform {

/// An entry of a menu with its shortcut.
class MenuItem : public QAction, public Control {
    Q_OBJECT

  public:
    explicit MenuItem(QObject* parent) : QAction(parent) {
        // A menu serves the whole program, whichever of its windows is in front.
        setShortcutContext(Qt::ApplicationShortcut);
        connect(this, &QAction::triggered, this, [this] { sendAction(); });
    }
};

}  // namespace platform
