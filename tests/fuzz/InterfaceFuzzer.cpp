#include "platform/ui/Button.h"
#include "platform/ui/InterfaceLoader.h"
#include "platform/ui/Window.h"

#include <QResource>
#include <QXmlStreamWriter>
#include <QtEndian>

#include <cstdint>
#include <cstdlib>
#include <list>

// Whatever interface files say: an interface with a list of its mistakes, and a controller that is
// woken where there are none.
//
// The input has a line for each thing in the files, so that its mutations are files still:
//   =M           what follows is the file called M, the first of all, or by another letter
//   >Class name  a widget, up to a line of < or the file's end
//   +name        an item of the menu around it
//   key=a|b      a property of the widget around it: a list of strings

namespace {

class Desk : public platform::Controller {
  public:
    Desk() {
        outlet(QStringLiteral("one"), one_);
        action(QStringLiteral("press"), [](platform::Control*) {});
    }
    void awakeFromNib() override {
        if (!one_ || std::exchange(woken_, true)) std::abort();
    }

  private:
    platform::Button* one_ = nullptr;
    bool woken_ = false;
};

// The file of `content` in the program's bundle, named by a letter, as long as it lives.
class BundleFile {
  public:
    BundleFile(quint16 letter, const QByteArray& content) {
        // Qt's binary resources, version 1: a header, the content, the name with its hash, a tree
        // of a folder and a file.
        const auto size = static_cast<quint32>(content.size());
        const quint32 name = 24 + size;
        bytes_ = "qres";
        add<quint32>({1, name + 14, 20, name, size});
        bytes_ += content;
        add<quint16>({4});
        add<quint32>({(quint32{letter} << 12) + (u'.' << 8) + (u'u' << 4) + u'i'});
        add<quint16>({letter, u'.', u'u', u'i'});
        add<quint16>({0, 0, 2, 0, 1, 0, 1});
        add<quint16>({0, 0, 0, 0, 1, 0, 0});
        if (!QResource::registerResource(data(), kFolder)) std::abort();
    }
    ~BundleFile() { QResource::unregisterResource(data(), kFolder); }
    BundleFile(const BundleFile&) = delete;
    BundleFile& operator=(const BundleFile&) = delete;

  private:
    inline static const QString kFolder = QStringLiteral("/interface");

    template <typename Number>
    void add(std::initializer_list<Number> numbers) {
        for (const Number number : numbers) {
            const Number big = qToBigEndian(number);
            bytes_.append(reinterpret_cast<const char*>(&big), sizeof big);
        }
    }
    const uchar* data() const { return reinterpret_cast<const uchar*>(bytes_.constData()); }

    QByteArray bytes_;
};

void writeLine(QXmlStreamWriter& file, const QString& line, int& depth) {
    const QString rest = line.mid(1);
    if (line.startsWith(u'>')) {
        file.writeStartElement(QStringLiteral("widget"));
        file.writeAttribute(QStringLiteral("class"), rest.section(u' ', 0, 0));
        file.writeAttribute(QStringLiteral("name"), rest.section(u' ', 1));
        ++depth;
    } else if (depth > 0 && line.startsWith(u'<')) {
        file.writeEndElement();
        --depth;
    } else if (depth > 0 && line.startsWith(u'+')) {
        file.writeEmptyElement(QStringLiteral("action"));
        file.writeAttribute(QStringLiteral("name"), rest);
    } else if (depth > 0 && line.contains(u'=')) {
        file.writeStartElement(QStringLiteral("property"));
        file.writeAttribute(QStringLiteral("name"), line.section(u'=', 0, 0));
        file.writeAttribute(QStringLiteral("stdset"), QStringLiteral("0"));
        file.writeStartElement(QStringLiteral("stringlist"));
        for (const QString& value : line.section(u'=', 1).split(u'|'))
            file.writeTextElement(QStringLiteral("string"), value);
        file.writeEndElement();
        file.writeEndElement();
    }
}

QByteArray fileOf(const QStringList& lines) {
    QByteArray content;
    QXmlStreamWriter file(&content);
    file.writeStartDocument();
    file.writeStartElement(QStringLiteral("ui"));
    file.writeAttribute(QStringLiteral("version"), QStringLiteral("4.0"));
    int depth = 0;
    for (const QString& line : lines)
        writeLine(file, line, depth);
    file.writeEndDocument();
    return content;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QString text =
        QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    std::list<BundleFile> files;
    for (const QString& file : QString(u'\n' + text).split(QStringLiteral("\n="))) {
        if (!file.isEmpty())
            files.emplace_back(file[0].unicode(), fileOf(file.mid(1).split(u'\n')));
    }
    const platform::InterfaceClasses classes = {
        {}, {{QStringLiteral("Desk"), [] { return std::make_unique<Desk>(); }}}};
    const platform::Interface loaded(QStringLiteral("M"), classes);
    if (!loaded.mainWindow() && loaded.problems().isEmpty()) std::abort();
    return 0;
}
