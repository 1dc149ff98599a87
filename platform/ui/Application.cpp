#include "platform/ui/Application.h"

#include "platform/foundation/Bundle.h"
#include "platform/foundation/ConfigurationFolder.h"
#include "platform/foundation/FreeMemory.h"
#include "platform/foundation/Path.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/ui/Accessibility.h"
#include "platform/ui/Font.h"
#include "platform/ui/InterfaceFile.h"
#include "platform/ui/RunLoop.h"
#include "platform/ui/StyleSheet.h"
#include "platform/ui/TerminationSignals.h"
#include "platform/ui/Window.h"

#include <QApplication>
#include <QDir>
#include <QFontInfo>
#include <QStyleFactory>
#include <QTimer>

#include <fontconfig/fontconfig.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <future>
#include <latch>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

namespace platform {

namespace {

constexpr int kUsageError = 2;

/// What the program was started with, but for the toolkit's own options, as absolute paths.
QStringList pathsOfArguments(int argc, char** argv) {
    std::error_code error;
    const QByteArray folder(std::filesystem::current_path(error).c_str());
    QStringList paths;
    bool onlyPaths = false;
    for (int i = 1; i < argc; ++i) {
        const QByteArray argument(argv[i]);
        if (argument == "--" && !onlyPaths) {
            onlyPaths = true;
        } else if (const auto path = pathWithFileURL(argument)) {
            paths << *path;
        } else if (!argument.isEmpty()) {
            const QByteArray absolute =
                argument.startsWith('/') ? argument : folder + '/' + argument;
            paths << QDir::cleanPath(stringWithFileSystemRepresentation(absolute));
        }
    }
    return paths;
}

/// The first argument before "--" that looks like an option and satisfies `test`; null without.
template <typename Test>
const char* findOption(int argc, char** argv, const Test& test) {
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument(argv[i]);
        if (argument == "--") break;
        if (argument.size() > 1 && argument[0] == '-' && test(argument)) return argv[i];
    }
    return nullptr;
}

/// Answers --help and --version, which need neither a screen nor a session; tells whether it did.
bool answerQuestions(int argc, char** argv, const Bundle& bundle, const char* help) {
    const char* question = findOption(argc, argv, [](std::string_view option) {
        return option == "--help" || option == "-h" || option == "--version";
    });
    if (!question) return false;
    const auto value = [&](const char* key) {
        return bundle.objectForInfoDictionaryKey(QLatin1String(key)).value_or(QString());
    };
    if (question == std::string_view("--version")) {
        std::printf("%s %s\n", qPrintable(value("CFBundleName")),
                    qPrintable(value("CFBundleShortVersionString")));
    } else {
        std::fputs(help, stdout);
    }
    return true;
}

#ifdef QT_NO_DEBUG
/// The standard error stream as the program was given it.
FILE* errorStream() {
    static FILE* const stream = stderr;
    return stream;
}

/// Says what ends the program, and nothing else: what a picture's reader thinks of a picture helps
/// nobody who listens to music. Whoever asks for the toolkit's words gets them.
void keepQuiet(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    if (type == QtFatalMsg || qEnvironmentVariableIsSet("QT_LOGGING_RULES"))
        std::fprintf(errorStream(), "%s\n", qPrintable(qFormatLogMessage(type, context, message)));
}

/// Takes the stream from libraries that print on it and know no handler: the PNG decoder behind the
/// toolkit's reader, the sound servers' clients. The descriptor stays what it is.
void silenceLibraries() {
#ifdef __GLIBC__
    if (qEnvironmentVariableIsSet("QT_LOGGING_RULES")) return;
    // Without a way to write, whatever is written is dropped; unlike a file, it needs no
    // descriptor.
    if (FILE* const nowhere = ::fopencookie(nullptr, "w", {})) stderr = nowhere;
#endif
}
#endif

void applyBundle(const Bundle& bundle) {
    QApplication::setApplicationName(
        bundle.objectForInfoDictionaryKey(QStringLiteral("CFBundleName")).value_or(QString()));
    QApplication::setApplicationVersion(
        bundle.objectForInfoDictionaryKey(QStringLiteral("CFBundleShortVersionString"))
            .value_or(QString()));
    QGuiApplication::setDesktopFileName(bundle.bundleIdentifier());
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QApplication::setFont(systemFontOfSize(13.0));
    installAccessibility();
    // Its own words are left to right, and a window that is mirrored in parts is none.
    QGuiApplication::setLayoutDirection(Qt::LeftToRight);
    installStyleSheet();
}

/// Calls `perform` once, from the event loop, when the first frame of its window is on its way to
/// the screen; the window's child.
class FirstFrame final : public QObject {
  public:
    FirstFrame(QWidget& window, std::function<void()> perform)
        : QObject(&window), perform_(std::move(perform)) {
        window.installEventFilter(this);
    }

    bool eventFilter(QObject* window, QEvent* event) override {
        if (event->type() == QEvent::Paint) {
            isPainted_ = true;
            window->removeEventFilter(this);
            // The toolkit hands the frame over before it looks at its timers. The scans of a start
            // come before that, too.
            QTimer::singleShot(0, this, [this] { RunLoop::perform(perform_); });
        }
        return false;
    }

    bool isPainted() const { return isPainted_; }

  private:
    std::function<void()> perform_;
    bool isPainted_ = false;
};

/// Shows the main window of the application, which ends with it, and waits for its first frame.
void showMainWindow(Window& window, ApplicationDelegate* delegate) {
    // The window system may have reason not to ask for it.
    constexpr RunLoop::Duration kPatience{1000};
    // Without it nobody could see or stop what plays, whatever other window is still open.
    QObject::connect(&window, &Window::willClose,
                     [] { Application::sharedApplication().terminate(); });
    const auto* frame = new FirstFrame(window, [delegate] {
        if (delegate) delegate->applicationDidShowFirstFrame();
    });
    window.makeKeyAndOrderFront();
    RunLoop::attendUntil([frame] { return frame->isPainted(); }, kPatience);
}

/// What a start reads on another thread, while the display is connected and the style is made: the
/// system's fonts and the interface files.
class StartAhead {
  public:
    StartAhead() {
        try {
            thread_ = std::jthread([this] { run(); });
        } catch (const std::system_error&) {
            // Who asks for a font first reads them.
            files_.set_value(readInterfaceFiles());
        }
    }
    ~StartAhead() {
        if (!hasApplication_.try_wait()) hasApplication_.count_down();
    }
    StartAhead(const StartAhead&) = delete;
    StartAhead& operator=(const StartAhead&) = delete;

    /// There is an application now, which must outlive what is returned, and a window to come.
    std::jthread goOn() {
        isWanted_ = true;
        hasApplication_.count_down();
        return std::move(thread_);
    }

    /// The interface files, once they are read; to be taken once.
    InterfaceFiles interfaceFiles() { return files_.get_future().get(); }

  private:
    void run() {
        ::FcInit();
        files_.set_value(readInterfaceFiles());
        // The toolkit's own list of fonts takes an application.
        hasApplication_.wait();
        if (isWanted_) QFontInfo(systemFontOfSize(13.0)).family();
    }

    std::latch hasApplication_{1};
    bool isWanted_ = false;
    std::promise<InterfaceFiles> files_;
    std::jthread thread_;
};

}  // namespace

Application& Application::sharedApplication() {
    static Application application;
    return application;
}

void Application::terminate() {
    RunLoop::stop();
    QCoreApplication::quit();
}

bool Application::hasAction(const QString& action) const {
    return action == QLatin1String("terminate");
}

bool Application::performAction(const QString& action, Control*) {
    if (!hasAction(action)) return false;
    terminate();
    return true;
}

int ApplicationMain(int argc, char** argv, const InterfaceClasses& classes,
                    ApplicationDelegate* delegate, const char* help) {
    const Bundle& bundle = Bundle::mainBundle();
    if (answerQuestions(argc, argv, bundle, help)) return EXIT_SUCCESS;
#ifdef QT_NO_DEBUG
    errorStream();
    qInstallMessageHandler(keepQuiet);
#endif
    returnFreedMemory();
    settleEnvironment();
    StartAhead ahead;
    QApplication::setHighDpiScaleFactorRoundingPolicy(
        Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    QApplication application(argc, argv);
    // What the toolkit has not taken out is nobody's.
    if (const char* option = findOption(argc, argv, [](std::string_view) { return true; })) {
        std::fprintf(stderr, "%s: unknown option %s; see --help\n", argv[0], option);
        return kUsageError;
    }
    const QStringList paths = pathsOfArguments(argc, argv);
    if (delegate && !delegate->applicationShouldLaunch(paths)) return 0;
    const std::jthread reading = ahead.goOn();
    const TerminationSignals signals([] { Application::sharedApplication().terminate(); });
    applyBundle(bundle);
    const Interface interface(
        bundle.objectForInfoDictionaryKey(QStringLiteral("NSMainNibFile")).value_or(QString()),
        ahead.interfaceFiles(), classes,
        [delegate](Window& window) { showMainWindow(window, delegate); });
    for (const QString& problem : interface.problems())
        std::fprintf(stderr, "%s\n", qPrintable(problem));
    if (!interface.problems().isEmpty()) return EXIT_FAILURE;
#ifdef QT_NO_DEBUG
    silenceLibraries();
#endif
    if (delegate) {
        delegate->applicationDidFinishLaunching(interface);
        if (!paths.isEmpty()) delegate->applicationOpenFiles(paths);
    }
    // Told to end before there was a loop to be ended: while a disk was waited for.
    if (RunLoop::isStopped())
        QMetaObject::invokeMethod(&application, &QCoreApplication::quit, Qt::QueuedConnection);
    const int status = RunLoop::run();
    if (delegate) delegate->applicationWillTerminate();
    if (RunLoop::hasThreads()) {
        UserDefaults::standardUserDefaults().synchronize();
        std::_Exit(status);
    }
    return status;
}

}  // namespace platform
