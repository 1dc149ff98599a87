#include "platform/ui/InterfaceFile.h"

#include "platform/ui/MenuItem.h"

#include <QDir>
#include <QFile>
#include <QRectF>
#include <QWidget>
#include <QXmlStreamReader>

namespace platform {

namespace {

QString attribute(const QXmlStreamReader& xml, QLatin1String name) {
    return xml.attributes().value(name).toString();
}

QString substituted(QString text, const InterfaceFile::Substitutions& substitutions) {
    if (!text.contains(QLatin1Char('{'))) return text;
    for (const auto& [key, value] : substitutions)
        text.replace(key, value);
    return text;
}

QVariant substituted(const QVariant& value, const InterfaceFile::Substitutions& substitutions) {
    if (value.typeId() == QMetaType::QString) return substituted(value.toString(), substitutions);
    if (value.typeId() != QMetaType::QStringList) return value;
    QStringList strings = value.toStringList();
    for (QString& string : strings)
        string = substituted(string, substitutions);
    return strings;
}

}  // namespace

// The widgets of one inclusion.
class InterfaceFile::Making {
  public:
    Making(const Substitutions& substitutions, const WidgetMaker& makeWidget)
        : substitutions_(substitutions), makeWidget_(makeWidget) {}

    QWidget* widget(const Element& element, QWidget* parent, bool isOutermost) const {
        QWidget* const made = makeWidget_(substituted(element.className, substitutions_), parent,
                                          substituted(element.name, substitutions_));
        if (!made) return nullptr;
        setProperties(*made, element, isOutermost);
        for (const Element& inner : element.inner) {
            switch (inner.kind) {
                case Element::Kind::Widget:
                    widget(inner, made, false);
                    break;
                case Element::Kind::Action: {
                    auto* const item = new MenuItem(made);
                    item->setObjectName(substituted(inner.name, substitutions_));
                    setProperties(*item, inner, false);
                    break;
                }
                case Element::Kind::Entry: {
                    const QString item = substituted(inner.name, substitutions_);
                    if (auto* action = made->findChild<QAction*>(item)) made->addAction(action);
                    break;
                }
            }
        }
        return made;
    }

  private:
    void setProperties(QObject& object, const Element& element, bool isOutermost) const {
        for (const auto& [name, value] : element.properties) {
            if (isOutermost && name == "geometry")
                static_cast<QWidget&>(object).resize(value.toRect().size());
            else
                object.setProperty(name.constData(), substituted(value, substitutions_));
        }
    }

    const Substitutions& substitutions_;
    const WidgetMaker& makeWidget_;
};

InterfaceFile::InterfaceFile(const QByteArray& text) {
    QXmlStreamReader xml(text);
    if (xml.readNextStartElement() && xml.name() == u"ui") {
        while (xml.readNextStartElement()) {
            // The rest describes the file to Designer.
            if (xml.name() == u"widget")
                outermost_ = readElement(xml, Element::Kind::Widget);
            else
                xml.skipCurrentElement();
        }
    }
    if (xml.hasError())
        errorString_ = QStringLiteral("line %1: %2").arg(xml.lineNumber()).arg(xml.errorString());
}

QWidget* InterfaceFile::make(QWidget* parent, const Substitutions& substitutions,
                             const WidgetMaker& makeWidget) const {
    return Making(substitutions, makeWidget).widget(outermost_, parent, true);
}

InterfaceFile::Element InterfaceFile::readElement(QXmlStreamReader& xml, Element::Kind kind) {
    Element element;
    element.kind = kind;
    element.className = attribute(xml, QLatin1String("class"));
    element.name = attribute(xml, QLatin1String("name"));
    while (xml.readNextStartElement()) {
        if (xml.name() == u"property")
            readProperty(xml, element);
        else if (xml.name() == u"widget")
            element.inner.push_back(readElement(xml, Element::Kind::Widget));
        else if (xml.name() == u"action")
            element.inner.push_back(readElement(xml, Element::Kind::Action));
        else if (xml.name() == u"addaction")
            element.inner.push_back(readElement(xml, Element::Kind::Entry));
        else
            xml.raiseError(QStringLiteral("%1 is not known here").arg(xml.name()));
    }
    return element;
}

void InterfaceFile::readProperty(QXmlStreamReader& xml, Element& element) {
    QByteArray name = attribute(xml, QLatin1String("name")).toUtf8();
    if (!xml.readNextStartElement()) return;
    element.properties.emplace_back(std::move(name), readValue(xml));
    xml.skipCurrentElement();
}

QVariant InterfaceFile::readValue(QXmlStreamReader& xml) {
    const QStringView type = xml.name();
    if (type == u"bool") return xml.readElementText() == u"true";
    if (type == u"number") return xml.readElementText().toInt();
    if (type == u"double") return xml.readElementText().toDouble();
    if (type == u"rect" || type == u"rectf" || type == u"size") return readNumbers(xml, type);
    // Names of an enumeration's values are understood by the property itself.
    if (type == u"string" || type == u"enum" || type == u"set") return xml.readElementText();
    if (type == u"stringlist") {
        QStringList strings;
        while (xml.readNextStartElement())
            strings << xml.readElementText();
        return strings;
    }
    xml.raiseError(QStringLiteral("%1 is not known here").arg(type));
    return {};
}

QVariant InterfaceFile::readNumbers(QXmlStreamReader& xml, QStringView type) {
    // The name goes when the reader moves on.
    const bool isSize = type == u"size";
    const bool isWhole = type == u"rect";
    QRectF read;
    while (xml.readNextStartElement()) {
        const QStringView name = xml.name();
        const auto set = name == u"x"       ? &QRectF::moveLeft
                         : name == u"y"     ? &QRectF::moveTop
                         : name == u"width" ? &QRectF::setWidth
                                            : &QRectF::setHeight;
        (read.*set)(xml.readElementText().toDouble());
    }
    if (isSize) return read.size().toSize();
    return isWhole ? QVariant(read.toRect()) : QVariant(read);
}

InterfaceFiles readInterfaceFiles() {
    InterfaceFiles files;
    for (const QFileInfo& found : QDir(QStringLiteral(":/interface")).entryInfoList()) {
        QFile file(found.filePath());
        if (file.open(QIODevice::ReadOnly))
            files.emplace(found.completeBaseName(), InterfaceFile(file.readAll()));
    }
    return files;
}

}  // namespace platform
