#pragma once

#include <QStringList>

namespace platform {

class Interface;

/// Is told what becomes of the application; on the main thread. Paths are absolute.
class ApplicationDelegate {
  public:
    /// Asked first, before any interface is loaded, whether this process is to run the application
    /// with `paths`, what it was started with. With false its main returns 0 at once.
    virtual bool applicationShouldLaunch(const QStringList& paths) = 0;
    /// The interface is loaded, without problems, and its main window is on show.
    virtual void applicationDidFinishLaunching(const Interface& interface) = 0;
    /// The main window's first frame is on its way to the screen: the time for what can wait.
    virtual void applicationDidShowFirstFrame() {}
    /// Files and folders to open: those that the application was started with.
    virtual void applicationOpenFiles(const QStringList& paths) = 0;
    /// The event loop has ended; the interface goes after this.
    virtual void applicationWillTerminate() = 0;

  protected:
    ~ApplicationDelegate() = default;
};

}  // namespace platform
