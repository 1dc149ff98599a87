#pragma once

#include "platform/ui/ApplicationDelegate.h"
#include "platform/ui/InterfaceLoader.h"
#include "platform/ui/Target.h"

namespace platform {

/// The running application, last in the chain that an action without a target travels.
class Application final : public Target {
  public:
    static Application& sharedApplication();

    /// Ends the event loop in an orderly way: everything unsaved is saved on the way out.
    void terminate();

    bool hasAction(const QString& action) const override;
    /// Knows "terminate".
    bool performAction(const QString& action, Control* sender) override;

  private:
    Application() = default;
};

/// The application main: takes the toolkit's own options out of the arguments, loads the bundle's
/// style and the interface file that its information value "NSMainNibFile" names (with `classes`
/// for what the file creates), shows the main window and runs the event loop, which SIGTERM, SIGINT
/// and SIGHUP end in an orderly way. The remaining arguments are files to open, as paths or "file:"
/// URLs. `delegate` is told of it all; it is not owned and may be null. Returns the exit code of
/// the event loop; 1 at once for interface files with problems, which are programming errors and
/// are listed on the standard error output. `--help` prints `help`, `--version` the bundle's name
/// and version, without a screen; an option that is nobody's gives 2. What follows "--" are files.
int ApplicationMain(int argc, char** argv, const InterfaceClasses& classes,
                    ApplicationDelegate* delegate = nullptr, const char* help = "");

}  // namespace platform
