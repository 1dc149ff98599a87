#include "desktop/DesktopSession.h"

#include "decks/Pairdeck.h"
#include "desktop/ApplicationService.h"
#include "desktop/DeckFiles.h"
#include "desktop/RemotePlayer.h"
#include "desktop/SleepInhibitor.h"
#include "library/PDSourceManager.h"
#include "platform/foundation/NotificationCenter.h"
#include "platform/ui/InterfaceLoader.h"
#include "platform/ui/View.h"
#include "platform/ui/Window.h"
#include "platform/workspace/SessionBus.h"

#include <algorithm>
#include <vector>

using platform::NotificationCenter;

namespace {

constexpr std::array kSides = {PDLeftPlayer, PDRightPlayer};

/// The controller that the interface names by its class.
template <typename Type>
Type& controllerOf(const platform::Interface& interface, const char* name) {
    return dynamic_cast<Type&>(*interface.controller(QLatin1String(name)));
}

}  // namespace

/// What ties the loaded decks to the session.
class DesktopSession::Ties {
  public:
    Ties(const platform::Interface& interface, bool hasBus)
        : window_(*interface.mainWindow()),
          pairdeck_(controllerOf<Pairdeck>(interface, "Pairdeck")),
          files_(pairdeck_, controllerOf<PDSourceManager>(interface, "PDLeftSourceManager"),
                 controllerOf<PDSourceManager>(interface, "PDRightSourceManager")) {
        for (const PDPlayerType side : kSides) {
            const QString panel = pairdeck_.deck(side).prefix() + QStringLiteral("Deck");
            if (auto* view = window_.findChild<platform::View*>(panel)) {
                files_.takeDrops(side, *view);
            }
        }
        if (!hasBus) return;
        inhibitor_ = std::make_unique<SleepInhibitor>(QDBusConnection::sessionBus());
        for (const PDPlayerType side : kSides) {
            players_.push_back(
                std::make_unique<RemotePlayer>(pairdeck_.deck(side), files_, window_));
        }
        for (const QString& name : {Pairdeck::playerStatusDidChange(), Pairdeck::playerDidMove()}) {
            NotificationCenter::defaultCenter().addObserver(
                observer_, name, [this](const platform::Notification&) { decksDidChange(); });
        }
    }

    DeckFiles& files() { return files_; }
    Pairdeck& pairdeck() { return pairdeck_; }
    platform::Window& window() { return window_; }

  private:
    void decksDidChange() {
        for (const auto& player : players_)
            player->publish();
        inhibitor_->setActive(std::any_of(kSides.begin(), kSides.end(), [this](PDPlayerType side) {
            return pairdeck_.deck(side).isPlaying();
        }));
    }

    platform::Window& window_;
    Pairdeck& pairdeck_;
    DeckFiles files_;
    std::vector<std::unique_ptr<RemotePlayer>> players_;
    std::unique_ptr<SleepInhibitor> inhibitor_;
    QObject observer_;
};

DesktopSession::DesktopSession() = default;
DesktopSession::~DesktopSession() = default;

bool DesktopSession::applicationShouldLaunch(const QStringList& paths) {
    if (!isFirst(paths)) return false;
    Deck::readDesktopPictureAhead();
    if (!paths.isEmpty()) Deck::prepareToLoad();
    return true;
}

bool DesktopSession::isFirst(const QStringList& paths) {
    if (!platform::hasSessionBus()) return true;
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return true;
    service_ = std::make_unique<ApplicationService>(bus);
    return service_->claimOrHandOver(paths);
}

void DesktopSession::applicationDidFinishLaunching(const platform::Interface& interface) {
    ties_ = std::make_unique<Ties>(interface, service_ != nullptr);
    if (!service_) return;
    service_->setHandlers([this] { ties_->window().makeKeyAndOrderFront(); },
                          [this](const QStringList& paths) { applicationOpenFiles(paths); });
}

void DesktopSession::applicationDidShowFirstFrame() {
    ties_->pairdeck().prepareToPlay();
}

void DesktopSession::applicationOpenFiles(const QStringList& paths) {
    ties_->files().open(paths);
}

void DesktopSession::applicationWillTerminate() {
    service_.reset();
    ties_.reset();
}
