#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

#include <functional>
#include <vector>

/// The one running program of a session, as others start it and hand it files: the bus interface
/// org.freedesktop.Application (freedesktop.org Desktop Entry 1.5, "D-Bus Activation").
class ApplicationService final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

  public:
    explicit ApplicationService(const QDBusConnection& bus);
    ~ApplicationService() override;

    /// Becomes the session's Pairdeck, or hands `paths` to the one that runs and brings it to the
    /// front. False when that has taken them: this process has nothing left to do. Where neither
    /// succeeds, the program runs unknown to others.
    bool claimOrHandOver(const QStringList& paths);

    /// What to do when a later start comes, and now for those that have come already.
    void setHandlers(std::function<void()> activate,
                     std::function<void(const QStringList& paths)> open);

  public Q_SLOTS:
    Q_SCRIPTABLE void Activate(const QVariantMap& platformData);
    /// Opens those of the "file:" URLs that this machine has, then comes to the front.
    Q_SCRIPTABLE void Open(const QStringList& urls, const QVariantMap& platformData);
    /// Comes to the front: the program has no actions of its own to offer.
    Q_SCRIPTABLE void ActivateAction(const QString& action, const QVariantList& parameters,
                                     const QVariantMap& platformData);

  private:
    bool handOver(const QStringList& paths);
    void handle(std::function<void()> request);

    QDBusConnection bus_;
    std::function<void()> activate_;
    std::function<void(const QStringList&)> open_;
    std::vector<std::function<void()>> early_;
};
