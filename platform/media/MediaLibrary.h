#pragma once

#include "platform/media/MediaMemory.h"
#include "platform/media/Tags.h"
#include "platform/media/TaskPool.h"

#include <QByteArrayList>
#include <QString>

#include <cstddef>
#include <functional>
#include <memory>

namespace platform {

class TreeCheck;

/// One scan of a folder: the files in it, at every depth, and the texts of their tags, which are
/// read ahead on other threads. A folder stands before its content, siblings in
/// NaturalOrder::ofUser(); a link is listed but not entered. What can't be read has no entries, or
/// no tags.
///
/// What the library remembers counts instead of the disk where that is proven to say the same.
class MediaScan {
  public:
    ~MediaScan();
    MediaScan(const MediaScan&) = delete;
    MediaScan& operator=(const MediaScan&) = delete;

    std::size_t size() const;
    /// The path of the file at `index` < size(): the scanned path, "/" and the path below it.
    QString path(std::size_t index);
    /// The title and the artist, and nothing else, of that file. Waits until they are read; none
    /// when that is given up.
    Tags tags(std::size_t index);

    /// The same for two scans that have the same paths and texts, another one else; never 0.
    quint64 version() const;

  private:
    friend class MediaLibrary;
    MediaScan(MediaMemory& memory, std::shared_ptr<MediaTree> tree, bool isWhole,
              TaskPool::Waiting waiting);

    void look(bool isWhole);
    bool wait(const std::function<bool()>& isDone);
    const MediaFileRef& file(std::size_t index);

    MediaMemory& memory_;
    const std::shared_ptr<MediaTree> tree_;
    std::shared_ptr<TaskPool> pool_;
    std::shared_ptr<TreeCheck> check_;
    bool isPlanned_ = false;
    bool isGivenUp_ = false;
    const MediaFolder* prefixFolder_ = nullptr;
    QString prefix_;  // of the paths in that folder
};

/// Scans folders for files of certain names, and remembers what it has read of the last one.
class MediaLibrary {
  public:
    /// Of the files whose names end in one of `suffixes`, case counting.
    explicit MediaLibrary(QByteArrayList suffixes, MediaMemory& memory = MediaMemory::ofUser());

    /// What counts as proof that a file, or a folder, is still as it was when it was read.
    enum class Proof {
        /// What it now is: which one of which file system, its size and times.
        Status,
        /// That the kernel has told of no change. Where it tells of none, on the disks of other
        /// machines, what was proven by status less than three seconds ago.
        Notice,
    };
    /// Scans the folder at `path`, which may be a link to one. One scan of a library at a time.
    /// Where `waiting` is given up, what was read is listed, and no more is waited for.
    MediaScan scan(const QString& path, Proof proof, TaskPool::Waiting waiting = {});

  private:
    const QByteArrayList suffixes_;
    MediaMemory& memory_;
    std::shared_ptr<MediaTree> tree_;  // of the last scan; others may have it, too
};

}  // namespace platform
