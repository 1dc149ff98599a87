#include "desktop/SleepInhibitor.h"
#include "tests/decks/DeckFixture.h"
#include "tests/desktop/Guardian.h"

#include <QDBusObjectPath>
#include <QTest>

namespace {

/// Long enough for every message that is under way to arrive.
constexpr int kSettling = 300;

const QString kPortal = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kHandle = QStringLiteral("/org/freedesktop/portal/desktop/request/1");
const QString kScreenSaver = QStringLiteral("org.freedesktop.ScreenSaver");

class Sleeplessness : public testing::Test {
  protected:
    void SetUp() override {
        if (qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS"))
            GTEST_SKIP() << "no dbus-daemon to speak to";
    }
};

}  // namespace

TEST_F(Sleeplessness, HoldsByThePortalAndLetsGoInPause) {
    Guardian portal(kPortal, QVariant::fromValue(QDBusObjectPath(kHandle)));
    Guardian other(kScreenSaver, 7U);
    SleepInhibitor inhibitor(QDBusConnection::sessionBus());
    const QStringList once = {QStringLiteral("Inhibit()"),
                              QStringLiteral("Close(%1)").arg(kHandle)};
    inhibitor.setActive(true);
    inhibitor.setActive(true);
    ASSERT_TRUE(waitUntil([&] { return portal.calls.size() == 1; }));
    // The answer may still be on its way: what is let go by then is let go with the answer.
    inhibitor.setActive(false);
    ASSERT_TRUE(waitUntil([&] { return portal.calls == once; }));
    // Paused and resumed while the answer is on its way: held, once.
    inhibitor.setActive(true);
    inhibitor.setActive(false);
    inhibitor.setActive(true);
    ASSERT_TRUE(waitUntil([&] { return portal.calls.size() == 3; }));
    QTest::qWait(kSettling);
    ASSERT_EQ(portal.calls.size(), 3);
    inhibitor.setActive(false);
    EXPECT_TRUE(waitUntil([&] { return portal.calls == once + once; }));
    EXPECT_EQ(other.calls, QStringList());
}

TEST_F(Sleeplessness, TakesTheNextServiceWhereOneIsMissing) {
    Guardian screenSaver(kScreenSaver, 7U);
    {
        SleepInhibitor inhibitor(QDBusConnection::sessionBus());
        inhibitor.setActive(true);
        ASSERT_TRUE(waitUntil([&] { return screenSaver.calls.size() == 1; }));
        QTest::qWait(kSettling);
        ASSERT_EQ(screenSaver.calls.size(), 1);
    }
    EXPECT_TRUE(waitUntil([&] {
        return screenSaver.calls ==
               QStringList{QStringLiteral("Inhibit()"), QStringLiteral("UnInhibit(7)")};
    }));
}

TEST_F(Sleeplessness, GoesOnWhereThePortalRefusesLate) {
    Guardian portal(kPortal, QVariant::fromValue(QDBusObjectPath(kHandle)));
    Guardian screenSaver(kScreenSaver, 7U);
    SleepInhibitor inhibitor(QDBusConnection::sessionBus());
    const QStringList held = {QStringLiteral("Inhibit()")};
    for (const int delay : {0, kSettling}) {
        portal.calls.clear();
        screenSaver.calls.clear();
        inhibitor.setActive(true);
        ASSERT_TRUE(waitUntil([&] { return portal.calls == held; }));
        QTest::qWait(delay);
        portal.respond(kHandle + QStringLiteral("0"), 2);  // somebody else's
        portal.respond(kHandle, 2);
        ASSERT_TRUE(waitUntil([&] { return screenSaver.calls == held; }));
        inhibitor.setActive(false);
        EXPECT_TRUE(waitUntil([&] {
            return screenSaver.calls == held + QStringList{QStringLiteral("UnInhibit(7)")};
        }));
        EXPECT_EQ(portal.calls, held) << "there is nothing to let go of";
    }
}

TEST_F(Sleeplessness, AsksTheSessionBeforeThePortal) {
    Guardian portal(kPortal, QVariant::fromValue(QDBusObjectPath(kHandle)));
    Guardian session(QStringLiteral("org.gnome.SessionManager"), 3U);
    SleepInhibitor inhibitor(QDBusConnection::sessionBus());
    inhibitor.setActive(true);
    EXPECT_TRUE(
        waitUntil([&] { return session.calls == QStringList{QStringLiteral("Inhibit()")}; }));
    QTest::qWait(kSettling);
    EXPECT_EQ(portal.calls, QStringList());
}
