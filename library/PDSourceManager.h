#pragma once

#include "library/PDTrack.h"
#include "library/SearchPredicate.h"
#include "platform/media/MediaLibrary.h"
#include "platform/ui/Button.h"
#include "platform/ui/Controller.h"
#include "platform/ui/ProgressIndicator.h"
#include "platform/ui/TableView.h"
#include "platform/ui/TextField.h"
#include "platform/ui/View.h"

#include <QString>

#include <functional>
#include <optional>

/// One deck's library: scans a folder into the side's track list, remembers a default folder, feeds
/// the deck's table and runs the deck's search. The two sides are the classes below.
///
/// Outlets: tableView, PDProgressBar, countLabel, explanation, explanationText, explanationButton
/// and the side's default-directory label. Actions: loadTracks,
/// changeDefaultDirectory, updatePredicate (sent by a search field).
class PDSourceManager : public platform::Controller, public platform::TableViewDataSource {
  public:
    /// Scans the default folder if one is stored, and names it.
    void awakeFromNib() override;
    bool awakesSlowly() const override { return true; }

    /// Lets the user choose a folder and scans it.
    void loadTracks();
    /// Lets the user choose the folder to scan at the next start, stores it and names it.
    void changeDefaultDirectory();
    using Proof = platform::MediaLibrary::Proof;
    /// Scans the folder at `path` into the side's track list, while the progress bar runs, and
    /// reloads the table. A path that is no readable folder, or none, gives an empty list.
    void getTracksFromURL(const std::optional<QString>& path, Proof proof = Proof::Status);
    /// Rescans the current folder and keeps the tracks whose name or artist contains `text`; all of
    /// them for the empty text.
    void updatePredicate(const QString& text, Proof proof = Proof::Status);

    /// The folder scanned last; absent until the first scan.
    const std::optional<QString>& currentURL() const { return currentURL_; }

    std::int64_t numberOfRowsInTableView(platform::TableView* tableView) override;
    QString tableViewObjectValueForTableColumnRow(platform::TableView* tableView,
                                                  const platform::TableColumn& column,
                                                  std::int64_t row) override;

  protected:
    /// What differs between the sides.
    struct Side {
        QString defaultDirectoryKey;
        QString defaultDirectoryLabel;  ///< the outlet's name
        bool flushesDefaultDirectory;   ///< whether a new default folder is on disk at once
        TrackArray& trackArray;
    };
    explicit PDSourceManager(const Side& side);

  private:
    // The tracks of the last scan, whether or not a search left them in the list.
    struct Scanned {
        quint64 version = 0;  // the scan's
        TrackArray tracks;
        SearchFields fields;
    };
    void chooseFolder(std::function<void(const QString& path)> chosen);
    void nameDefaultDirectory(const std::optional<QString>& path);
    void explain(const QString& text, std::size_t total) const;
    void scan(const std::optional<QString>& path, Proof proof);

    const Side side_;
    std::optional<QString> currentURL_;
    QString lastChosen_;  // in the folder panel, now or in an earlier run; empty without
    platform::MediaLibrary library_;
    Scanned scanned_;
    SearchPredicate searchPredicate_;
    platform::TableView* tableView_ = nullptr;
    platform::TextField* defaultDirectoryLabel_ = nullptr;
    platform::ProgressIndicator* progressBar_ = nullptr;
    platform::TextField* countLabel_ = nullptr;
    platform::View* explanation_ = nullptr;  // in the place of the rows, where there are none
    platform::TextField* explanationText_ = nullptr;
    platform::Button* explanationButton_ = nullptr;
};

/// The left deck's library.
class PDLeftSourceManager final : public PDSourceManager {
  public:
    PDLeftSourceManager();
    /// The left deck's tracks: one list for the life of the process, empty at first.
    static TrackArray& trackArray();
};

/// The right deck's library.
class PDRightSourceManager final : public PDSourceManager {
  public:
    PDRightSourceManager();
    /// The right deck's tracks: one list for the life of the process, empty at first.
    static TrackArray& trackArray();
};
