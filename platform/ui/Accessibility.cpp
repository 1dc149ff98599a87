#include "platform/ui/Accessibility.h"

#include "platform/ui/ImageView.h"
#include "platform/ui/ProgressIndicator.h"
#include "platform/ui/Slider.h"
#include "platform/ui/Window.h"

#include <QAccessibleWidget>
#include <QMenu>

#include <algorithm>

namespace platform {

namespace {

// A value within a range. Assistive technology that knows no words for it reads the numbers.
template <typename Widget>
class RangeInterface : public QAccessibleWidget, public QAccessibleValueInterface {
  public:
    RangeInterface(Widget* widget, QAccessible::Role role)
        : QAccessibleWidget(widget, role), range_(*widget) {}

    void* interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::ValueInterface) {
            return static_cast<QAccessibleValueInterface*>(this);
        }
        return QAccessibleWidget::interface_cast(type);
    }
    QVariant currentValue() const override { return range_.doubleValue(); }
    void setCurrentValue(const QVariant&) override {}
    QVariant minimumValue() const override { return range_.minValue(); }
    QVariant maximumValue() const override { return range_.maxValue(); }
    QVariant minimumStepSize() const override { return 0.0; }

  protected:
    Widget& range_;
};

class SliderInterface final : public RangeInterface<Slider> {
  public:
    explicit SliderInterface(Slider* slider) : RangeInterface(slider, QAccessible::Slider) {}

    void setCurrentValue(const QVariant& value) override { range_.moveByUser(value.toDouble()); }
    QVariant minimumStepSize() const override { return range_.keyStep(); }
    QString text(QAccessible::Text kind) const override {
        // The desktop's protocol has no words for a value; screen readers speak the description.
        const bool isValue = kind == QAccessible::Value || kind == QAccessible::Description;
        return isValue ? range_.valueText() : RangeInterface::text(kind);
    }
};

// Newer toolkits ask for a window's interface while it is still without the flags that make it a
// dialog, so that what it is must be told anew each time.
class WindowInterface final : public QAccessibleWidget {
  public:
    using QAccessibleWidget::QAccessibleWidget;

    QAccessible::Role role() const override {
        const bool isDialog = (widget()->windowFlags() & Qt::Dialog) == Qt::Dialog;
        return isDialog ? QAccessible::Dialog : QAccessible::Window;
    }
};

// The toolkit leaves menus out of its tree, so that nobody hears of an open one: it is told of as
// the last child of the view that it belongs to.
class ViewInterface final : public QAccessibleWidget {
  public:
    using QAccessibleWidget::QAccessibleWidget;

    int childCount() const override {
        return QAccessibleWidget::childCount() + int(openMenus().size());
    }
    QAccessibleInterface* child(int index) const override {
        const int others = QAccessibleWidget::childCount();
        if (index < others) return QAccessibleWidget::child(index);
        return QAccessible::queryAccessibleInterface(openMenus().value(index - others));
    }
    int indexOfChild(const QAccessibleInterface* child) const override {
        auto* menu = child ? qobject_cast<QMenu*>(child->object()) : nullptr;
        const auto index = menu ? openMenus().indexOf(menu) : -1;
        return index < 0 ? QAccessibleWidget::indexOfChild(child)
                         : QAccessibleWidget::childCount() + int(index);
    }

  private:
    QList<QMenu*> openMenus() const {
        auto menus = widget()->findChildren<QMenu*>(QString(), Qt::FindDirectChildrenOnly);
        menus.removeIf([](const QMenu* menu) { return !menu->isVisible(); });
        return menus;
    }
};

// A view is worth telling of when the interface file names it; else only what is inside it is.
QAccessible::Role roleOf(const View& view) {
    if (view.accessibleName().isEmpty()) return QAccessible::Client;
    return qobject_cast<const ImageView*>(&view) ? QAccessible::Graphic : QAccessible::Grouping;
}

QAccessibleInterface* interfaceFor(const QString&, QObject* object) {
    if (auto* slider = qobject_cast<Slider*>(object)) return new SliderInterface(slider);
    if (auto* bar = qobject_cast<ProgressIndicator*>(object)) {
        return new RangeInterface<ProgressIndicator>(bar, QAccessible::ProgressBar);
    }
    if (auto* view = qobject_cast<View*>(object)) return new ViewInterface(view, roleOf(*view));
    if (auto* window = qobject_cast<Window*>(object)) return new WindowInterface(window);
    return nullptr;
}

}  // namespace

void installAccessibility() {
    QAccessible::removeFactory(interfaceFor);
    QAccessible::installFactory(interfaceFor);
}

}  // namespace platform
