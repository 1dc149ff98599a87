#pragma once

#include "platform/media/MediaMemory.h"
#include "platform/media/MediaTree.h"
#include "platform/media/TaskPool.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

struct stat;

namespace platform {

/// One look at whether a tree is still what is known of it, and the reading of what is not: first
/// `begin`, then, once the pool has no task left, `plan`, `read` and, once it has none again,
/// `end`. Everything that asks the disk is a task of the pool, which holds what it works on: a
/// check that is left behind is left with its tree, its tasks and nothing else.
class TreeCheck : public std::enable_shared_from_this<TreeCheck> {
  public:
    TreeCheck(std::shared_ptr<MediaTree> tree, MediaMemory& memory,
              const std::shared_ptr<TaskPool>& pool);

    /// Looks at every folder and file, or, where all is watched, at those alone that something is
    /// said to have happened to.
    void begin(bool isWhole);

    /// Whether the notices have turned out not to be enough: a link to a file was made, of which
    /// only the one folder was told, so that it is to begin again with all.
    bool isWholeNeeded() const { return isWholeNeeded_; }

    /// Whether another path may be listed, or a file is to be read.
    bool isChanged() const { return areOtherPaths_ || isUnread_; }
    /// Whether a path that is listed now is another.
    bool areOtherPaths() const { return areOtherPaths_; }

    /// Lists the files of the tree in order, and which of them are to be read.
    void plan();
    const std::vector<MediaFileRef>& files() const { return files_; }
    std::size_t unreadCount() const { return unread_.size(); }

    /// Reads them, in order.
    void read();
    /// Whether what is known of the `index`th file of files() is so now.
    bool isRead(std::size_t index) const;
    /// Whether a file that was read had other texts before.
    bool areOtherTexts() const { return areOtherTexts_; }

    /// Takes note of how the tree now stands.
    void end();

  private:
    static constexpr std::size_t kBlock = 32;  // files that are read at a time

    void add(std::function<void()> task) const;
    void start(bool isWhole);
    bool takeNotices();
    bool areLooseAsKnown();
    void visit(MediaFolder& folder, bool isDeep);
    void check(MediaFolder& folder, bool isDeep);
    void lookInto(MediaFolder& folder, Descriptor descriptor, const struct stat& status);
    void recall(MediaFolder& folder, const FileIdentity& identity, int descriptor);
    void list(MediaFolder& folder, const FolderListing& listing);
    void drop(MediaFolder& folder);
    void watch(MediaFolder& folder, int descriptor);
    void unwatch(MediaFolder& folder);
    void unwatchAll(MediaFolder& folder);
    void lookAtFiles(MediaFolder& folder, int descriptor, std::size_t begin, std::size_t end);
    void lookAt(MediaFile& file, const char* name, int folder);
    void collect(MediaFolder& folder);
    void readBlock(std::size_t block);
    void readFile(const MediaFileRef& ref, int folder, QString& artistBefore);

    const std::shared_ptr<MediaTree> tree_;
    MediaMemory& memory_;
    const std::weak_ptr<TaskPool> pool_;
    Descriptor root_;
    qint64 begun_ = 0;  // of the steady clock
    std::atomic<bool> isWhole_ = false;
    std::atomic<bool> isWholeNeeded_ = false;
    std::atomic<bool> areOtherPaths_ = false;
    std::atomic<bool> isUnread_ = false;  // a file that is known is no more what it was
    std::atomic<bool> areOtherTexts_ = false;
    std::atomic<bool> isWatchable_ = true;
    std::mutex watchMutex_;  // of the tree's watches

    std::vector<MediaFileRef> files_;
    std::vector<std::size_t> unread_;              // their places in files_
    std::unique_ptr<std::atomic<bool>[]> isRead_;  // of each block of unread_
    std::atomic<std::size_t> nextBlock_ = 0;
};

}  // namespace platform
