#pragma once

#include <QTemporaryDir>

/// A home of the tests' own while it lives, so that no setting of the person who runs them counts
/// or changes, nothing of a running desktop is asked, and no screen, which neither running nor
/// listing the tests needs.
class TestHome {
  public:
    TestHome() {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        qputenv("HOME", home_.path().toUtf8());
        qputenv("XDG_CONFIG_HOME", home_.filePath(QStringLiteral("config")).toUtf8());
        qputenv("XDG_CACHE_HOME", home_.filePath(QStringLiteral("cache")).toUtf8());
        qputenv("XDG_RUNTIME_DIR", home_.path().toUtf8());
        qputenv("XDG_CURRENT_DESKTOP", "none");
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    }

  private:
    QTemporaryDir home_;
};
