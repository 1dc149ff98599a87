#pragma once

#include "platform/foundation/FileIdentity.h"
#include "platform/foundation/FolderListing.h"
#include "platform/foundation/FolderWatch.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QString>

#include <atomic>
#include <memory>
#include <vector>

namespace platform {

/// What is known of one file: what it was when it was read, and what its tags said.
struct MediaFile {
    FileIdentity identity;  ///< zeros for one that is not there
    QString title;          ///< null where the tags have none
    QString artist;         ///< null where the tags have none
    FolderListing::Kind kind = FolderListing::Kind::Regular;
    /// Whether the texts are those of every file of this identity.
    bool isProven = false;
    /// Whether it can change without its folder's noticing: through another link to it.
    bool isLoose = false;
    /// Whether a check has found that it is to be read.
    bool isUnread = false;
};

/// What is known of one folder: its files that were asked for and the folders in it.
struct MediaFolder {
    struct Entry {
        quint32 name = 0;  ///< where it begins in `names`
        qint32 file = -1;  ///< its number in `files`
        qint32 folder = -1;
    };

    const char* nameOf(const Entry& entry) const { return names.constData() + entry.name; }

    QByteArray path;              ///< below the tree's root
    FileIdentity identity;        ///< zeros for one that was not read
    std::size_t fingerprint = 0;  ///< of its listing
    int watch = 0;                ///< its number, if it is watched
    bool isListed = false;        ///< whether the entries are those of the folder of this identity
    bool isLocal = false;
    bool isDirty = false;                 ///< whether an entry has changed since
    bool isDeepDirty = false;             ///< whether anything below it may have
    std::atomic<int> visitors = 0;        ///< tasks that are, or will be, at work here
    std::atomic<bool> isUnsaved = false;  ///< whether the store has it otherwise

    QByteArray names;            ///< each ends in a NUL
    std::vector<Entry> entries;  ///< in natural order
    std::vector<MediaFile> files;
    std::vector<std::unique_ptr<MediaFolder>> folders;
};

/// One file of a tree.
struct MediaFileRef {
    MediaFolder* folder;
    std::size_t index;  ///< of its entry there

    MediaFile& file() const { return folder->files[std::size_t(folder->entries[index].file)]; }
    const char* name() const { return folder->nameOf(folder->entries[index]); }
};

/// What is known of a folder and all below it. It is one scan's, or the memory's, at a time.
struct MediaTree {
    QString path;
    QByteArrayList suffixes;
    MediaFolder root;
    std::size_t fileCount = 0;
    quint64 version = 0;  ///< another one whenever a path or a text is another
    qint64 checked = 0;   ///< when all of it was last looked at, in ns of the steady clock
    std::vector<MediaFileRef> loose;
    std::atomic<bool> isUnsaved = false;  ///< whether a folder is

    /// Present while every folder is watched.
    std::unique_ptr<FolderWatch> watch;
    bool isWatchable = true;                   ///< until it has turned out not to be
    std::vector<MediaFolder*> watchedFolders;  ///< by their numbers
    int sharedWatches = 0;                     ///< numbers that two folders claim, being the same

    enum class Holder { None, Scan, Memory };
    Holder holder = Holder::None;
};

}  // namespace platform
