// What most sources include, read once for each target. No source relies on it: the release build
// does without.

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#ifdef QT_CORE_LIB
#include <QByteArray>
#include <QCoreApplication>
#include <QFile>
#include <QHash>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QVariant>
#endif

#ifdef QT_WIDGETS_LIB
#include <QApplication>
#include <QEvent>
#include <QImage>
#include <QPainter>
#include <QWidget>
#endif

#ifdef QT_DBUS_LIB
#include <QDBusConnection>
#include <QDBusMessage>
#endif

#ifdef QT_TESTLIB_LIB
#include <QTest>
#endif
