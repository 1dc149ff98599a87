#pragma once

#include "platform/ui/ApplicationDelegate.h"

#include <memory>

class ApplicationService;

/// Makes the program a part of the desktop session it runs in: media keys and remote control for
/// each deck, files from outside, one program per session, and no sleep while a deck plays. Without
/// a session bus it takes files and does nothing else.
class DesktopSession final : public platform::ApplicationDelegate {
  public:
    DesktopSession();
    ~DesktopSession();

    bool applicationShouldLaunch(const QStringList& paths) override;
    void applicationDidFinishLaunching(const platform::Interface& interface) override;
    void applicationDidShowFirstFrame() override;
    void applicationOpenFiles(const QStringList& paths) override;
    void applicationWillTerminate() override;

  private:
    class Ties;

    /// Claims the program's name on the bus, or hands `paths` to the program that has it.
    bool isFirst(const QStringList& paths);

    std::unique_ptr<ApplicationService> service_;  // null without a bus
    std::unique_ptr<Ties> ties_;                   // while the interface is there
};
