#include "platform/ui/StyleSheet.h"

#include "platform/foundation/NotificationCenter.h"
#include "platform/workspace/Workspace.h"

#include <QApplication>
#include <QFile>

namespace platform {

namespace {

QString sheet(const char* name) {
    QFile file(QStringLiteral(":/style/%1.qss").arg(QLatin1String(name)));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

void applyStyleSheet() {
    const bool hasContrast =
        Workspace::sharedWorkspace().accessibilityDisplayShouldIncreaseContrast();
    qApp->setStyleSheet(sheet("style") + (hasContrast ? sheet("contrast") : QString()));
}

}  // namespace

void installStyleSheet() {
    applyStyleSheet();
    NotificationCenter::defaultCenter().addObserver(
        *qApp, Workspace::accessibilityDisplayOptionsDidChange(),
        [](const Notification&) { applyStyleSheet(); });
}

}  // namespace platform
