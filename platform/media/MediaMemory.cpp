#include "platform/media/MediaMemory.h"

#include "platform/media/FolderRecord.h"
#include "platform/store/Store.h"

#include <QCollator>
#include <QLocale>

#include <system_error>
#include <utility>

namespace platform {

namespace {

const QByteArray kTable = QByteArrayLiteral("folders");

QByteArray orderOf(const QByteArrayList& suffixes) {
    return QLocale().collation().name().toUtf8() + ' ' + suffixes.join(' ');
}

void collectUnsaved(MediaFolder& folder, std::size_t most, std::vector<MediaFolder*>& unsaved) {
    if (unsaved.size() >= most) return;
    if (folder.isUnsaved) unsaved.push_back(&folder);
    for (const auto& inner : folder.folders)
        collectUnsaved(*inner, most, unsaved);
}

}  // namespace

MediaMemory& MediaMemory::ofUser() {
    // A thread that waits for a disk may use it while the program ends.
    static MediaMemory& memory = *new MediaMemory(Store::userStore());
    return memory;
}

MediaMemory::MediaMemory(Store& store) : store_(store) {}

MediaMemory::~MediaMemory() {
    {
        const std::lock_guard lock(mutex_);
        isEnding_ = true;
        changed_.notify_all();
    }
    if (keeper_.joinable()) keeper_.join();
}

std::shared_ptr<MediaTree> MediaMemory::take(const QString& path, const QByteArrayList& suffixes) {
    std::unique_lock lock(mutex_);
    std::shared_ptr<MediaTree> tree = trees_.value(path).lock();
    // No disk is waited for: the memory makes a few records meanwhile.
    changed_.wait(lock, [&] { return !tree || tree->holder != MediaTree::Holder::Memory; });
    if (!tree || tree->holder == MediaTree::Holder::Scan || tree->suffixes != suffixes) {
        tree = std::make_shared<MediaTree>();
        tree->path = path;
        tree->suffixes = suffixes;
        trees_.removeIf([](const auto& known) { return known.value().expired(); });
        trees_.insert(path, tree);
    }
    tree->holder = MediaTree::Holder::Scan;
    return tree;
}

void MediaMemory::giveBack(const std::shared_ptr<MediaTree>& tree) {
    const std::lock_guard lock(mutex_);
    tree->holder = MediaTree::Holder::None;
    // Else the next key would wait for a look at every folder.
    if (tree->isUnsaved) unsaved_.push_back(tree);
    changed_.notify_all();
    if (!tree->isUnsaved || keeper_.joinable()) return;
    try {
        keeper_ = std::thread([this] { keep(); });
    } catch (const std::system_error&) {
        // The next start reads them anew.
    }
}

void MediaMemory::recall(const FileIdentity& identity, const QByteArrayList& suffixes,
                         MediaFolder& folder) {
    std::call_once(isOpened_, [this] {
        const std::lock_guard lock(knownMutex_);
        for (QByteArray& key : store_.keys(kTable))
            known_.insert(std::move(key));
    });
    const QByteArray key = recordKey(identity);
    {
        const std::lock_guard lock(knownMutex_);
        if (!known_.contains(key)) return;
    }
    if (const auto record = store_.values(kTable, {key})[0])
        readRecord(*record, orderOf(suffixes), folder);
}

void MediaMemory::keep() {
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return isEnding_ || !unsaved_.empty(); });
        if (unsaved_.empty()) return;
        const std::shared_ptr<MediaTree> tree = unsaved_.front().lock();
        if (!tree || tree->holder != MediaTree::Holder::None) {
            // A scan that has it gives it back.
            unsaved_.pop_front();
            continue;
        }
        tree->holder = MediaTree::Holder::Memory;
        lock.unlock();
        const bool isMoreLeft = keepSome(*tree);
        lock.lock();
        if (!isMoreLeft) unsaved_.pop_front();
    }
}

// Puts some of the tree's folders into the store and lets go of the tree before it waits for the
// disk; false when no more are left, or the store takes none.
bool MediaMemory::keepSome(MediaTree& tree) {
    constexpr std::size_t kAtOnce = 2000;  // folders
    std::vector<MediaFolder*> folders;
    collectUnsaved(tree.root, kAtOnce, folders);
    tree.isUnsaved = folders.size() == kAtOnce;
    std::vector<Store::Record> records;
    const QByteArray order = orderOf(tree.suffixes);
    for (MediaFolder* const folder : folders) {
        folder->isUnsaved = false;
        if (folder->identity != FileIdentity())
            records.push_back({recordKey(folder->identity), recordOf(*folder, order)});
    }
    {
        const std::lock_guard lock(mutex_);
        tree.holder = MediaTree::Holder::None;
        changed_.notify_all();
    }
    if (records.empty()) return false;
    if (!store_.put(kTable, records)) return false;
    const std::lock_guard lock(knownMutex_);
    for (const Store::Record& record : records)
        known_.insert(record.key);
    return folders.size() == kAtOnce;
}

}  // namespace platform
