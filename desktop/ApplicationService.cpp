#include "desktop/ApplicationService.h"

#include "platform/foundation/Bundle.h"
#include "platform/foundation/Path.h"
#include "platform/ui/RunLoop.h"

#include <QDBusMessage>

#include <utility>

namespace {

// A running program that is busy with a large scan answers when it is done.
constexpr int kPatience = 10'000;  // ms

const QString kActivationToken = QStringLiteral("activation-token");

QString serviceName() {
    return platform::Bundle::mainBundle().bundleIdentifier();
}

QString objectPath() {
    return QLatin1Char('/') + serviceName().replace(QLatin1Char('.'), QLatin1Char('/'));
}

}  // namespace

ApplicationService::ApplicationService(const QDBusConnection& bus) : bus_(bus) {}

ApplicationService::~ApplicationService() {
    bus_.unregisterObject(objectPath());
    bus_.unregisterService(serviceName());
}

bool ApplicationService::claimOrHandOver(const QStringList& paths) {
    // The object before the name: whoever sees the name finds somebody at home.
    bus_.registerObject(objectPath(), this, QDBusConnection::ExportScriptableSlots);
    if (bus_.registerService(serviceName())) return true;
    return !handOver(paths);
}

bool ApplicationService::handOver(const QStringList& paths) {
    const QString method = paths.isEmpty() ? QStringLiteral("Activate") : QStringLiteral("Open");
    QDBusMessage call = QDBusMessage::createMethodCall(
        serviceName(), objectPath(), QStringLiteral("org.freedesktop.Application"), method);
    QStringList urls;
    for (const QString& path : paths)
        urls << QString::fromLatin1(platform::fileURLWithPath(path));
    // The right to come to the front was given to this process; it is passed on.
    QVariantMap platformData;
    const QString token = qEnvironmentVariable("XDG_ACTIVATION_TOKEN");
    if (!token.isEmpty()) platformData.insert(kActivationToken, token);
    if (!urls.isEmpty()) call << urls;
    call << platformData;
    const QDBusMessage reply = bus_.call(call, QDBus::Block, kPatience);
    // One that is late has the message all the same.
    return reply.type() == QDBusMessage::ReplyMessage ||
           reply.errorName() == QLatin1String("org.freedesktop.DBus.Error.NoReply");
}

void ApplicationService::setHandlers(std::function<void()> activate,
                                     std::function<void(const QStringList&)> open) {
    activate_ = std::move(activate);
    open_ = std::move(open);
    for (const auto& request : std::exchange(early_, {}))
        request();
}

void ApplicationService::handle(std::function<void()> request) {
    // A library that is scanned at the start is waited for with the bus at work.
    if (!open_) {
        early_.push_back(std::move(request));
    } else {
        platform::RunLoop::perform(std::move(request));
    }
}

void ApplicationService::Activate(const QVariantMap& platformData) {
    const QByteArray token = platformData.value(kActivationToken).toString().toUtf8();
    // Where the toolkit takes it from when a window asks for attention.
    if (!token.isEmpty()) qputenv("XDG_ACTIVATION_TOKEN", token);
    handle([this] { activate_(); });
}

void ApplicationService::Open(const QStringList& urls, const QVariantMap& platformData) {
    QStringList paths;
    for (const QString& url : urls) {
        if (const auto path = platform::pathWithFileURL(url.toUtf8())) paths << *path;
    }
    Activate(platformData);
    handle([this, paths] { open_(paths); });
}

void ApplicationService::ActivateAction(const QString&, const QVariantList&,
                                        const QVariantMap& platformData) {
    Activate(platformData);
}
