#include "platform/ui/Application.h"

#include "platform/foundation/Bundle.h"
#include "platform/ui/Accessibility.h"
#include "platform/ui/Font.h"
#include "platform/ui/Window.h"

#include <QApplication>
#include <QFile>
#include <QStyleFactory>

namespace platform {

Application& Application::sharedApplication() {
    static Application application;
    return application;
}

void Application::terminate() {
    QCoreApplication::quit();
}

bool Application::performAction(const QString& action, Control*) {
    if (action != QLatin1String("terminate")) return false;
    terminate();
    return true;
}

int ApplicationMain(int argc, char** argv, const InterfaceClasses& classes) {
    const Bundle& bundle = Bundle::mainBundle();
    QApplication::setHighDpiScaleFactorRoundingPolicy(
        Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    QApplication application(argc, argv);
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
    const Interface interface(
        bundle.objectForInfoDictionaryKey(QStringLiteral("NSMainNibFile")).value_or(QString()),
        classes);
    if (Window* window = interface.mainWindow()) window->makeKeyAndOrderFront();
    return QApplication::exec();
}

}  // namespace platform
