#include "desktop/SleepInhibitor.h"

#include <QCoreApplication>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

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

constexpr std::array kServices = {
    // xdg-desktop-portal, interface version 3.
    Service{"org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
            "org.freedesktop.portal.Inhibit",
            [] {
                const QVariantMap options = {{QStringLiteral("reason"), reason()}};
                return QVariantList{QString(), kSuspend, options};
            },
            nullptr},
    // gnome-session, org.gnome.SessionManager.xml; no window stands for the request.
    Service{
        "org.gnome.SessionManager", "/org/gnome/SessionManager", "org.gnome.SessionManager",
        [] {
            return QVariantList{QCoreApplication::applicationName(), uint{0}, reason(), kSuspend};
        },
        "Uninhibit"},
    // KDE's and Xfce's power managers.
    Service{"org.freedesktop.PowerManagement", "/org/freedesktop/PowerManagement/Inhibit",
            "org.freedesktop.PowerManagement.Inhibit", applicationAndReason, "UnInhibit"},
    // Idle inhibition of the freedesktop.org draft: it keeps the screen on too, so it comes last.
    Service{"org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver",
            "org.freedesktop.ScreenSaver", applicationAndReason, "UnInhibit"},
};

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

SleepInhibitor::SleepInhibitor(const QDBusConnection& bus) : bus_(bus) {}

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
    isAsking_ = service < kServices.size();
    if (!isAsking_) return;
    QDBusMessage call = methodCall(kServices[service], "Inhibit");
    call.setArguments(kServices[service].arguments());
    auto* answer = new QDBusPendingCallWatcher(bus_.asyncCall(call), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this,
            [this, service, answer] { answered(service, *answer); });
}

void SleepInhibitor::answered(std::size_t service, QDBusPendingCallWatcher& answer) {
    answer.deleteLater();
    isAsking_ = false;
    releaseCall_ = releaseCallFor(kServices[service], answer.reply());
    if (!isActive_) {
        // Paused before the answer came.
        release();
    } else if (!releaseCall_) {
        ask(service + 1);
    }
}

void SleepInhibitor::release() {
    if (releaseCall_) bus_.send(*releaseCall_);
    releaseCall_.reset();
}
