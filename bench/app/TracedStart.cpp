// The program with a clock at its joints: as each stage of its start ends it writes "NAME TIME",
// the time in nanoseconds of the monotonic clock.

#include "decks/InterfaceClasses.h"
#include "desktop/DesktopSession.h"
#include "platform/audio/Clock.h"
#include "platform/ui/Application.h"

#include <QWidget>

#include <cstdio>
#include <set>
#include <string>

namespace {

// The end of a stage counts the first time only.
void ended(const std::string& stage) {
    static std::set<std::string> seen;
    if (!seen.insert(stage).second) return;
    std::printf("%s %lld\n", stage.c_str(),
                static_cast<long long>(platform::audio::nowNanoseconds()));
    std::fflush(stdout);
}

class TracedSession final : public platform::ApplicationDelegate {
  public:
    bool applicationShouldLaunch(const QStringList& paths) override {
        ended("toolkit");
        const bool isFirst = session_.applicationShouldLaunch(paths);
        ended("bus_name");
        return isFirst;
    }
    void applicationDidFinishLaunching(const platform::Interface& interface) override {
        ended("awake_and_show");
        session_.applicationDidFinishLaunching(interface);
        ended("session");
    }
    void applicationDidShowFirstFrame() override { session_.applicationDidShowFirstFrame(); }
    void applicationOpenFiles(const QStringList& paths) override {
        session_.applicationOpenFiles(paths);
    }
    void applicationWillTerminate() override { session_.applicationWillTerminate(); }

  private:
    DesktopSession session_;
};

// The first widget of our own is made when the style is set, the first controller when all files
// are loaded.
platform::InterfaceClasses tracedClasses() {
    platform::InterfaceClasses classes = interfaceClasses();
    for (auto& make : classes.widgets) {
        make = [make](QWidget* parent) {
            ended("style");
            return make(parent);
        };
    }
    for (auto& make : classes.controllers) {
        make = [make] {
            ended("interface_files");
            return make();
        };
    }
    return classes;
}

}  // namespace

int main(int argc, char** argv) {
    ended("process");
    TracedSession session;
    return platform::ApplicationMain(argc, argv, tracedClasses(), &session);
}
