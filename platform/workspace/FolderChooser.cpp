#include "platform/workspace/FolderChooser.h"

#include "platform/foundation/Path.h"
#include "platform/workspace/SessionBus.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QObject>
#include <QVariantMap>

#include <utility>

namespace platform {

namespace {

// xdg-desktop-portal, org.freedesktop.portal.FileChooser.xml and .Request.xml.
constexpr QLatin1String kPortal("org.freedesktop.portal.Desktop");
constexpr QLatin1String kPath("/org/freedesktop/portal/desktop");
constexpr QLatin1String kInterface("org.freedesktop.portal.FileChooser");
constexpr QLatin1String kRequest("org.freedesktop.portal.Request");
// The first version that lets folders be chosen.
constexpr uint kFolderVersion = 3;
constexpr int kPatience = 3000;  // milliseconds

using Take = std::function<void(const QDBusMessage& answer)>;

void call(QObject& caller, const QString& interface, const char* method,
          const QVariantList& arguments, const Take& take) {
    QDBusMessage message =
        QDBusMessage::createMethodCall(kPortal, kPath, interface, QLatin1String(method));
    message.setArguments(arguments);
    auto* answer = new QDBusPendingCallWatcher(
        QDBusConnection::sessionBus().asyncCall(message, kPatience), &caller);
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, &caller, [answer, take] {
        answer->deleteLater();
        take(answer->reply());
    });
}

FolderAnswer answerOf(const QDBusMessage& response) {
    using Outcome = FolderAnswer::Outcome;
    const uint code = response.arguments().value(0).toUInt();
    if (code == 1) return {Outcome::Cancelled, {}};
    const auto results = qdbus_cast<QVariantMap>(response.arguments().value(1));
    const QStringList uris = results.value(QStringLiteral("uris")).toStringList();
    const auto path =
        code == 0 && !uris.isEmpty() ? pathWithFileURL(uris.first().toUtf8()) : std::nullopt;
    return path ? FolderAnswer{Outcome::Confirmed, *path} : FolderAnswer{};
}

}  // namespace

/// One question; gone with its answer.
class FolderChooser final : public QObject {
    Q_OBJECT

  public:
    using Answered = std::function<void(const FolderAnswer&)>;

    FolderChooser(const FolderQuestion& question, Answered answered);

  private Q_SLOTS:
    void requestDidRespond(const QDBusMessage& response);

  private:
    void versionDidCome(const QDBusMessage& answer);
    void fileDidOpen(const QDBusMessage& answer);
    void finish(const FolderAnswer& answer);

    FolderQuestion question_;
    Answered answered_;
    QString handle_;         // the request's path, as it should be and then as it is
    QDBusMessage response_;  // one that was taken in before the call's own answer
};

FolderChooser::FolderChooser(const FolderQuestion& question, Answered answered)
    : question_(question), answered_(std::move(answered)) {
    call(*this, QStringLiteral("org.freedesktop.DBus.Properties"), "Get",
         {QString(kInterface), QStringLiteral("version")},
         [this](const QDBusMessage& answer) { versionDidCome(answer); });
}

void FolderChooser::versionDidCome(const QDBusMessage& answer) {
    const auto version = answer.arguments().value(0).value<QDBusVariant>().variant().toUInt();
    if (answer.type() != QDBusMessage::ReplyMessage || version < kFolderVersion) return finish({});
    QDBusConnection bus = QDBusConnection::sessionBus();
    // Before the panel is asked for: its answer and the person's may be taken in in either order.
    bus.connect(kPortal, QString(), kRequest, QStringLiteral("Response"), this,
                SLOT(requestDidRespond(QDBusMessage)));
    static unsigned count = 0;
    const QString token = QStringLiteral("folder%1").arg(++count);
    const QString sender = bus.baseService().mid(1).replace(QLatin1Char('.'), QLatin1Char('_'));
    handle_ = QStringLiteral("%1/request/%2/%3").arg(kPath, sender, token);
    QVariantMap options = {{QStringLiteral("handle_token"), token},
                           {QStringLiteral("directory"), true},
                           {QStringLiteral("modal"), false}};
    if (!question_.folder.isEmpty()) {
        options.insert(QStringLiteral("current_folder"),
                       fileSystemRepresentation(question_.folder) + '\0');
    }
    call(*this, kInterface, "OpenFile", {question_.parentWindow, question_.title, options},
         [this](const QDBusMessage& opened) { fileDidOpen(opened); });
}

void FolderChooser::fileDidOpen(const QDBusMessage& answer) {
    if (answer.type() == QDBusMessage::ReplyMessage) {
        handle_ = answer.arguments().value(0).value<QDBusObjectPath>().path();
        const QDBusMessage early = std::exchange(response_, {});
        if (early.type() == QDBusMessage::SignalMessage) requestDidRespond(early);
        return;
    }
    // A panel that comes too late would be one too many.
    QDBusConnection::sessionBus().send(
        QDBusMessage::createMethodCall(kPortal, handle_, kRequest, QStringLiteral("Close")));
    finish({});
}

void FolderChooser::requestDidRespond(const QDBusMessage& response) {
    if (response.path() == handle_) {
        finish(answerOf(response));
    } else {
        response_ = response;
    }
}

void FolderChooser::finish(const FolderAnswer& answer) {
    deleteLater();
    if (answered_) std::exchange(answered_, nullptr)(answer);
}

bool askForFolder(const FolderQuestion& question,
                  std::function<void(const FolderAnswer&)> answered) {
    if (!hasSessionBus() || !QDBusConnection::sessionBus().isConnected()) return false;
    new FolderChooser(question, std::move(answered));
    return true;
}

}  // namespace platform

#include "FolderChooser.moc"
