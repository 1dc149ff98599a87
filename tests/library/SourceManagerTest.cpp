#include "library/PDSourceManager.h"
#include "platform/foundation/Path.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/ui/SearchField.h"
#include "tests/platform/foundation/TestFiles.h"
#include "tests/platform/media/TagBytes.h"

#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QTemporaryDir>

#include <gmock/gmock.h>

using platform::UserDefaults;

namespace {

QByteArray taggedSong(const char* title, const char* artist) {
    QByteArray frames;
    if (title) frames += platform::id3Frame(4, "TIT2", platform::encoded(3, title));
    if (artist) frames += platform::id3Frame(4, "TPE1", platform::encoded(3, artist));
    return platform::id3Tag(4, frames);
}

// One side's manager with its widgets, over a folder of files.
template <typename Manager>
class Side {
  public:
    explicit Side(const QString& labelOutlet) {
        table.setColumns({QStringLiteral("name:Title:200"), QStringLiteral("URL:Path")});
        table.setDataSource(&manager);
        manager.connectOutlet(QStringLiteral("tableView"), &table);
        manager.connectOutlet(QStringLiteral("PDProgressBar"), &bar);
        manager.connectOutlet(labelOutlet, &label);
        manager.connectOutlet(QStringLiteral("countLabel"), &count);
        manager.connectOutlet(QStringLiteral("explanation"), &explanation);
        manager.connectOutlet(QStringLiteral("explanationText"), &text);
        manager.connectOutlet(QStringLiteral("explanationButton"), &button);
        bar.hide();
    }
    QStringList names() const {
        QStringList names;
        for (const auto& track : Manager::trackArray())
            names << track->name();
        return names;
    }
    Manager manager;
    platform::TableView table;
    platform::ProgressIndicator bar;
    platform::TextField label;
    platform::TextField count;
    platform::View explanation;
    platform::TextField text;
    platform::Button button;
};

class SourceManager : public testing::Test {
  protected:
    SourceManager()
        : left(QStringLiteral("PDLeftDefaultDirectoryLabel")),
          right(QStringLiteral("PDRightDefaultDirectoryLabel")) {
        PDLeftSourceManager::trackArray().clear();
        PDRightSourceManager::trackArray().clear();
        platform::writeFile(file("a.mp3"), taggedSong("Blue", "Ann"));
        platform::writeFile(file("sub/song.m4a"), taggedSong("Red", "\xC3\x89ric"));
        platform::writeFile(file("b.M4A"), {});
        platform::writeFile(file("notes.txt"), {});
    }
    QString file(const char* name) const { return folder.filePath(QLatin1String(name)); }

    // Answers the folder panel that `act` opens, as the user would.
    template <typename Act>
    void choose(const QString& path, Act act) {
        act();
        QFileDialog* panel = nullptr;
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            if (auto* dialog = qobject_cast<QFileDialog*>(widget)) panel = dialog;
        }
        ASSERT_NE(panel, nullptr);
        EXPECT_EQ(panel->windowTitle(), QStringLiteral("Choose a Playlist folder"));
        EXPECT_FALSE(panel->isModal());
        EXPECT_TRUE(panel->isSizeGripEnabled());
        EXPECT_FALSE(panel->filter() & QDir::Hidden);
        EXPECT_EQ(panel->fileMode(), QFileDialog::Directory);  // one, not several
        if (path.isEmpty()) {
            panel->reject();
        } else {
            panel->setDirectory(path);
            panel->selectFile(path);
            static_cast<QDialog*>(panel)->done(QDialog::Accepted);
        }
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    QTemporaryDir folder;
    Side<PDLeftSourceManager> left;
    Side<PDRightSourceManager> right;
};

}  // namespace

TEST_F(SourceManager, AScanListsTheAudioFilesOfEveryDepthOnce) {
    right.manager.awakeFromNib();
    EXPECT_EQ(right.label.stringValue(), QStringLiteral("Current Default Directory:\nNone"));
    EXPECT_EQ(right.manager.currentURL(), std::nullopt);
    QDir().mkpath(file("Live.mp3"));
    for (int scan = 0; scan < 2; ++scan)
        right.manager.getTracksFromURL(folder.path());
    EXPECT_THAT(right.names(),
                testing::UnorderedElementsAre(QStringLiteral("Blue"), QStringLiteral("Red"),
                                              QStringLiteral("Live.mp3")));
    EXPECT_EQ(right.bar.maxValue(), 3.0);
    EXPECT_EQ(right.bar.doubleValue(), 2.0);
    EXPECT_TRUE(right.bar.isHidden());
    EXPECT_EQ(right.table.model()->rowCount(), 3);
    for (int row = 0; row < 3; ++row) {
        const auto& track = PDRightSourceManager::trackArray()[size_t(row)];
        EXPECT_EQ(right.table.model()->index(row, 1).data().toString(), track->URL());
        EXPECT_TRUE(track->URL().startsWith(folder.path() + QLatin1Char('/')));
    }
    EXPECT_TRUE(left.names().isEmpty());

    // The list is emptied before the table is told.
    PDRightSourceManager::trackArray().clear();
    EXPECT_EQ(right.table.model()->index(2, 0).data().toString(), QString());
    right.manager.getTracksFromURL(file("gone"));
    EXPECT_EQ(right.manager.currentURL(), file("gone"));
    EXPECT_EQ(right.table.model()->rowCount(), 0);
    EXPECT_EQ(right.bar.maxValue(), 0.0);
}

TEST_F(SourceManager, TagsFallBackToTheFileAndToTheUnknownArtist) {
    const QByteArray name = folder.path().toUtf8() + "/caf\xE9.mp3";
    const QString path = platform::stringWithFileSystemRepresentation(name);
    ASSERT_EQ(QFile::copy(file("a.mp3"), file("copy.mp3")), true);
    ASSERT_EQ(::rename(file("copy.mp3").toUtf8().constData(), name.constData()), 0);
    // The bytes of the name reach the file, or its tags would not be found.
    EXPECT_EQ(PDTrack::trackFromURL(path)->name(), QStringLiteral("Blue"));
    EXPECT_EQ(PDTrack::trackFromURL(path)->URL(), path);

    platform::writeFile(file("only title.mp3"), taggedSong("Blue", nullptr));
    platform::writeFile(file("empty title.mp3"), taggedSong("", "Ann"));
    platform::writeFile(file("none.mp3"), "text");
    const auto fields = [this](const char* track) {
        const auto read = PDTrack::trackFromURL(file(track));
        return QStringList{read->name(), read->artist()};
    };
    const QString unknown = QStringLiteral("Unknown Artist");
    EXPECT_EQ(fields("only title.mp3"), (QStringList{QStringLiteral("Blue"), unknown}));
    EXPECT_EQ(fields("empty title.mp3"), (QStringList{QString(), QStringLiteral("Ann")}));
    EXPECT_EQ(fields("none.mp3"), (QStringList{QStringLiteral("none.mp3"), unknown}));
    EXPECT_EQ(fields("gone.m4a"), (QStringList{QStringLiteral("gone.m4a"), unknown}));
}

TEST_F(SourceManager, EachSearchStartsFromTheWholeFolderAsItIsNow) {
    left.manager.awakeFromNib();
    left.manager.updatePredicate(QStringLiteral("e"));
    EXPECT_TRUE(left.names().isEmpty());
    EXPECT_EQ(left.manager.currentURL(), std::nullopt);
    left.manager.getTracksFromURL(folder.path());
    const QStringList all = left.names();
    const auto search = [this](const char* text) {
        platform::SearchField field;
        field.setStringValue(QString::fromUtf8(text));
        left.manager.performAction(QStringLiteral("updatePredicate"), &field);
        return left.names();
    };
    EXPECT_EQ(search("eri"), QStringList{QStringLiteral("Red")});
    EXPECT_EQ(search("BLUE"), QStringList{QStringLiteral("Blue")});
    EXPECT_EQ(left.table.model()->rowCount(), 1);
    EXPECT_EQ(search("blue "), QStringList());
    EXPECT_EQ(search("e"), all);
    platform::writeFile(file("a.mp3"), taggedSong("Green", "Ann"));
    EXPECT_EQ(search("gree"), QStringList{QStringLiteral("Green")});
    EXPECT_EQ(search("").size(), 2);
    // Where nothing has changed, they are the same tracks.
    const TrackArray tracks = PDLeftSourceManager::trackArray();
    const auto type = [this](const char* text) {
        left.manager.updatePredicate(QString::fromUtf8(text), PDSourceManager::Proof::Notice);
    };
    type("ann");
    type("");
    EXPECT_EQ(PDLeftSourceManager::trackArray(), tracks);
    platform::writeFile(file("a.mp3"), taggedSong("White", "Ann"));
    type("whi");
    EXPECT_EQ(left.names(), QStringList{QStringLiteral("White")});
}

TEST_F(SourceManager, TheFolderPanelLoadsNowOrRemembers) {
    left.manager.awakeFromNib();
    choose(folder.path(), [this] { left.manager.loadTracks(); });
    EXPECT_EQ(left.names().size(), 2);
    EXPECT_EQ(left.label.stringValue(), QStringLiteral("Current Default Directory:\nNone"));
    choose({}, [this] { left.manager.loadTracks(); });
    EXPECT_EQ(left.names().size(), 2);
    choose(file("sub"), [this] { left.manager.changeDefaultDirectory(); });
    EXPECT_EQ(left.names().size(), 2);
    EXPECT_EQ(left.label.stringValue(), QStringLiteral("Current Default Directory:\nsub"));

    // What is on disk: the right deck's folder at once, the left one's when the store saves itself;
    // at the next start both are scanned.
    const auto onDisk = [](const char* key) {
        return UserDefaults(qEnvironmentVariable("XDG_CONFIG_HOME") +
                            QStringLiteral("/com.ovrelin.Pairdeck/defaults.json"))
            .valueForKey(QLatin1String(key));
    };
    EXPECT_EQ(onDisk("PairdeckLeftDefaultDirectory"), std::nullopt);
    choose(file("sub"), [this] { right.manager.changeDefaultDirectory(); });
    EXPECT_EQ(onDisk("PairdeckRightDefaultDirectory"), platform::DefaultsValue(file("sub")));
    left.manager.awakeFromNib();
    EXPECT_EQ(left.names(), QStringList{QStringLiteral("Red")});
}

TEST_F(SourceManager, SaysWhyThereAreNoRows) {
    const auto says = [this](const char* count, const char* explanation, bool offersFolder) {
        EXPECT_EQ(left.count.stringValue(), QLatin1String(count));
        EXPECT_EQ(left.text.stringValue().section(QLatin1Char('\n'), 0, 0).toStdString(),
                  explanation);
        EXPECT_EQ(left.explanation.isHidden(), *explanation == '\0');
        EXPECT_EQ(!left.button.isHidden(), offersFolder);
    };
    left.manager.getTracksFromURL(folder.path());
    says("2 songs", "", false);
    left.manager.updatePredicate(QStringLiteral("ann"));
    says("1 of 2 songs", "", false);
    left.manager.updatePredicate(QStringLiteral("nobody"));
    says("0 of 2 songs", "Nothing found for “nobody”.", false);
    left.manager.updatePredicate({});
    says("2 songs", "", false);
    ASSERT_TRUE(QDir(folder.path()).mkdir(QStringLiteral("empty")));
    left.manager.getTracksFromURL(file("empty"));
    says("0 songs", "No songs in “empty”.", true);
    left.manager.getTracksFromURL(file("gone"));
    says("0 songs", "The folder “gone” is not there.", true);
}
