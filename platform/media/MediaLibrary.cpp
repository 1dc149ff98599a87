#include "platform/media/MediaLibrary.h"

#include "platform/foundation/Path.h"
#include "platform/media/TaskPool.h"
#include "platform/media/TreeCheck.h"

#include <atomic>
#include <chrono>
#include <utility>

namespace platform {

namespace {

quint64 nextVersion() {
    static std::atomic<quint64> version = 0;
    return ++version;
}

bool isRecent(const MediaTree& tree) {
    constexpr std::chrono::seconds kRecent(3);
    const std::chrono::nanoseconds now = std::chrono::steady_clock::now().time_since_epoch();
    // An empty folder is soon looked at.
    return tree.fileCount > 0 && now - std::chrono::nanoseconds(tree.checked) < kRecent;
}

std::optional<QString> tagText(const QString& text) {
    return text.isNull() ? std::nullopt : std::optional(text);
}

}  // namespace

MediaLibrary::MediaLibrary(QByteArrayList suffixes, MediaMemory& memory)
    : suffixes_(std::move(suffixes)), memory_(memory) {}

MediaScan MediaLibrary::scan(const QString& path, Proof proof, TaskPool::Waiting waiting) {
    // The one before stays until this is known not to be of the same folder.
    auto tree = memory_.take(path, suffixes_);
    tree_ = tree;
    return MediaScan(memory_, std::move(tree), proof == Proof::Status, std::move(waiting));
}

MediaScan::MediaScan(MediaMemory& memory, std::shared_ptr<MediaTree> tree, bool isWhole,
                     TaskPool::Waiting waiting)
    : memory_(memory),
      tree_(std::move(tree)),
      pool_(std::make_shared<TaskPool>(std::move(waiting))),
      check_(std::make_shared<TreeCheck>(tree_, memory, pool_)) {
    look(isWhole);
    if (!isGivenUp_) return;
    // The folders that are still being looked at are left out.
    if (!isPlanned_) check_->plan();
    isPlanned_ = true;
    tree_->version = nextVersion();
}

void MediaScan::look(bool isWhole) {
    // More than these take a time that the progress bar should show.
    constexpr std::size_t kFew = 64;
    const auto forAll = [] { return false; };
    if (isWhole || tree_->watch || !isRecent(*tree_)) {
        check_->begin(isWhole || !tree_->watch);
        wait(forAll);
        if (check_->isWholeNeeded()) {
            check_->begin(true);
            wait(forAll);
        }
        if (isGivenUp_) return;
    }
    bool isOther = tree_->version == 0 || check_->areOtherPaths();
    if (check_->isChanged()) {
        check_->plan();
        isPlanned_ = true;
        check_->read();
        const bool areMany = check_->unreadCount() > kFew;
        if (!isOther && !areMany) wait(forAll);
        isOther = isOther || areMany || check_->areOtherTexts();
    }
    if (isOther) tree_->version = nextVersion();
}

MediaScan::~MediaScan() {
    // What still waits for its disk keeps the tree for itself.
    if (!wait([] { return false; })) return;
    check_->end();
    memory_.giveBack(tree_);
}

// The one place where the caller, the main thread, waits for a disk: for the listing and the looks
// at files, until no task is left; for the texts of a file, until its block is read. All that asks
// the disk is tasks of the pool, which hold all that they touch: whoever gives up here may leave
// the pool, the check and the tree behind, and not give the tree back.
bool MediaScan::wait(const std::function<bool()>& isDone) {
    if (isGivenUp_ || pool_->wait(isDone)) return !isGivenUp_;
    isGivenUp_ = true;
    pool_->close();
    return false;
}

std::size_t MediaScan::size() const {
    return isPlanned_ ? check_->files().size() : tree_->fileCount;
}

quint64 MediaScan::version() const {
    return tree_->version;
}

const MediaFileRef& MediaScan::file(std::size_t index) {
    if (!isPlanned_) check_->plan();
    isPlanned_ = true;
    return check_->files()[index];
}

QString MediaScan::path(std::size_t index) {
    const MediaFileRef& ref = file(index);
    if (ref.folder != prefixFolder_) {
        prefixFolder_ = ref.folder;
        prefix_ = tree_->path + QLatin1Char('/');
        if (!ref.folder->path.isEmpty())
            prefix_ += stringWithFileSystemRepresentation(ref.folder->path) + QLatin1Char('/');
    }
    return prefix_ + stringWithFileSystemRepresentation(ref.name());
}

Tags MediaScan::tags(std::size_t index) {
    const MediaFileRef& ref = file(index);
    Tags tags;
    if (!check_->isRead(index)) wait([&] { return check_->isRead(index); });
    if (!check_->isRead(index)) return tags;
    tags.title = tagText(ref.file().title);
    tags.artist = tagText(ref.file().artist);
    return tags;
}

}  // namespace platform
