#include "platform/ui/OpenPanel.h"
#include "platform/workspace/DisplayOptions.h"
#include "tests/decks/DeckFixture.h"
#include "tests/desktop/Guardian.h"

#include <QApplication>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QFileDialog>

namespace {

const QString kName = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kHandle = kPath + QStringLiteral("/request/1_2/3");

using Groups = QMap<QString, QVariantMap>;

class Portal : public testing::Test {
  protected:
    void SetUp() override {
        if (qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS"))
            GTEST_SKIP() << "no dbus-daemon to speak to";
    }

    // Asks for a folder as a deck does.
    void open() {
        result_.reset();
        panel_ = platform::OpenPanel::openPanel();
        panel_->setTitle(QStringLiteral("Choose"));
        panel_->setCanChooseDirectories(true);
        panel_->setDirectoryURL(folder_.path());
        panel_->beginWithCompletionHandler([this](int result) { result_ = result; });
    }
    QFileDialog* toolkitPanel() {
        for (QWidget* window : QApplication::topLevelWidgets()) {
            auto* dialog = qobject_cast<QFileDialog*>(window);
            if (dialog && dialog->isVisible()) return dialog;
        }
        return nullptr;
    }
    // Waits for the toolkit's panel, looks at it and puts it away.
    void fallsBack() {
        ASSERT_TRUE(waitUntil([this] { return toolkitPanel() != nullptr; }));
        EXPECT_EQ(toolkitPanel()->directory().path(), folder_.path());
        toolkitPanel()->reject();
        EXPECT_EQ(result_, 0);
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    QTemporaryDir folder_;
    std::shared_ptr<platform::OpenPanel> panel_;
    std::optional<int> result_;
};

}  // namespace

TEST_F(Portal, ShowsTheFolderPanelOfTheDesktop) {
    Guardian portal(kName, {});
    portal.answers[QStringLiteral("Get")] = QVariant::fromValue(QDBusVariant(3U));
    portal.answers[QStringLiteral("OpenFile")] = QVariant::fromValue(QDBusObjectPath(kHandle));
    const QVariantMap chosen = {
        {QStringLiteral("uris"), QStringList{QStringLiteral("file:///music/L%C3%BCtt%20%FF")}}};
    using Answer = std::pair<uint, bool>;
    for (const auto& [code, wasShown] :
         {Answer(0, false), Answer(1, false), Answer(2, true), Answer(2, false)}) {
        portal.calls.clear();
        open();
        ASSERT_TRUE(waitUntil([&] { return portal.calls.size() == 2; }));
        const QVariantList asked = portal.last.arguments();
        const auto options = qdbus_cast<QVariantMap>(asked[2]);
        EXPECT_EQ(asked[1].toString(), QStringLiteral("Choose"));
        EXPECT_TRUE(options[QStringLiteral("directory")].toBool());
        EXPECT_EQ(options[QStringLiteral("current_folder")].toByteArray(),
                  folder_.path().toUtf8() + '\0');
        portal.respond(kHandle + QStringLiteral("0"), 0, chosen);  // somebody else's
        if (wasShown) Q_EMIT qGuiApp->applicationStateChanged(Qt::ApplicationInactive);
        portal.respond(kHandle, code, code == 0 ? chosen : QVariantMap());
        if (code == 2 && !wasShown) return fallsBack();
        ASSERT_TRUE(waitUntil([this] { return result_.has_value(); }));
        EXPECT_EQ(result_, code == 0 ? platform::OpenPanel::kConfirmed : 0);
        EXPECT_EQ(panel_->path(),
                  code == 0 ? QStringLiteral("/music/L\u00FCtt \xDCFF") : QString());
    }
}

TEST_F(Portal, IsNotWaitedForWhereItIsNotOrTooOld) {
    open();
    fallsBack();
    Guardian portal(kName, {});
    portal.answers[QStringLiteral("Get")] = QVariant::fromValue(QDBusVariant(2U));
    open();
    fallsBack();
    EXPECT_EQ(portal.calls.size(), 1);
}

TEST_F(Portal, TellsOfLessMotionAndMoreContrast) {
    qDBusRegisterMetaType<Groups>();
    const QString appearance = QStringLiteral("org.freedesktop.appearance");
    const QString contrast = QStringLiteral("contrast");
    Guardian portal(kName, {});
    portal.answers[QStringLiteral("ReadAll")] =
        QVariant::fromValue(Groups{{appearance, {{contrast, 1U}}}});
    using platform::DisplayOptions;
    int changes = 0;
    const DisplayOptions options([&changes] { ++changes; });
    const auto becomes = [&](DisplayOptions::Wish wish, bool isWished) {
        return waitUntil([&] { return options.isWished(wish) == isWished; });
    };
    const auto tell = [&](const QString& group, const QString& key, const QVariant& value) {
        portal.signal(kPath, QStringLiteral("org.freedesktop.portal.Settings"), "SettingChanged",
                      {group, key, QVariant::fromValue(QDBusVariant(value))});
    };
    EXPECT_TRUE(becomes(DisplayOptions::Wish::MoreContrast, true));
    EXPECT_FALSE(options.isWished(DisplayOptions::Wish::LessMotion));
    tell(QStringLiteral("org.gnome.desktop.interface"), QStringLiteral("enable-animations"), false);
    EXPECT_TRUE(becomes(DisplayOptions::Wish::LessMotion, true));
    tell(appearance, contrast, 0U);
    EXPECT_TRUE(becomes(DisplayOptions::Wish::MoreContrast, false));
    EXPECT_EQ(changes, 3);
}
