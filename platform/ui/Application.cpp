#include "platform/ui/Application.h"

#include "platform/foundation/Bundle.h"
#include "platform/foundation/Path.h"
#include "platform/ui/Accessibility.h"
#include "platform/ui/Font.h"
#include "platform/ui/TerminationSignals.h"
#include "platform/ui/Window.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QStyleFactory>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace platform {

namespace {

/// What the program was started with, but for the toolkit's own options, as absolute paths.
QStringList pathsOfArguments(int argc, char** argv) {
    std::error_code error;
    const QByteArray folder(std::filesystem::current_path(error).c_str());
    QStringList paths;
    for (int i = 1; i < argc; ++i) {
        const QByteArray argument(argv[i]);
        if (const auto path = pathWithFileURL(argument)) {
            paths << *path;
        } else if (!argument.isEmpty()) {
            const QByteArray absolute =
                argument.startsWith('/') ? argument : folder + '/' + argument;
            paths << QDir::cleanPath(stringWithFileSystemRepresentation(absolute));
        }
    }
    return paths;
}

void applyBundle(QApplication& application, const Bundle& bundle) {
    QApplication::setApplicationName(
        bundle.objectForInfoDictionaryKey(QStringLiteral("CFBundleName")).value_or(QString()));
    QApplication::setApplicationVersion(
        bundle.objectForInfoDictionaryKey(QStringLiteral("CFBundleShortVersionString"))
            .value_or(QString()));
    QGuiApplication::setDesktopFileName(bundle.bundleIdentifier());
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QApplication::setFont(systemFontOfSize(13.0));
    installAccessibility();
    QFile style(QStringLiteral(":/style/style.qss"));
    if (style.open(QIODevice::ReadOnly)) {
        application.setStyleSheet(QString::fromUtf8(style.readAll()));
    }
}

}  // namespace

Application& Application::sharedApplication() {
    static Application application;
    return application;
}

void Application::terminate() {
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
                    ApplicationDelegate* delegate) {
    const Bundle& bundle = Bundle::mainBundle();
    QApplication::setHighDpiScaleFactorRoundingPolicy(
        Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    QApplication application(argc, argv);
    const QStringList paths = pathsOfArguments(argc, argv);
    if (delegate && !delegate->applicationShouldLaunch(paths)) return 0;
    const TerminationSignals signals([] { Application::sharedApplication().terminate(); });
    applyBundle(application, bundle);
    const Interface interface(
        bundle.objectForInfoDictionaryKey(QStringLiteral("NSMainNibFile")).value_or(QString()),
        classes);
    for (const QString& problem : interface.problems())
        std::fprintf(stderr, "%s\n", qPrintable(problem));
    if (!interface.problems().isEmpty()) return EXIT_FAILURE;
    interface.mainWindow()->makeKeyAndOrderFront();
    if (delegate) delegate->applicationDidFinishLaunching(interface);
    if (delegate && !paths.isEmpty()) delegate->applicationOpenFiles(paths);
    const int status = QApplication::exec();
    if (delegate) delegate->applicationWillTerminate();
    return status;
}

}  // namespace platform
