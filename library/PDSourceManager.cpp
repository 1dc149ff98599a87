#include "library/PDSourceManager.h"

#include "library/LibraryNotice.h"
#include "platform/foundation/Path.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/ui/OpenPanel.h"
#include "platform/ui/RunLoop.h"
#include "platform/ui/SearchField.h"

using platform::Control;
using platform::OpenPanel;
using platform::RunLoop;
using platform::UserDefaults;

namespace {

// How many are listed between two looks at the window system: asking the time takes as long as
// listing one.
constexpr std::size_t kTracksAtATime = 64;

}  // namespace

PDSourceManager::PDSourceManager(const Side& side) : side_(side), library_({".mp3", ".m4a"}) {
    outlet(QStringLiteral("tableView"), tableView_);
    outlet(side.defaultDirectoryLabel, defaultDirectoryLabel_);
    outlet(QStringLiteral("PDProgressBar"), progressBar_);
    outlet(QStringLiteral("countLabel"), countLabel_);
    outlet(QStringLiteral("explanation"), explanation_);
    outlet(QStringLiteral("explanationText"), explanationText_);
    outlet(QStringLiteral("explanationButton"), explanationButton_);
    action(QStringLiteral("loadTracks"), [this](Control*) { loadTracks(); });
    action(QStringLiteral("changeDefaultDirectory"),
           [this](Control*) { changeDefaultDirectory(); });
    action(QStringLiteral("updatePredicate"), [this](Control* sender) {
        const auto* field = dynamic_cast<platform::SearchField*>(sender);
        if (!field) return;
        // Who asks for it is not content with what the kernel tells.
        updatePredicate(field->stringValue(), field->isTyped() ? Proof::Notice : Proof::Status);
    });
}

void PDSourceManager::awakeFromNib() {
    const auto folder =
        UserDefaults::standardUserDefaults().valueOfTypeForKey<QString>(side_.defaultDirectoryKey);
    lastChosen_ = folder.value_or(QString());
    if (folder) {
        getTracksFromURL(folder);
    } else {
        explain({}, 0);
    }
    nameDefaultDirectory(folder);
}

void PDSourceManager::explain(const QString& text, std::size_t total) const {
    const auto notice = LibraryNotice::of(currentURL_, text, total, side_.trackArray.size());
    countLabel_->setStringValue(notice.count);
    explanationText_->setStringValue(notice.explanation);
    explanationButton_->setHidden(!notice.offersFolder);
    explanation_->setHidden(notice.explanation.isEmpty());
}

void PDSourceManager::nameDefaultDirectory(const std::optional<QString>& path) {
    defaultDirectoryLabel_->setStringValue(
        QStringLiteral("Current Default Directory:\n%1")
            .arg(path ? platform::lastPathComponent(*path) : QStringLiteral("None")));
}

void PDSourceManager::chooseFolder(std::function<void(const QString&)> chosen) {
    const auto panel = OpenPanel::openPanel();
    panel->setTitle(QStringLiteral("Choose a Playlist folder"));
    panel->setShowsResizeIndicator(true);
    panel->setShowsHiddenFiles(false);
    panel->setCanChooseDirectories(true);
    panel->setAllowsMultipleSelection(false);
    panel->setDirectoryURL(lastChosen_);
    panel->beginWithCompletionHandler(
        [this, panel = panel.get(), chosen = std::move(chosen)](int result) {
            if (result != OpenPanel::kConfirmed) return;
            lastChosen_ = panel->path();
            chosen(lastChosen_);
        });
}

void PDSourceManager::loadTracks() {
    chooseFolder([this](const QString& path) { getTracksFromURL(path); });
}

void PDSourceManager::changeDefaultDirectory() {
    chooseFolder([this](const QString& path) {
        UserDefaults& defaults = UserDefaults::standardUserDefaults();
        defaults.setValueForKey(path, side_.defaultDirectoryKey);
        if (side_.flushesDefaultDirectory) defaults.synchronize();
        nameDefaultDirectory(path);
    });
}

void PDSourceManager::getTracksFromURL(const std::optional<QString>& path, Proof proof) {
    scan(path, proof);
    TrackArray& tracks = side_.trackArray;
    tracks = scanned_.tracks;
    explain({}, tracks.size());
    tableView_->reloadData();
}

// Empties the list; what belongs in it are the tracks that were scanned, or some of them.
void PDSourceManager::scan(const std::optional<QString>& path, Proof proof) {
    side_.trackArray.clear();
    // Every entry of the folder that is a song by its name, in the order of listing.
    platform::MediaScan scan =
        library_.scan(path.value_or(QString()), proof,
                      {[](const auto& isDone) { return RunLoop::runUntil(isDone); },
                       &RunLoop::wakeUp, &RunLoop::noteProgress});
    const std::size_t count = scan.size();
    const bool isKnown = scan.version() == scanned_.version;
    if (!isKnown) {
        scanned_ = {scan.version(), {}, {}};
        scanned_.tracks.reserve(count);
    }
    progressBar_->setHidden(false);
    progressBar_->setMinValue(0.0);
    progressBar_->setMaxValue(static_cast<double>(count));
    progressBar_->setDoubleValue(0.0);
    for (std::size_t i = 0; i < count; ++i) {
        progressBar_->setDoubleValue(static_cast<double>(i));
        // The scan holds the main thread: what is not drawn here is not drawn before it ends.
        progressBar_->displayIfNeeded();
        if (i % kTracksAtATime == 0) RunLoop::attend();
        if (isKnown) continue;
        auto track = PDTrack::trackFromURL(scan.path(i), scan.tags(i));
        scanned_.fields.append(track->name(), track->artist());
        scanned_.tracks.push_back(std::move(track));
    }
    progressBar_->setHidden(true);
    currentURL_ = path;
}

void PDSourceManager::updatePredicate(const QString& text, Proof proof) {
    // Every search starts from the whole folder as it is on disk now.
    if (text.isEmpty()) return getTracksFromURL(currentURL_, proof);
    scan(currentURL_, proof);
    searchPredicate_ = SearchPredicate(text);
    TrackArray& tracks = side_.trackArray;
    for (const std::size_t match : searchPredicate_.evaluate(scanned_.fields))
        tracks.push_back(scanned_.tracks[match]);
    explain(text, scanned_.tracks.size());
    tableView_->reloadData();
}

std::int64_t PDSourceManager::numberOfRowsInTableView(platform::TableView*) {
    return static_cast<std::int64_t>(side_.trackArray.size());
}

QString PDSourceManager::tableViewObjectValueForTableColumnRow(platform::TableView*,
                                                               const platform::TableColumn& column,
                                                               std::int64_t row) {
    // While a scan refills the list, the table still goes by the rows of before.
    const auto index = static_cast<size_t>(row);
    if (index >= side_.trackArray.size()) return {};
    return side_.trackArray[index]->valueForKey(column.identifier());
}

PDLeftSourceManager::PDLeftSourceManager()
    : PDSourceManager({QStringLiteral("PairdeckLeftDefaultDirectory"),
                       QStringLiteral("PDLeftDefaultDirectoryLabel"), false, trackArray()}) {}

TrackArray& PDLeftSourceManager::trackArray() {
    static TrackArray tracks;
    return tracks;
}

PDRightSourceManager::PDRightSourceManager()
    : PDSourceManager({QStringLiteral("PairdeckRightDefaultDirectory"),
                       QStringLiteral("PDRightDefaultDirectoryLabel"), true, trackArray()}) {}

TrackArray& PDRightSourceManager::trackArray() {
    static TrackArray tracks;
    return tracks;
}
