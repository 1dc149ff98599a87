#pragma once

#include "platform/ui/Controller.h"
#include "platform/ui/InterfaceFile.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <functional>
#include <map>
#include <memory>
#include <vector>

class QWidget;

namespace platform {

class Window;

/// The classes, beyond the platform's own, that interface files may name.
struct InterfaceClasses {
    QHash<QString, std::function<QWidget*(QWidget* parent)>> widgets;
    QHash<QString, std::function<std::unique_ptr<Controller>()>> controllers;
};

/// A loaded interface: its windows, its controllers, and what is wrong with its files.
///
/// Interface files are Qt Designer files with dynamic properties:
///   `controllers`  on the main window: the controllers to create;
///   `windows`      on the main window: further files, each holding a window;
///   `outlets`      on a widget: the `Controller.outlet`s it is connected to besides those that
///                  bear its object name, to which it is connected anyway;
///   `action`       on a control or menu item: `Target.action`, a controller's or a window's by its
///                  object name; without "Target." it travels to the application;
///   `target`       on a control whose action is set later: the target alone;
///   `menu`         on a button: the object name of the menu that it opens; on a table: of the one
///                  that a row opens;
///   `operations`   on a menu item: what it does instead of an action, in turn, each as the
///                  "Name.operation" of `keys`;
///   `keys`         on a widget: what keys do while it or a widget inside it has focus, each as
///                  "Key: Name.operation, ...": the named controllers' actions and widgets'
///                  invokable operations, in turn; every widget knows "focus";
///   `repeatingKeys`  the same for keys that do it again and again while they are held;
///   `firstFocus`   on a window: the object name of the widget that has focus at first;
///   `stretch`      on a widget: what of its parent's growth goes to its left, top, width and
///                  height, as a rectangle of shares;
///   `include`      on a widget: a file to load into it, with every {key} of the file replaced by
///                  the value that the string list `with` gives as "key=value".
class Interface {
  public:
    /// Loads the one of `files` called `name` and all that it names, creates its controllers,
    /// connects every outlet and wires every action, then calls each controller's awakeFromNib,
    /// unless there are problems already: those that awake slowly last, behind `show`, which may
    /// put the main window on the screen.
    Interface(const QString& name, const InterfaceFiles& files, const InterfaceClasses& classes,
              const std::function<void(Window& main)>& show = {});
    ~Interface();
    Interface(const Interface&) = delete;
    Interface& operator=(const Interface&) = delete;

    /// Programming errors found in the files, a line each: an unknown class, outlet, action or
    /// target, an outlet left unconnected, a control without an action once every controller is
    /// awake. Empty for good files.
    const QStringList& problems() const { return problems_; }

    /// Null when the file could not be loaded.
    Window* mainWindow() const;
    /// The window of that object name; null when there is none.
    Window* window(const QString& name) const;
    /// The controller of that class name; null when there is none.
    Controller* controller(const QString& name) const;

  private:
    class Loader;

    void awake(const QStringList& controllers, bool slowly);
    static void makeElastic(QObject* object);
    void connectObject(QObject* object);
    void wireControl(QObject* object);
    void checkAction(QObject* object);
    void bindKeys(QObject* object, const char* property);
    void bindMenuItem(QObject* object);
    std::function<void()> operation(const QWidget& scope, const QString& qualified) const;
    static void orderFocus(QWidget* window);
    Target* targetNamed(const QString& name) const;

    std::map<QString, std::unique_ptr<Controller>> controllers_;
    std::vector<std::unique_ptr<QWidget>> windows_;
    QStringList problems_;
};

}  // namespace platform
