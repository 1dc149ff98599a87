#pragma once

#include "platform/ui/Control.h"
#include "platform/ui/Target.h"

#include <QHash>
#include <QString>
#include <QStringList>
#include <QWidget>

#include <functional>

namespace platform {

/// An object that the interface file creates, connects to its widgets and wires to its controls. A
/// subclass declares its outlets and actions by name in its constructor.
class Controller : public Target {
  public:
    virtual ~Controller() = default;
    Controller(const Controller&) = delete;
    Controller& operator=(const Controller&) = delete;

    /// Called once, after every outlet of every controller is connected.
    virtual void awakeFromNib() {}
    /// Whether that may have to wait for a disk, so that the window is better on the screen before.
    virtual bool awakesSlowly() const { return false; }

    bool hasOutlet(const QString& name) const { return outlets_.contains(name); }
    /// Connects the outlet of that name to `widget`; false when there is none of that name and type
    /// or it is connected already.
    bool connectOutlet(const QString& name, QWidget* widget);
    /// The names of the outlets that are still unconnected.
    QStringList unconnectedOutlets() const;

    bool hasAction(const QString& action) const override { return actions_.contains(action); }
    /// While the main thread waits (RunLoop.h), only an urgent action is performed at once.
    bool performAction(const QString& action, Control* sender) override;

  protected:
    Controller() = default;

    /// Declares the outlet `name`, held in `slot` (not owned; null until connected).
    template <typename Type>
    void outlet(const QString& name, Type*& slot) {
        outlets_.insert(name, [&slot](QWidget* widget) {
            auto* typed = dynamic_cast<Type*>(widget);
            if (!typed || slot) return false;
            slot = typed;
            return true;
        });
        unconnected_.append(name);
    }
    enum class Urgency { None, Urgent };
    void action(const QString& name, const std::function<void(Control*)>& perform,
                Urgency urgency = Urgency::None) {
        actions_.insert(name, {perform, urgency});
    }

  private:
    QHash<QString, std::function<bool(QWidget*)>> outlets_;
    QStringList unconnected_;
    struct Action {
        std::function<void(Control*)> perform;
        Urgency urgency = Urgency::None;
    };
    QHash<QString, Action> actions_;
};

}  // namespace platform
