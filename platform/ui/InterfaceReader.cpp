#include "platform/ui/InterfaceReader.h"

#include "platform/ui/MenuItem.h"

#include <QRectF>
#include <QVariant>
#include <QWidget>

#include <array>
#include <memory>

namespace platform {

InterfaceReader::InterfaceReader(const QByteArray& file, WidgetMaker makeWidget)
    : xml_(file), makeWidget_(std::move(makeWidget)) {}

QWidget* InterfaceReader::read(QWidget* parent) {
    std::unique_ptr<QWidget> outermost;
    if (xml_.readNextStartElement() && xml_.name() == u"ui") {
        while (xml_.readNextStartElement()) {
            // The rest describes the file to Designer.
            if (xml_.name() == u"widget" && !outermost) {
                outermost.reset(readWidget(parent));
            } else {
                xml_.skipCurrentElement();
            }
        }
    }
    return xml_.hasError() ? nullptr : outermost.release();
}

QString InterfaceReader::errorString() const {
    return QStringLiteral("line %1: %2").arg(xml_.lineNumber()).arg(xml_.errorString());
}

QWidget* InterfaceReader::readWidget(QWidget* parent) {
    const QString name = attribute(QLatin1String("name"));
    QWidget* widget = makeWidget_(attribute(QLatin1String("class")), parent, name);
    if (!widget) {
        xml_.skipCurrentElement();
        return nullptr;
    }
    ++depth_;
    while (xml_.readNextStartElement()) {
        if (xml_.name() == u"property") {
            readProperty(*widget, depth_ == 1);
        } else if (xml_.name() == u"widget") {
            readWidget(widget);
        } else if (xml_.name() == u"action") {
            readAction(*widget);
        } else if (xml_.name() == u"addaction") {
            const QString item = attribute(QLatin1String("name"));
            if (auto* action = widget->findChild<QAction*>(item)) widget->addAction(action);
            xml_.skipCurrentElement();
        } else {
            xml_.raiseError(QStringLiteral("%1 is not known here").arg(xml_.name()));
        }
    }
    --depth_;
    return widget;
}

void InterfaceReader::readAction(QWidget& menu) {
    auto* item = new MenuItem(&menu);
    item->setObjectName(attribute(QLatin1String("name")));
    while (xml_.readNextStartElement())
        readProperty(*item, false);
}

void InterfaceReader::readProperty(QObject& object, bool isOutermost) {
    const QString name = attribute(QLatin1String("name"));
    if (!xml_.readNextStartElement()) return;
    const QVariant value = readValue();
    xml_.skipCurrentElement();
    if (isOutermost && name == u"geometry") {
        static_cast<QWidget&>(object).resize(value.toRect().size());
    } else {
        object.setProperty(name.toUtf8().constData(), value);
    }
}

QVariant InterfaceReader::readValue() {
    const QStringView type = xml_.name();
    if (type == u"bool") return xml_.readElementText() == u"true";
    if (type == u"number") return xml_.readElementText().toInt();
    if (type == u"double") return xml_.readElementText().toDouble();
    if (type == u"stringlist") return readStrings();
    if (type == u"rect" || type == u"rectf" || type == u"size") return readNumbers(type);
    // Names of an enumeration's values are understood by the property itself.
    if (type == u"string" || type == u"enum" || type == u"set") return xml_.readElementText();
    xml_.raiseError(QStringLiteral("%1 is not known here").arg(type));
    return {};
}

QVariant InterfaceReader::readNumbers(QStringView type) {
    // The name goes when the reader moves on.
    const bool isSize = type == u"size";
    const bool isWhole = type == u"rect";
    QRectF read;
    while (xml_.readNextStartElement()) {
        const QStringView name = xml_.name();
        const auto set = name == u"x"       ? &QRectF::moveLeft
                         : name == u"y"     ? &QRectF::moveTop
                         : name == u"width" ? &QRectF::setWidth
                                            : &QRectF::setHeight;
        (read.*set)(xml_.readElementText().toDouble());
    }
    if (isSize) return read.size().toSize();
    return isWhole ? QVariant(read.toRect()) : QVariant(read);
}

QStringList InterfaceReader::readStrings() {
    QStringList strings;
    while (xml_.readNextStartElement())
        strings << xml_.readElementText();
    return strings;
}

QString InterfaceReader::attribute(QLatin1String name) const {
    return xml_.attributes().value(name).toString();
}

}  // namespace platform
