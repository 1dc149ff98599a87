#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QHash>
#include <QStringList>

/// A service that grants every Inhibit, answers other calls as it is told to, and keeps what it was
/// asked, as "member(first argument)".
class Guardian : public QDBusVirtualObject {
  public:
    Guardian(const QString& name, const QVariant& grant)
        : bus_(QDBusConnection::connectToBus(QDBusConnection::SessionBus, name)),
          name_(name),
          grant_(grant) {
        bus_.registerVirtualObject(QStringLiteral("/"), this, QDBusConnection::SubPath);
        bus_.registerService(name);
    }
    ~Guardian() override {
        bus_.unregisterService(name_);
        QDBusConnection::disconnectFromBus(name_);
    }

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& call, const QDBusConnection& bus) override {
        const bool isInhibit = call.member() == QLatin1String("Inhibit");
        const QString of = isInhibit                    ? QString()
                           : call.arguments().isEmpty() ? call.path()
                                                        : call.arguments().first().toString();
        calls << call.member() + QLatin1Char('(') + of + QLatin1Char(')');
        last = call;
        const QVariant answer = isInhibit ? grant_ : answers.value(call.member());
        bus.send(answer.isValid() ? call.createReply(answer) : call.createReply());
        return true;
    }
    /// Tells what has become of the request of that handle.
    void respond(const QString& handle, uint code, const QVariantMap& results = {}) {
        signal(handle, QStringLiteral("org.freedesktop.portal.Request"), "Response",
               {code, results});
    }
    void signal(const QString& path, const QString& interface, const char* member,
                const QVariantList& arguments) {
        QDBusMessage message = QDBusMessage::createSignal(path, interface, QLatin1String(member));
        message.setArguments(arguments);
        bus_.send(message);
    }

    QHash<QString, QVariant> answers;  // by the method's name
    QDBusMessage last;
    QStringList calls;

  private:
    QDBusConnection bus_;
    QString name_;
    QVariant grant_;
};
