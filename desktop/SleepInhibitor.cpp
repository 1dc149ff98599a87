#include "desktop/SleepInhibitor.h"

#include <QCoreApplication>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QFile>

#include <array>

namespace {

// In both interfaces that have flags.
constexpr uint kSuspend = 4;

struct Service {
    const char* name;
    const char* path;
    const char* interface;
    QVariantList (*arguments)();
    const char* releaseMethod;  // takes the cookie; none where the answer is a request to close
};

QString reason() {
    return QStringLiteral("Playing music");
}

QVariantList applicationAndReason() {
    return {QCoreApplication::applicationName(), reason()};
}

// xdg-desktop-portal, interface version 3.
constexpr Service kPortal = {"org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
                             "org.freedesktop.portal.Inhibit",
                             [] {
                                 const QVariantMap options = {{QStringLiteral("reason"), reason()}};
                                 return QVariantList{QString(), kSuspend, options};
                             },
                             nullptr};
// gnome-session, org.gnome.SessionManager.xml; no window stands for the request.
constexpr Service kSessionManager = {
    "org.gnome.SessionManager", "/org/gnome/SessionManager", "org.gnome.SessionManager",
    [] {
        return QVariantList{QCoreApplication::applicationName(), uint{0}, reason(), kSuspend};
    },
    "Uninhibit"};
// KDE's and Xfce's power managers.
constexpr Service kPowerManager = {
    "org.freedesktop.PowerManagement", "/org/freedesktop/PowerManagement/Inhibit",
    "org.freedesktop.PowerManagement.Inhibit", applicationAndReason, "UnInhibit"};
// Idle inhibition of the freedesktop.org draft: it keeps the screen on too, so it comes last.
constexpr Service kScreenSaver = {"org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver",
                                  "org.freedesktop.ScreenSaver", applicationAndReason, "UnInhibit"};

using Services = std::array<const Service*, 4>;

/// In the order to ask them. Out of a sandbox the portal is the only way; outside it is a detour,
/// on some desktops to a backend that knows nothing of sleep.
const Services& services() {
    static constexpr Services kInside = {&kPortal, &kSessionManager, &kPowerManager, &kScreenSaver};
    static constexpr Services kOutside = {&kSessionManager, &kPowerManager, &kPortal,
                                          &kScreenSaver};
    const bool isInside =
        QFile::exists(QStringLiteral("/.flatpak-info")) || qEnvironmentVariableIsSet("SNAP");
    return isInside ? kInside : kOutside;
}

QDBusMessage methodCall(const Service& service, const char* method) {
    return QDBusMessage::createMethodCall(QLatin1String(service.name), QLatin1String(service.path),
                                          QLatin1String(service.interface), QLatin1String(method));
}

/// The call that takes back what `answer` has granted; absent when it has granted nothing.
std::optional<QDBusMessage> releaseCallFor(const Service& service, const QDBusMessage& answer) {
    const QVariant granted = answer.arguments().value(0);
    if (answer.type() != QDBusMessage::ReplyMessage || !granted.isValid()) return std::nullopt;
    if (service.releaseMethod) {
        QDBusMessage call = methodCall(service, service.releaseMethod);
        call << granted;
        return call;
    }
    return QDBusMessage::createMethodCall(
        QLatin1String(service.name), granted.value<QDBusObjectPath>().path(),
        QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Close"));
}

}  // namespace

SleepInhibitor::SleepInhibitor(const QDBusConnection& bus) : bus_(bus) {
    bus_.connect(QLatin1String(kPortal.name), QString(),
                 QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Response"), this,
                 SLOT(portalDidRespond(QDBusMessage)));
}

SleepInhibitor::~SleepInhibitor() {
    release();
}

void SleepInhibitor::setActive(bool active) {
    if (active == isActive_) return;
    isActive_ = active;
    if (!active) {
        release();
    } else if (!isAsking_) {
        ask(0);
    }
}

void SleepInhibitor::ask(std::size_t service) {
    isAsking_ = service < services().size();
    if (!isAsking_) return;
    asked_ = service;
    refused_.clear();
    QDBusMessage call = methodCall(*services()[service], "Inhibit");
    call.setArguments(services()[service]->arguments());
    auto* answer = new QDBusPendingCallWatcher(bus_.asyncCall(call), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this,
            [this, service, answer] { answered(service, *answer); });
}

void SleepInhibitor::answered(std::size_t service, QDBusPendingCallWatcher& answer) {
    answer.deleteLater();
    isAsking_ = false;
    releaseCall_ = releaseCallFor(*services()[service], answer.reply());
    // The two messages may have been taken in in either order.
    if (releaseCall_ && releaseCall_->path() == refused_) releaseCall_.reset();
    if (!isActive_) {
        // Paused before the answer came.
        release();
    } else if (!releaseCall_) {
        ask(service + 1);
    }
}

void SleepInhibitor::portalDidRespond(const QDBusMessage& response) {
    const bool isGranted = response.arguments().value(0).toUInt() == 0;
    if (isGranted || services()[asked_] != &kPortal) return;
    refused_ = response.path();
    if (!releaseCall_ || releaseCall_->path() != refused_) return;
    releaseCall_.reset();
    if (!isAsking_) ask(asked_ + 1);
}

void SleepInhibitor::release() {
    if (releaseCall_) bus_.send(*releaseCall_);
    releaseCall_.reset();
}
