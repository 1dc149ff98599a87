#include "platform/ui/InterfaceLoader.h"

#include "platform/ui/Application.h"
#include "platform/ui/Box.h"
#include "platform/ui/Button.h"
#include "platform/ui/ElasticLayout.h"
#include "platform/ui/ImageView.h"
#include "platform/ui/LevelMeter.h"
#include "platform/ui/MenuItem.h"
#include "platform/ui/ProgressIndicator.h"
#include "platform/ui/SearchField.h"
#include "platform/ui/Slider.h"
#include "platform/ui/TableView.h"
#include "platform/ui/TextField.h"
#include "platform/ui/Window.h"

#include <QMenu>
#include <QMetaMethod>
#include <QShortcut>

namespace platform {

namespace {

using WidgetFactory = std::function<QWidget*(QWidget*)>;

template <typename Type>
WidgetFactory factory() {
    return [](QWidget* parent) { return new Type(parent); };
}

const QHash<QString, WidgetFactory>& platformClasses() {
    static const QHash<QString, WidgetFactory> classes = {
        {QStringLiteral("Box"), factory<Box>()},
        {QStringLiteral("Button"), factory<Button>()},
        {QStringLiteral("ImageView"), factory<ImageView>()},
        {QStringLiteral("LevelMeter"), factory<LevelMeter>()},
        {QStringLiteral("ProgressIndicator"), factory<ProgressIndicator>()},
        {QStringLiteral("QMenu"), factory<QMenu>()},
        {QStringLiteral("SearchField"), factory<SearchField>()},
        {QStringLiteral("Slider"), factory<Slider>()},
        {QStringLiteral("TableView"), factory<TableView>()},
        {QStringLiteral("TextField"), factory<TextField>()},
        {QStringLiteral("View"), factory<View>()},
        {QStringLiteral("Window"), factory<Window>()},
    };
    return classes;
}

// "Owner.name" split at its last dot; no owner without one.
std::pair<QString, QString> splitName(const QString& qualified) {
    const qsizetype dot = qualified.lastIndexOf(QLatin1Char('.'));
    return {qualified.left(qMax<qsizetype>(dot, 0)), qualified.mid(dot + 1)};
}

// The control that `object` of a file is; null for what has no name there, such as a control's own
// parts.
Control* controlIn(QObject* object) {
    return object->objectName().isEmpty() ? nullptr : dynamic_cast<Control*>(object);
}

// Every object of a tree in the order of the interface files, depth first.
void forEachObject(QObject* object, const std::function<void(QObject*)>& visit) {
    visit(object);
    for (QObject* child : object->children())
        forEachObject(child, visit);
}

}  // namespace

// Makes the widgets of the files, by the names of the platform's and the program's own classes.
class Interface::Loader {
  public:
    Loader(const InterfaceFiles& files, const InterfaceClasses& classes, QStringList& problems)
        : files_(files), classes_(classes), problems_(problems) {}

    QWidget* load(const QString& name, const QStringList& substitutions, QWidget* parent) {
        if (around_.contains(name)) {
            problems_ << QStringLiteral("%1: included in itself").arg(name);
            return nullptr;
        }
        const auto known = files_.find(name);
        if (known == files_.end()) {
            problems_ << QStringLiteral("no interface file %1").arg(name);
            return nullptr;
        }
        const InterfaceFile& file = known->second;
        if (!file.errorString().isEmpty()) {
            problems_ << QStringLiteral("%1: %2").arg(name, file.errorString());
            return nullptr;
        }
        InterfaceFile::Substitutions pairs;
        for (const QString& substitution : substitutions) {
            const qsizetype equals = substitution.indexOf(QLatin1Char('='));
            pairs.emplace_back(QLatin1Char('{') + substitution.left(equals) + QLatin1Char('}'),
                               substitution.mid(equals + 1));
        }
        QWidget* const loaded =
            file.make(parent, pairs,
                      [this](const QString& className, QWidget* around, const QString& called) {
                          return createWidget(className, around, called);
                      });
        if (!loaded) return nullptr;
        around_ << name;
        include(loaded);
        around_.removeLast();
        return loaded;
    }

  private:
    QWidget* createWidget(const QString& className, QWidget* parent, const QString& name) {
        auto make = platformClasses().value(className);
        if (!make) make = classes_.widgets.value(className);
        QWidget* widget = make ? make(parent) : nullptr;
        if (widget) {
            widget->setObjectName(name);
        } else {
            problems_ << QStringLiteral("%1: unknown class %2").arg(name, className);
        }
        return widget;
    }

    void include(QWidget* root) {
        QList<QWidget*> places;
        forEachObject(root, [&](QObject* object) {
            auto* widget = qobject_cast<QWidget*>(object);
            if (widget && widget->property("include").isValid()) places << widget;
        });
        for (QWidget* place : places) {
            const QString name = place->property("include").toString();
            place->setProperty("include", QVariant());
            load(name, place->property("with").toStringList(), place);
        }
    }

    const InterfaceFiles& files_;
    const InterfaceClasses& classes_;
    QStringList& problems_;
    QStringList around_;  // the files that the next one would be included in
};

Interface::Interface(const QString& name, const InterfaceFiles& files,
                     const InterfaceClasses& classes, const std::function<void(Window&)>& show) {
    Loader loader(files, classes, problems_);
    std::unique_ptr<QWidget> main(loader.load(name, {}, nullptr));
    if (!main) return;
    const QStringList controllers = main->property("controllers").toStringList();
    const QStringList windows = main->property("windows").toStringList();
    windows_.push_back(std::move(main));
    for (const QString& window : windows) {
        if (QWidget* loaded = loader.load(window, {}, nullptr)) windows_.emplace_back(loaded);
    }
    for (const QString& controller : controllers) {
        const auto make = classes.controllers.value(controller);
        if (make) {
            controllers_[controller] = make();
        } else {
            problems_ << QStringLiteral("unknown controller %1").arg(controller);
        }
    }
    for (const auto& window : windows_) {
        auto* checked = qobject_cast<Window*>(window.get());
        if (!checked) {
            problems_ << QStringLiteral("%1: no window").arg(window->objectName());
        } else if (checked != mainWindow()) {
            checked->setTransientFor(mainWindow());
        }
        forEachObject(window.get(), [this](QObject* object) {
            makeElastic(object);
            connectObject(object);
        });
    }
    for (const auto& window : windows_) {
        forEachObject(window.get(), [this](QObject* object) {
            wireControl(object);
            bindMenuItem(object);
            bindKeys(object, "keys");
            bindKeys(object, "repeatingKeys");
        });
    }
    for (const auto& [controllerName, controller] : controllers_) {
        for (const QString& outlet : controller->unconnectedOutlets()) {
            problems_ << QStringLiteral("%1.%2: unconnected").arg(controllerName, outlet);
        }
    }
    // A controller whose outlets the files leave open can't be woken: it relies on them.
    if (!problems_.isEmpty()) return;
    awake(controllers, false);
    for (const auto& window : windows_)
        orderFocus(window.get());
    if (show && mainWindow()) show(*mainWindow());
    awake(controllers, true);
    for (const auto& window : windows_)
        forEachObject(window.get(), [this](QObject* object) { checkAction(object); });
}

void Interface::awake(const QStringList& controllers, bool slowly) {
    for (const QString& name : controllers) {
        Controller& controller = *controllers_[name];
        if (controller.awakesSlowly() == slowly) controller.awakeFromNib();
    }
}

Interface::~Interface() {
    // Widgets first: what they still send on their way out finds its controllers alive.
    windows_.clear();
}

void Interface::makeElastic(QObject* object) {
    auto* widget = qobject_cast<QWidget*>(object);
    if (widget && ElasticLayout::isNeededBy(*widget)) new ElasticLayout(*widget);
}

void Interface::connectObject(QObject* object) {
    auto* widget = qobject_cast<QWidget*>(object);
    if (!widget) return;
    const QString ownName = widget->objectName();
    QStringList outlets = widget->property("outlets").toStringList();
    for (const auto& [owner, owning] : controllers_) {
        if (owning->hasOutlet(ownName)) outlets << owner + QLatin1Char('.') + ownName;
    }
    for (const QString& outlet : outlets) {
        const auto [owner, name] = splitName(outlet);
        Controller* owning = controller(owner);
        if (!owning || !owning->connectOutlet(name, widget))
            problems_ << QStringLiteral("%1: no outlet %2 of this class").arg(ownName, outlet);
    }
}

void Interface::wireControl(QObject* object) {
    auto* control = controlIn(object);
    if (!control) return;
    const QString action = object->property("action").toString();
    const QString target = object->property("target").toString();
    const auto [owner, name] = splitName(action);
    control->setAction(name);
    control->setTarget(targetNamed(action.isEmpty() ? target : owner));
    if (auto* button = qobject_cast<Button*>(object)) {
        // A menu's entries are the window's too, so that their shortcuts work while it is closed.
        const QString menu = object->property("menu").toString();
        auto* opened = menu.isEmpty() ? nullptr : button->window()->findChild<QMenu*>(menu);
        button->setMenu(opened);
        if (opened) button->window()->addActions(opened->actions());
    }
    const bool needsTarget = !(action.isEmpty() ? target : owner).isEmpty();
    if (needsTarget && !control->target()) {
        problems_
            << QStringLiteral("%1: no target for %2%3").arg(object->objectName(), target, action);
    }
    if (!name.isEmpty()) checkAction(object);
    auto* table = qobject_cast<TableView*>(object);
    if (!table) return;
    const QString rowMenu = object->property("menu").toString();
    if (!rowMenu.isEmpty()) table->setRowMenu(table->window()->findChild<QMenu*>(rowMenu));
    auto* source =
        dynamic_cast<TableViewDataSource*>(controller(object->property("dataSource").toString()));
    if (!source) problems_ << QStringLiteral("%1: no data source").arg(object->objectName());
    table->setDataSource(source);
}

void Interface::checkAction(QObject* object) {
    const auto* control = controlIn(object);
    if (!control) return;
    const QString action = control->action();
    if (!action.isEmpty()) {
        const Target* target = control->target();
        if (!target) target = &Application::sharedApplication();
        if (target->hasAction(action)) return;
    } else if (object->property("menu").isValid() || object->property("operations").isValid() ||
               qobject_cast<TextField*>(object)) {
        return;  // these do enough, and a text need do nothing
    }
    problems_ << QStringLiteral("%1: no action %2").arg(object->objectName(), action);
}

void Interface::bindKeys(QObject* object, const char* property) {
    for (const QString& binding : object->property(property).toStringList()) {
        auto* scope = qobject_cast<QWidget*>(object);
        const QKeySequence key(binding.section(QLatin1Char(':'), 0, 0));
        const QStringList names = binding.section(QLatin1Char(':'), 1).split(QLatin1Char(','));
        std::vector<std::function<void()>> operations;
        bool isGood = !key.isEmpty() && key[0].key() != Qt::Key_unknown;
        for (const QString& name : names) {
            operations.push_back(operation(*scope, name.trimmed()));
            isGood = isGood && operations.back();
        }
        if (!isGood) {
            problems_ << QStringLiteral("%1: no such key: %2").arg(object->objectName(), binding);
            continue;
        }
        auto* shortcut = new QShortcut(key, scope);
        // Like keys of two decks would be ambiguous, and do nothing, if they were the window's.
        shortcut->setContext(Qt::WidgetWithChildrenShortcut);
        shortcut->setAutoRepeat(qstrcmp(property, "repeatingKeys") == 0);
        QObject::connect(shortcut, &QShortcut::activated, scope, [operations] {
            for (const auto& perform : operations)
                perform();
        });
    }
}

void Interface::bindMenuItem(QObject* object) {
    auto* item = qobject_cast<MenuItem*>(object);
    // A menu is a window of its own; what it is for is where it stands.
    const auto* menu = item ? qobject_cast<QMenu*>(item->parent()) : nullptr;
    if (!menu || !menu->parentWidget()) return;
    for (const QString& name : object->property("operations").toStringList()) {
        const auto perform = operation(*menu->parentWidget(), name);
        if (!perform) {
            problems_ << QStringLiteral("%1: no operation %2").arg(object->objectName(), name);
            continue;
        }
        QObject::connect(item, &QAction::triggered, item, perform);
    }
}

std::function<void()> Interface::operation(const QWidget& scope, const QString& qualified) const {
    const auto [owner, name] = splitName(qualified);
    if (Controller* owning = controller(owner)) {
        if (!owning->hasAction(name)) return {};
        return [owning, action = name] { owning->performAction(action, nullptr); };
    }
    auto* widget = scope.window()->findChild<QWidget*>(owner);
    if (!widget) return {};
    if (name == QLatin1String("focus")) {
        return [widget] { widget->setFocus(Qt::ShortcutFocusReason); };
    }
    const QMetaObject* known = widget->metaObject();
    const int index = known->indexOfMethod(qPrintable(name + QStringLiteral("()")));
    if (index < 0) return {};
    return [widget, method = known->method(index)] { method.invoke(widget); };
}

void Interface::orderFocus(QWidget* window) {
    QWidget* previous = nullptr;
    // The loader loses the files' order of focus where one file is included twice.
    forEachObject(window, [&previous](QObject* object) {
        auto* widget = qobject_cast<QWidget*>(object);
        if (!widget || widget->focusPolicy() == Qt::NoFocus) return;
        if (previous) QWidget::setTabOrder(previous, widget);
        previous = widget;
    });
    if (auto* first = window->findChild<QWidget*>(window->property("firstFocus").toString())) {
        first->setFocus();
    }
}

Target* Interface::targetNamed(const QString& name) const {
    if (Controller* named = controller(name)) return named;
    return window(name);
}

Window* Interface::mainWindow() const {
    return windows_.empty() ? nullptr : qobject_cast<Window*>(windows_.front().get());
}

Window* Interface::window(const QString& name) const {
    for (const auto& window : windows_) {
        if (window->objectName() == name) return qobject_cast<Window*>(window.get());
    }
    return nullptr;
}

Controller* Interface::controller(const QString& name) const {
    const auto found = controllers_.find(name);
    return found == controllers_.end() ? nullptr : found->second.get();
}

}  // namespace platform
