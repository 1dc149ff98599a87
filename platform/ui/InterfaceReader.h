#pragma once

#include <QString>
#include <QXmlStreamReader>

#include <functional>

class QWidget;

namespace platform {

/// Makes the widgets of one Qt Designer file: widgets in widgets with their properties, menus and
/// their items. What else Designer knows (layouts, signals, icons) the files do without, and the
/// toolkit's own loader, with its libraries, would be a third of the time until the window stands.
class InterfaceReader {
  public:
    /// Makes a widget of that class as a child of `parent`, called `name`; null for a class that it
    /// does not know, whose element is left out.
    using WidgetMaker =
        std::function<QWidget*(const QString& className, QWidget* parent, const QString& name)>;

    InterfaceReader(const QByteArray& file, WidgetMaker makeWidget);

    /// The file's outermost widget, a child of `parent`, which keeps its place there; null, with
    /// errorString() telling why, for a file that can't be read.
    QWidget* read(QWidget* parent);
    QString errorString() const;

  private:
    QWidget* readWidget(QWidget* parent);
    void readAction(QWidget& menu);
    void readProperty(QObject& object, bool isOutermost);
    QVariant readValue();
    QVariant readNumbers(QStringView type);
    QStringList readStrings();
    QString attribute(QLatin1String name) const;

    QXmlStreamReader xml_;
    WidgetMaker makeWidget_;
    int depth_ = 0;  // of widgets around the one that is read
};

}  // namespace platform
