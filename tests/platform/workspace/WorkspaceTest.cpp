#include "platform/workspace/DesktopPicture.h"
#include "platform/workspace/DesktopSettings.h"
#include "platform/workspace/Workspace.h"
#include "tests/platform/foundation/TestFiles.h"

#include <QDateTime>
#include <QTemporaryDir>

#include <gio/gio.h>
#include <gmock/gmock.h>

namespace platform {
namespace {

using testing::Optional;

class WorkspaceTest : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        qputenv("GSETTINGS_BACKEND", "memory");
        qputenv("GSETTINGS_SCHEMA_DIR", PAIRDECK_TEST_SCHEMAS);
        qputenv("XDG_DATA_DIRS", "/nowhere");
    }

    WorkspaceTest() {
        qputenv("HOME", QFile::encodeName(folder.path()));
        qputenv("XDG_CONFIG_HOME", "relative folders don't count");
        qputenv("XDG_CONFIG_DIRS", QFile::encodeName(in("etc")));
        for (const QString& name : {day, night}) {
            writeFile(name, "picture");
        }
    }

    QString in(const char* name) const { return folder.filePath(QString::fromUtf8(name)); }

    // A configuration file in which @ stands for the test's folder.
    void configure(const char* name, QByteArray content) const {
        writeFile(in(name), content.replace("@", QFile::encodeName(folder.path())));
    }

    static void set(const char* schema, const char* key, const QString& value) {
        GSettings* settings = g_settings_new(schema);
        EXPECT_TRUE(g_settings_set_string(settings, key, value.toUtf8().constData()));
        g_object_unref(settings);
    }

    static std::optional<QString> pictureOn(const char* desktop, int screen = 0) {
        qputenv("XDG_CURRENT_DESKTOP", desktop);
        return Workspace::sharedWorkspace().desktopImageURLForScreen(screen);
    }

    const QTemporaryDir folder;
    const QString day = in("day light.jpg");
    const QString night = in("night.png");
};

constexpr char kGnome[] = "org.gnome.desktop.background";

TEST_F(WorkspaceTest, DesktopsThatKeepTheirSettingsInGSettings) {
    const QString url = QStringLiteral("file://") + folder.path();
    set(kGnome, "picture-uri", url + QStringLiteral("/day%20light.jpg"));
    for (const char* desktop : {"GNOME", "ubuntu:GNOME", "Budgie:GNOME", "Unity", "pantheon"})
        EXPECT_THAT(pictureOn(desktop), Optional(day)) << desktop;

    set("org.gnome.desktop.interface", "color-scheme", QStringLiteral("prefer-dark"));
    EXPECT_THAT(pictureOn("GNOME"), Optional(day)) << "no dark picture is set";
    set(kGnome, "picture-uri-dark", url + QStringLiteral("/night.png"));
    EXPECT_THAT(pictureOn("GNOME"), Optional(night));
    set("org.gnome.desktop.interface", "color-scheme", QStringLiteral("default"));
    EXPECT_THAT(pictureOn("GNOME"), Optional(day));
    set(kGnome, "picture-options", QStringLiteral("none"));
    EXPECT_EQ(pictureOn("GNOME"), std::nullopt);

    set("org.cinnamon.desktop.background", "picture-uri", url + QStringLiteral("/night.png"));
    EXPECT_THAT(pictureOn("X-Cinnamon"), Optional(night));
    EXPECT_EQ(pictureOn("MATE"), std::nullopt) << "a colour only";
    set("org.mate.background", "picture-filename", day);
    EXPECT_THAT(pictureOn("MATE"), Optional(day));
    set("org.mate.background", "picture-filename", folder.path());
    EXPECT_EQ(pictureOn("MATE"), std::nullopt) << "a folder is no picture";

    EXPECT_EQ(desktopSetting("org.example.missing", "key"), std::nullopt);
    EXPECT_EQ(desktopSetting(kGnome, "missing"), std::nullopt);
    EXPECT_EQ(desktopSetting("org.gnome.desktop.interface", "cursor-size"), std::nullopt);
}

TEST_F(WorkspaceTest, URLsBecomePathsByteForByte) {
    EXPECT_THAT(pathOfURL(QStringLiteral("file:///a%20%e9%25")),
                Optional(stringWithFileSystemRepresentation("/a \xE9%")));
    EXPECT_THAT(pathOfURL(QStringLiteral("/c%20d")), Optional(QStringLiteral("/c%20d")));
    EXPECT_EQ(pathOfURL(QStringLiteral("a.jpg")), std::nullopt);
}

TEST_F(WorkspaceTest, SlideShowsShowWhatTheHourBrings) {
    const QDateTime start = QDateTime::currentDateTime().addSecs(-5'000);
    const QByteArray head =
        start
            .toString(
                u"'<background><starttime><year>'yyyy'</year><month>'M'</month><day>'d"
                "'</day><hour>'H'</hour><minute>'m'</minute><second>'s"
                "'</second></starttime>'")
            .toUtf8();
    const auto shown = [&](const QByteArray& slides, QSize screen = {}) {
        configure("show.xml", head + slides + "</background>");
        return slideshowPicture(in("show.xml"), screen);
    };
    // The round of 3,000 s is at its 2,000th: within the transition's second half.
    EXPECT_EQ(shown("<static><file>/1</file><duration>1000</duration></static>"
                    "<transition type='overlay'><duration>1500</duration><from>/1</from>"
                    "<to>/2</to></transition><static><duration>500</duration><file>/3</file>"
                    "</static>"),
              QStringLiteral("/2"));
    const QByteArray sizes =
        "<static><duration>1e9</duration><file><size width='4000' height='3000'>/large</size>"
        "<size width='1920' height='1200'> /fit </size><size width='640' height='480'>/small</size>"
        "</file></static>";
    EXPECT_EQ(shown(sizes, QSize(1920, 1080)), QStringLiteral("/fit"));
    EXPECT_EQ(shown(sizes, QSize(8000, 100)), QStringLiteral("/large"));
    EXPECT_EQ(shown(sizes), QStringLiteral("/large"));
    EXPECT_EQ(shown("<static><file>/1</file><duration>nan</duration></static>"),
              QStringLiteral("/1"));
    for (const char* broken : {"", "<static><duration>9</duration></static>", "<static><file>"})
        EXPECT_EQ(shown(broken), std::nullopt) << broken;

    configure("day.xml", "<background><static><file>@/day light.jpg</file></static></background>");
    set("org.cinnamon.desktop.background", "picture-uri", in("day.xml"));
    EXPECT_THAT(pictureOn("X-Cinnamon"), Optional(day));
}

constexpr char kPlasma[] = ".config/plasma-org.kde.plasma.desktop-appletsrc";

TEST_F(WorkspaceTest, PlasmaShowsThePictureOfTheScreensDesktop) {
    const QByteArray applets =
        "[Containments][2]\nformfactor=2\nlastScreen=0\nwallpaperplugin=org.kde.image\n\n"
        "[Containments][2][Wallpaper][org.kde.image][General]\nImage=@/panel.jpg\n\n"
        "[Containments][3]\nactivityId=other\nformfactor=0\nlastScreen=0\n\n"
        "[Containments][3][Wallpaper][org.kde.image][General]\nImage=@/night.png\n\n"
        "[Containments][7]\nactivityId=here\nformfactor=0\nlastScreen=0\n"
        "wallpaperplugin=org.kde.slideshow\n\n"
        "[Containments][7][Wallpaper][org.kde.slideshow][General]\n"
        "Image[$e]=file://@/day\\x2520light.jpg\n\n"
        "[Containments][9]\nformfactor=0\nlastScreen=1\nwallpaperplugin=org.kde.color\n\n"
        "[Containments][9][Wallpaper][org.kde.image][General]\nImage=@/night.png\n";
    configure(kPlasma, applets);
    EXPECT_THAT(pictureOn("KDE"), Optional(night));
    configure(".config/kactivitymanagerdrc", "[main]\ncurrentActivity=here\n");
    EXPECT_THAT(pictureOn("KDE"), Optional(day));
    EXPECT_EQ(pictureOn("KDE", 1), std::nullopt) << "a colour only";
    EXPECT_EQ(pictureOn("KDE", 2), std::nullopt) << "no such screen";
}

TEST_F(WorkspaceTest, PlasmaChoosesFromAPackageByColoursAndSize) {
    configure(kPlasma,
              "[Containments][1]\nlastScreen=0\n"
              "[Containments][1][Wallpaper][org.kde.image][General]\nImage=@/Next/\n");
    configure("Next/contents/screenshot.png", "");
    EXPECT_EQ(pictureOn("KDE"), std::nullopt) << "a package without pictures";
    configure("Next/contents/images/440x247.png", "");
    configure("Next/contents/images/1920x1080.jpg", "");
    configure("Next/contents/images/readme.txt", "");
    configure("Next/contents/images_dark/800x600.png", "");
    const auto chosen = [] { return QFileInfo(pictureOn("KDE").value_or(QString())).fileName(); };
    EXPECT_EQ(chosen(), QStringLiteral("1920x1080.jpg"));
    configure("etc/kdeglobals", "[Colors:Window]\nBackgroundNormal=42,46,50\n");
    EXPECT_EQ(chosen(), QStringLiteral("800x600.png"));
    configure(".config/kdeglobals", "[Colors:Window]\nBackgroundNormal=239,240,241\n");
    EXPECT_EQ(chosen(), QStringLiteral("1920x1080.jpg"));
}

QByteArray xfceChannel(const QByteArray& monitor, const QByteArray& workspaces) {
    return "<?xml version=\"1.0\"?><channel name=\"xfce4-desktop\" version=\"1.0\">"
           "<property name=\"backdrop\" type=\"empty\"><property name=\"screen0\" type=\"empty\">"
           "<property name=\"" +
           monitor + "\" type=\"empty\">" + workspaces +
           "</property></property></property></channel>";
}

TEST_F(WorkspaceTest, XfceShowsThePictureOfTheMonitor) {
    const char file[] = ".config/xfce4/xfconf/xfce-perchannel-xml/xfce4-desktop.xml";
    const QByteArray picture =
        "<property name=\"workspace0\" type=\"empty\"><property name=\"last-image\""
        " type=\"string\" value=\"@/night.png\"/></property>";
    EXPECT_EQ(pictureOn("XFCE"), std::nullopt);
    configure("etc/xfce4/xfconf/xfce-perchannel-xml/xfce4-desktop.xml",
              xfceChannel("monitor0", QByteArray(picture).replace("night.png", "day light.jpg")));
    EXPECT_THAT(pictureOn("XFCE"), Optional(day)) << "the machine's own setting";
    configure(file, xfceChannel("monitor0", picture));
    EXPECT_THAT(pictureOn("XFCE"), Optional(night)) << "the user's goes first";
    EXPECT_EQ(pictureOn("XFCE", 1), std::nullopt);
    configure(file, xfceChannel("monitor0",
                                "<property name=\"workspace0\" type=\"empty\"><property"
                                " name=\"image-style\" type=\"int\" value=\"0\"/>"
                                "</property>"));
    EXPECT_EQ(pictureOn("XFCE"), std::nullopt) << "a colour only";
    configure(file, xfceChannel("monitorHDMI-1", picture));
    QFile::remove(in("etc/xfce4/xfconf/xfce-perchannel-xml/xfce4-desktop.xml"));
    EXPECT_THAT(pictureOn("XFCE"), Optional(night)) << "the one monitor that there is";
    EXPECT_THAT(xfceDesktopPicture({.number = 1, .name = QStringLiteral("HDMI-1"), .size = {}}),
                Optional(night));
}

TEST_F(WorkspaceTest, BareWindowManagersShowWhatFehOrNitrogenSet) {
    EXPECT_EQ(pictureOn(""), std::nullopt);
    configure(".config/nitrogen/bg-saved.cfg",
              "[xin_-1]\nfile=@/night.png\nmode=5\nbgcolor=#000000\n");
    EXPECT_THAT(pictureOn("i3"), Optional(night));
    configure("it's here.jpg", "");
    configure(".fehbg",
              "#!/bin/sh\nfeh --no-fehbg --bg-fill '@/it'\\''s here.jpg' '@/day light.jpg' \n");
    EXPECT_THAT(pictureOn("openbox"), Optional(in("it's here.jpg")));
    EXPECT_THAT(pictureOn("openbox", 1), Optional(day));
}

}  // namespace
}  // namespace platform
