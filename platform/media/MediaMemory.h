#pragma once

#include "platform/media/MediaTree.h"

#include <QHash>
#include <QSet>

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>

namespace platform {

class Store;

/// What all libraries of the program know of folders: one tree of each folder while a library has
/// it, and a store of them all for the next start. From any thread.
class MediaMemory {
  public:
    /// With the user's store; never taken down.
    static MediaMemory& ofUser();

    /// `store` must outlive it.
    explicit MediaMemory(Store& store);
    /// Ends once what was given back is in the store.
    ~MediaMemory();
    MediaMemory(const MediaMemory&) = delete;
    MediaMemory& operator=(const MediaMemory&) = delete;

    /// The tree of the folder at `path`, for one scan alone, which gives it back; a new one where
    /// none is known or another scan has it.
    std::shared_ptr<MediaTree> take(const QString& path, const QByteArrayList& suffixes);
    /// What is unsaved in the tree goes to the store by and by.
    void giveBack(const std::shared_ptr<MediaTree>& tree);

    /// Puts what the store knows of the folder of that identity into `folder`, which stays as it
    /// is where there is nothing. May wait for the disk.
    void recall(const FileIdentity& identity, const QByteArrayList& suffixes, MediaFolder& folder);

  private:
    void keep();
    bool keepSome(MediaTree& tree);

    Store& store_;
    std::once_flag isOpened_;
    QSet<QByteArray>
        known_;  // keys in the store when it was opened, or put since; under knownMutex_
    std::mutex knownMutex_;

    std::mutex mutex_;  // of what follows
    std::condition_variable changed_;
    QHash<QString, std::weak_ptr<MediaTree>> trees_;
    std::deque<std::weak_ptr<MediaTree>> unsaved_;
    bool isEnding_ = false;
    std::thread keeper_;
};

}  // namespace platform
