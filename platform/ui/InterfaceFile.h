#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <functional>
#include <map>
#include <utility>
#include <vector>

class QObject;
class QWidget;
class QXmlStreamReader;

namespace platform {

/// One Qt Designer file, read once for every time that it is included: widgets in widgets with
/// their properties, menus and their items. What else Designer knows (layouts, signals, icons) the
/// files do without, and the toolkit's own loader, with its libraries, would be a third of the time
/// until the window stands.
class InterfaceFile {
  public:
    /// Makes a widget of that class as a child of `parent`, called `name`; null for a class that it
    /// does not know, whose element is left out.
    using WidgetMaker =
        std::function<QWidget*(const QString& className, QWidget* parent, const QString& name)>;
    /// What stands for what in the file's names and texts.
    using Substitutions = std::vector<std::pair<QString, QString>>;

    explicit InterfaceFile(const QByteArray& text);

    /// Why the file can't be used; empty for a good one.
    const QString& errorString() const { return errorString_; }

    /// The file's outermost widget, a child of `parent`, which keeps its place there; null where it
    /// is of no known class.
    QWidget* make(QWidget* parent, const Substitutions& substitutions,
                  const WidgetMaker& makeWidget) const;

  private:
    struct Element {
        enum class Kind { Widget, Action, Entry };  // an entry puts an action into its menu
        Kind kind = Kind::Widget;
        QString className, name;
        std::vector<std::pair<QByteArray, QVariant>> properties;
        std::vector<Element> inner;
    };
    class Making;

    static Element readElement(QXmlStreamReader& xml, Element::Kind kind);
    static void readProperty(QXmlStreamReader& xml, Element& element);
    static QVariant readValue(QXmlStreamReader& xml);
    static QVariant readNumbers(QXmlStreamReader& xml, QStringView type);

    Element outermost_;
    QString errorString_;
};

/// Interface files by their names.
using InterfaceFiles = std::map<QString, InterfaceFile>;

/// All that the program and the libraries in it bring along (":/interface/<name>.ui"). Needs no
/// application and no display, so that another thread can read them before there is one.
InterfaceFiles readInterfaceFiles();

}  // namespace platform
