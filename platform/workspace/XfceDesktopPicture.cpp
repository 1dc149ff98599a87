#include "platform/foundation/ConfigurationFolder.h"
#include "platform/foundation/Path.h"
#include "platform/workspace/DesktopPicture.h"

#include <QHash>
#include <QXmlStreamReader>

#include <algorithm>
#include <utility>

namespace platform {

namespace {

struct Channel {
    QHash<QString, QString> values;  // by the property's path, "/backdrop/screen0/..."
    QStringList pictures;            // the paths of the properties named last-image, in order
};

const QString kPicture = QStringLiteral("/last-image");

// Lays the properties of one of Xfce's configuration files over those read before.
void readChannel(const QByteArray& content, Channel& channel) {
    QXmlStreamReader xml(content);
    QStringList path;
    while (!xml.atEnd()) {
        const QXmlStreamReader::TokenType token = xml.readNext();
        if (token == QXmlStreamReader::EndElement) path.removeLast();
        if (token != QXmlStreamReader::StartElement) continue;
        // The outermost element is the channel, which is no part of a property's path.
        const QXmlStreamAttributes attributes = xml.attributes();
        path += path.isEmpty() ? QString() : attributes.value(QLatin1String("name")).toString();
        if (!attributes.hasAttribute(QLatin1String("value"))) continue;
        const QString property = path.join(QLatin1Char('/'));
        if (property.endsWith(kPicture) && !channel.values.contains(property)) {
            channel.pictures += property;
        }
        channel.values.insert(property, attributes.value(QLatin1String("value")).toString());
    }
}

}  // namespace

std::optional<QString> xfceDesktopPicture(const DesktopScreen& screen) {
    Channel channel;
    QStringList folders = configurationFolders();
    std::reverse(folders.begin(), folders.end());
    for (const QString& folder : std::as_const(folders)) {
        const auto content = dataWithContentsOfFile(
            folder + QStringLiteral("/xfce4/xfconf/xfce-perchannel-xml/xfce4-desktop.xml"));
        readChannel(content.value_or(QByteArray()), channel);
    }

    // With one picture for all workspaces, it is that of the workspace named so.
    const QString workspace =
        QStringLiteral("/workspace") +
        (channel.values.value(QStringLiteral("/backdrop/single-workspace-mode")) ==
                 QLatin1String("false")
             ? QStringLiteral("0")
             : channel.values.value(QStringLiteral("/backdrop/single-workspace-number"),
                                    QStringLiteral("0")));
    QStringList candidates;
    for (const QString& monitor : {screen.name, QString::number(screen.number)}) {
        candidates += QStringLiteral("/backdrop/screen0/monitor") + monitor + workspace + kPicture;
    }
    // A monitor under another name is the best guess for the main screen.
    if (screen.number == 0) candidates += channel.pictures.filter(workspace + kPicture);

    for (const QString& property : candidates) {
        const auto picture = channel.values.constFind(property);
        if (picture == channel.values.constEnd()) continue;
        const QString style = property.chopped(kPicture.size()) + QStringLiteral("/image-style");
        if (channel.values.value(style) == QLatin1String("0")) return std::nullopt;
        return pathOfURL(*picture);
    }
    return std::nullopt;
}

}  // namespace platform
