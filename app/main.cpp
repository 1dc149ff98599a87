#include "decks/InterfaceClasses.h"
#include "desktop/DesktopSession.h"
#include "platform/ui/Application.h"

namespace {

constexpr const char* kHelp =
    R"(Usage: pairdeck [TOOLKIT-OPTION]... [--] [FOLDER-OR-FILE]...

Plays two songs at once, one in each ear. The first folder or music file goes to
the left deck, the second to the right one; where Pairdeck runs already, it takes
them.

  -h, --help   print this and exit
  --version    print the version and exit
)";

}  // namespace

int main(int argc, char** argv) {
    DesktopSession session;
    return platform::ApplicationMain(argc, argv, interfaceClasses(), &session, kHelp);
}
