#include "decks/InterfaceClasses.h"
#include "desktop/DesktopSession.h"
#include "platform/ui/Application.h"

int main(int argc, char** argv) {
    DesktopSession session;
    return platform::ApplicationMain(argc, argv, interfaceClasses(), &session);
}
