#include "platform/workspace/DisplayOptions.h"

#include "platform/foundation/ConfigurationFolder.h"
#include "platform/workspace/DesktopSettings.h"
#include "platform/workspace/KeyFile.h"
#include "platform/workspace/SessionBus.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QMap>

#include <algorithm>
#include <iterator>
#include <utility>

namespace platform {

namespace {

using Wish = DisplayOptions::Wish;

// xdg-desktop-portal, org.freedesktop.portal.Settings.xml.
constexpr QLatin1String kPortal("org.freedesktop.portal.Desktop");
constexpr QLatin1String kPath("/org/freedesktop/portal/desktop");
constexpr QLatin1String kInterface("org.freedesktop.portal.Settings");

struct Setting {
    const char* group;  // as the portal calls it; GNOME's are the names of schemas
    const char* key;
    const char* wishing;  // the value that wishes
    Wish wish;
};

constexpr std::array<Setting, 5> kSettings = {{
    {"org.freedesktop.appearance", "contrast", "1", Wish::MoreContrast},
    {"org.freedesktop.appearance", "reduced-motion", "1", Wish::LessMotion},
    {"org.gnome.desktop.a11y.interface", "high-contrast", "true", Wish::MoreContrast},
    {"org.gnome.desktop.interface", "enable-animations", "false", Wish::LessMotion},
    {"org.kde.kdeglobals.KDE", "AnimationDurationFactor", "0", Wish::LessMotion},
}};

}  // namespace

DisplayOptions::DisplayOptions(std::function<void()> didChange)
    : QObject(QCoreApplication::instance()) {
    static_assert(kSettings.size() == kSettingCount);
    readSettings();
    askPortal();
    didChange_ = std::move(didChange);
}

bool DisplayOptions::isWished(Wish wish) const {
    for (std::size_t i = 0; i < kSettings.size(); ++i) {
        if (kSettings[i].wish == wish && wishes_[i]) return true;
    }
    return false;
}

void DisplayOptions::hear(const QString& group, const QString& key, const QString& value) {
    const auto isSetting = [&](const Setting& setting) {
        return group == QLatin1String(setting.group) && key == QLatin1String(setting.key);
    };
    const auto* setting = std::find_if(kSettings.begin(), kSettings.end(), isSetting);
    if (setting == kSettings.end()) return;
    const bool before = isWished(setting->wish);
    wishes_[std::size_t(setting - kSettings.begin())] = value == QLatin1String(setting->wishing);
    if (didChange_ && isWished(setting->wish) != before) didChange_();
}

void DisplayOptions::readSettings() {
    const bool isGnome = qgetenv("XDG_CURRENT_DESKTOP").split(':').contains("GNOME");
    for (const Setting& setting : kSettings) {
        const auto value =
            isGnome ? desktopSetting(setting.group, setting.key) : std::optional<QString>();
        if (value) hear(QLatin1String(setting.group), QLatin1String(setting.key), *value);
    }
    const QString key = QStringLiteral("AnimationDurationFactor");
    const KeyFile globals(configurationFolder() + QStringLiteral("/kdeglobals"));
    if (const auto value = globals.value(QStringLiteral("KDE"), key))
        hear(QStringLiteral("org.kde.kdeglobals.KDE"), key, *value);
}

void DisplayOptions::askPortal() {
    if (!hasSessionBus()) return;
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.connect(kPortal, kPath, kInterface, QStringLiteral("SettingChanged"), this,
                SLOT(settingDidChange(QDBusMessage)));
    QDBusMessage call =
        QDBusMessage::createMethodCall(kPortal, kPath, kInterface, QStringLiteral("ReadAll"));
    QStringList groups;
    for (const Setting& setting : kSettings)
        groups << QLatin1String(setting.group);
    call << groups;
    call.setAutoStartService(false);
    auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(call), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        portalDidAnswer(answer->reply());
    });
}

void DisplayOptions::portalDidAnswer(const QDBusMessage& answer) {
    if (answer.signature() != QLatin1String("a{sa{sv}}")) return;
    QMap<QString, QVariantMap> groups;
    answer.arguments().first().value<QDBusArgument>() >> groups;
    for (auto group = groups.cbegin(); group != groups.cend(); ++group) {
        for (auto value = group->cbegin(); value != group->cend(); ++value)
            hear(group.key(), value.key(), value->toString());
    }
}

void DisplayOptions::settingDidChange(const QDBusMessage& signal) {
    if (signal.signature() != QLatin1String("ssv")) return;
    const QVariantList told = signal.arguments();
    hear(told[0].toString(), told[1].toString(),
         told[2].value<QDBusVariant>().variant().toString());
}

}  // namespace platform
