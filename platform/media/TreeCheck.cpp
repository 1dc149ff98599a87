#include "platform/media/TreeCheck.h"

#include "platform/foundation/Path.h"
#include "platform/media/TagReader.h"

#include <QHash>
#include <QSet>

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <optional>
#include <utility>

namespace platform {

namespace {

using Kind = FolderListing::Kind;

template <typename Clock>
qint64 nanosecondsOf() {
    return std::chrono::nanoseconds(Clock::now().time_since_epoch()).count();
}

bool isSameFolder(const FileIdentity& left, const FileIdentity& right) {
    return left.device == right.device && left.inode == right.inode;
}

bool hasContent(Kind kind) {
    return kind == Kind::Regular || kind == Kind::Link;
}

bool hasOtherNames(int folder, const char* name) {
    struct stat status = {};
    return ::fstatat(folder, name, &status, 0) == 0 && status.st_nlink > 1;
}

QString textOf(const std::optional<QString>& text) {
    if (!text) return {};
    return text->isNull() ? QStringLiteral("") : *text;
}

}  // namespace

TreeCheck::TreeCheck(std::shared_ptr<MediaTree> tree, MediaMemory& memory,
                     const std::shared_ptr<TaskPool>& pool)
    : tree_(std::move(tree)),
      memory_(memory),
      pool_(pool),
      begun_(nanosecondsOf<std::chrono::steady_clock>()) {}

void TreeCheck::add(std::function<void()> task) const {
    if (const auto pool = pool_.lock()) pool->add(std::move(task));
}

void TreeCheck::begin(bool isWhole) {
    add([self = shared_from_this(), isWhole] { self->start(isWhole); });
}

void TreeCheck::start(bool isWhole) {
    root_ = Descriptor(::open(fileSystemRepresentation(tree_->path).constData(),
                              O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct stat status = {};
    const bool isRootKnown = root_ && ::fstat(root_.number(), &status) == 0 &&
                             isSameFolder(FileIdentity::of(status), tree_->root.identity);
    // The notices count even when all is looked at: a file may be written twice within a moment.
    const bool areNoticesComplete = tree_->watch && takeNotices();
    isWhole_ = isWhole || !isRootKnown || !areNoticesComplete || !areLooseAsKnown();
    if (const auto pool = pool_.lock(); pool && root_) {
        // A disk of our own does several things at a time; where all of it is in memory, and the
        // processors are what is short, more threads than these do harm.
        constexpr unsigned kAtOurDisk = 8;
        constexpr unsigned kFarAway = 16;
        pool->allow(FolderWatch::isLocal(root_.number()) ? kAtOurDisk : kFarAway);
    }
    if (!tree_->watch && tree_->isWatchable) tree_->watch = std::make_unique<FolderWatch>();
    visit(tree_->root, isWhole_);
}

// What the notices are of is marked; false when some may be missing.
bool TreeCheck::takeNotices() {
    QHash<MediaFolder*, QSet<QByteArray>> touched;
    const bool isComplete = tree_->watch->takeNotices([&](const FolderWatch::Notice& notice) {
        const auto number = static_cast<std::size_t>(notice.watch);
        if (number >= tree_->watchedFolders.size() || !tree_->watchedFolders[number]) return;
        MediaFolder* const folder = tree_->watchedFolders[number];
        if (notice.isOver) {
            tree_->watchedFolders[number] = nullptr;
            folder->watch = 0;
        }
        folder->isDirty = true;
        QSet<QByteArray>& names = touched[folder];
        if (!notice.name.isEmpty()) names.insert(notice.name.toByteArray());
    });
    for (auto it = touched.cbegin(); it != touched.cend(); ++it) {
        MediaFolder& folder = *it.key();
        for (const MediaFolder::Entry& entry : folder.entries) {
            const char* const name = folder.nameOf(entry);
            if (!it.value().contains(QByteArray::fromRawData(name, qsizetype(qstrlen(name)))))
                continue;
            if (entry.file >= 0) {
                // It may be another one.
                MediaFile& file = folder.files[std::size_t(entry.file)];
                file.isProven = file.isLoose = false;
            }
            if (entry.folder >= 0) folder.folders[std::size_t(entry.folder)]->isDeepDirty = true;
        }
    }
    return isComplete;
}

// Looks at the files that the notices don't tell of; false where that is as much work as all.
bool TreeCheck::areLooseAsKnown() {
    constexpr std::size_t kMost = 1000;
    if (tree_->loose.size() > kMost) return false;
    for (const MediaFileRef& ref : tree_->loose) {
        const Descriptor folder = openFolder(root_.number(), ref.folder->path);
        lookAt(ref.file(), ref.name(), folder.number());
    }
    return true;
}

void TreeCheck::visit(MediaFolder& folder, bool isDeep) {
    isDeep = isDeep || folder.isDeepDirty || folder.identity == FileIdentity();
    if (isDeep || folder.isDirty) {
        ++folder.visitors;
        add([self = shared_from_this(), &folder, isDeep] { self->check(folder, isDeep); });
        return;
    }
    for (const auto& inner : folder.folders)
        visit(*inner, false);
}

void TreeCheck::check(MediaFolder& folder, bool isDeep) {
    Descriptor descriptor = openFolder(root_.number(), folder.path);
    struct stat status = {};
    if (descriptor && ::fstat(descriptor.number(), &status) == 0)
        lookInto(folder, std::move(descriptor), status);
    else
        drop(folder);
    folder.isDirty = folder.isDeepDirty = false;
    // The first one is then taken first.
    for (std::size_t left = folder.folders.size(); left > 0; --left)
        visit(*folder.folders[left - 1], isDeep);
    --folder.visitors;
}

void TreeCheck::lookInto(MediaFolder& folder, Descriptor descriptor, const struct stat& status) {
    const FileIdentity identity = FileIdentity::of(status);
    const qint64 now = nanosecondsOf<std::chrono::system_clock>();
    if (!isSameFolder(identity, folder.identity)) {
        unwatch(folder);
        recall(folder, identity, descriptor.number());
    }
    // First of all, so that nothing happens unseen between this and what follows.
    watch(folder, descriptor.number());
    const bool isAsListed =
        folder.isListed && folder.isLocal && !folder.isDirty && folder.identity == identity;
    const bool wasListed = folder.isListed;
    bool isOther = folder.identity != identity;
    if (!isAsListed) {
        const FolderListing listing(descriptor.number());
        const bool isSame = folder.fingerprint == listing.fingerprint() && listing.isWhole();
        if (!isSame || folder.identity == FileIdentity()) list(folder, listing);
        folder.fingerprint = listing.fingerprint();
        folder.isListed = listing.isWhole() && identity.isSettled(now);
        isOther = isOther || !isSame || folder.isListed != wasListed;
    }
    if (isOther) folder.isUnsaved = tree_->isUnsaved = true;
    folder.identity = identity;
    // Several at a time where there are many: each may take a way to another machine and back.
    constexpr std::size_t kTogether = 64;
    const std::size_t count = folder.entries.size();
    const auto shared = std::make_shared<const Descriptor>(std::move(descriptor));
    for (std::size_t begin = kTogether; begin < count; begin += kTogether) {
        ++folder.visitors;
        add([self = shared_from_this(), &folder, shared, begin,
             end = std::min(begin + kTogether, count)] {
            self->lookAtFiles(folder, shared->number(), begin, end);
            --folder.visitors;
        });
    }
    lookAtFiles(folder, shared->number(), 0, std::min(kTogether, count));
}

// Another folder than before stands here, perhaps one that the store knows.
void TreeCheck::recall(MediaFolder& folder, const FileIdentity& identity, int descriptor) {
    folder.isLocal = FolderWatch::isLocal(descriptor);
    folder.isListed = false;
    if (folder.identity != FileIdentity()) return;
    memory_.recall(identity, tree_->suffixes, folder);
    if (!folder.entries.empty()) areOtherPaths_ = true;
}

void TreeCheck::list(MediaFolder& folder, const FolderListing& listing) {
    const auto isAskedFor = [this](const FolderListing::Entry& entry) {
        return std::any_of(tree_->suffixes.begin(), tree_->suffixes.end(),
                           [&](const QByteArray& suffix) { return entry.name.endsWith(suffix); });
    };
    const auto entries = listing.sorted([&](const FolderListing::Entry& entry) {
        return entry.kind == Kind::Folder || isAskedFor(entry);
    });
    // What was known by these names.
    QHash<QByteArrayView, const MediaFolder::Entry*> before;
    before.reserve(qsizetype(folder.entries.size()));
    for (const MediaFolder::Entry& entry : folder.entries)
        before.insert(folder.nameOf(entry), &entry);
    MediaFolder now;
    qsizetype length = 0;
    for (const FolderListing::Entry& entry : entries)
        length += entry.name.size() + 1;
    now.names.reserve(length);
    now.entries.reserve(entries.size());
    now.files.reserve(
        static_cast<std::size_t>(std::count_if(entries.begin(), entries.end(), isAskedFor)));
    bool isSame = entries.size() == folder.entries.size();
    for (const FolderListing::Entry& entry : entries) {
        const MediaFolder::Entry* const old = before.value(entry.name);
        MediaFolder::Entry& made = now.entries.emplace_back();
        isSame = isSame && old == &folder.entries[now.entries.size() - 1];
        made.name = static_cast<quint32>(now.names.size());
        now.names.append(entry.name).append('\0');
        if (isAskedFor(entry)) {
            made.file = static_cast<qint32>(now.files.size());
            MediaFile& file = now.files.emplace_back();
            MediaFile* const known =
                old && old->file >= 0 ? &folder.files[std::size_t(old->file)] : nullptr;
            const bool isSameKind = known && known->kind == entry.kind;
            isSame = isSame && isSameKind;
            if (isSameKind) file = std::move(*known);
            file.kind = entry.kind;
            // What is neither a file nor a link to one has no tags.
            file.isProven = file.isProven || !hasContent(entry.kind);
        }
        if (entry.kind != Kind::Folder) continue;
        made.folder = static_cast<qint32>(now.folders.size());
        if (old && old->folder >= 0) {
            now.folders.push_back(std::move(folder.folders[std::size_t(old->folder)]));
        } else {
            now.folders.push_back(std::make_unique<MediaFolder>());
            const QByteArray name = entry.name.toByteArray();
            now.folders.back()->path = folder.path.isEmpty() ? name : folder.path + '/' + name;
        }
    }
    if (!isSame) areOtherPaths_ = true;
    for (const auto& left : folder.folders)
        if (left) unwatchAll(*left);
    folder.names = std::move(now.names);
    folder.entries = std::move(now.entries);
    folder.files = std::move(now.files);
    folder.folders = std::move(now.folders);
}

// There is no such folder, or none that may be read.
void TreeCheck::drop(MediaFolder& folder) {
    if (!folder.entries.empty()) areOtherPaths_ = true;
    unwatchAll(folder);
    folder.identity = {};
    folder.fingerprint = 0;
    folder.isListed = false;
    folder.names.clear();
    folder.entries.clear();
    folder.files.clear();
    folder.folders.clear();
}

void TreeCheck::watch(MediaFolder& folder, int descriptor) {
    if (!tree_->watch || !isWatchable_ || folder.watch > 0) return;
    const std::lock_guard lock(watchMutex_);
    folder.watch = folder.isLocal ? tree_->watch->add(descriptor) : -1;
    if (folder.watch < 0) isWatchable_ = false;
    if (folder.watch <= 0) return;
    const auto number = static_cast<std::size_t>(folder.watch);
    if (number >= tree_->watchedFolders.size()) tree_->watchedFolders.resize(number + 1);
    // Another one that was moved here, and is not known to be gone yet, or is the same for good.
    if (tree_->watchedFolders[number]) ++tree_->sharedWatches;
    tree_->watchedFolders[number] = &folder;
}

void TreeCheck::unwatch(MediaFolder& folder) {
    if (folder.watch <= 0) return;
    const std::lock_guard lock(watchMutex_);
    if (!tree_->watch) return;
    MediaFolder*& holder = tree_->watchedFolders[static_cast<std::size_t>(folder.watch)];
    if (holder == &folder) {
        tree_->watch->remove(folder.watch);
        holder = nullptr;
    } else {
        --tree_->sharedWatches;
    }
    folder.watch = 0;
}

void TreeCheck::unwatchAll(MediaFolder& folder) {
    unwatch(folder);
    for (const auto& inner : folder.folders)
        unwatchAll(*inner);
}

void TreeCheck::lookAtFiles(MediaFolder& folder, int descriptor, std::size_t begin,
                            std::size_t end) {
    for (std::size_t i = begin; i < end; ++i) {
        const MediaFolder::Entry& entry = folder.entries[i];
        if (entry.file < 0) continue;
        MediaFile& file = folder.files[std::size_t(entry.file)];
        lookAt(file, folder.nameOf(entry), descriptor);
        // Each may take its time, and they are too many to tell of each.
        if (const auto pool = i % 8 == 0 ? pool_.lock() : nullptr) pool->noteProgress();
    }
}

void TreeCheck::lookAt(MediaFile& file, const char* name, int folder) {
    if (!hasContent(file.kind)) return;
    if (file.isProven) {
        struct stat status = {};
        const bool isThere = ::fstatat(folder, name, &status, 0) == 0;
        file.isProven = (isThere ? FileIdentity::of(status) : FileIdentity()) == file.identity;
    }
    if (file.isProven) return;
    file.isUnread = true;
    isUnread_ = true;
    // Its folder alone was told that it got this name, and not that of the other one.
    if (!isWhole_ && !file.isLoose && hasOtherNames(folder, name)) isWholeNeeded_ = true;
}

void TreeCheck::plan() {
    files_.clear();
    files_.reserve(tree_->fileCount);
    collect(tree_->root);
    files_.shrink_to_fit();
    if (!isChanged()) return;
    for (std::size_t i = 0; i < files_.size(); ++i)
        if (files_[i].file().isUnread) unread_.push_back(i);
    isRead_ = std::make_unique<std::atomic<bool>[]>(unread_.size() / kBlock + 1);
}

// A folder before its content.
void TreeCheck::collect(MediaFolder& folder) {
    // One that a task is still at work in was left behind with it.
    if (folder.visitors > 0) return;
    for (std::size_t i = 0; i < folder.entries.size(); ++i) {
        const MediaFolder::Entry& entry = folder.entries[i];
        if (entry.file >= 0) files_.push_back({&folder, i});
        if (entry.folder >= 0) collect(*folder.folders[std::size_t(entry.folder)]);
    }
}

void TreeCheck::read() {
    const std::size_t blocks = (unread_.size() + kBlock - 1) / kBlock;
    // As many as there may be threads: each takes the next block until none is left.
    constexpr std::size_t kReaders = 16;
    for (std::size_t i = 0; i < std::min(blocks, kReaders); ++i) {
        add([self = shared_from_this(), blocks] {
            for (std::size_t block = 0; (block = self->nextBlock_++) < blocks;)
                self->readBlock(block);
        });
    }
}

bool TreeCheck::isRead(std::size_t index) const {
    const auto place = std::lower_bound(unread_.begin(), unread_.end(), index);
    if (place == unread_.end() || *place != index) return true;
    return isRead_[static_cast<std::size_t>(place - unread_.begin()) / kBlock];
}

void TreeCheck::readBlock(std::size_t block) {
    const std::size_t end = std::min((block + 1) * kBlock, unread_.size());
    const MediaFolder* open = nullptr;
    Descriptor descriptor;
    QString artist;
    for (std::size_t i = block * kBlock; i < end; ++i) {
        const MediaFileRef& ref = files_[unread_[i]];
        if (open != ref.folder) {
            open = ref.folder;
            descriptor = openFolder(root_.number(), ref.folder->path);
        }
        readFile(ref, descriptor.number(), artist);
    }
    isRead_[block] = true;
    if (const auto pool = pool_.lock()) pool->tell();
}

void TreeCheck::readFile(const MediaFileRef& ref, int folder, QString& artistBefore) {
    const char* const name = ref.name();
    MediaFile& file = ref.file();
    const qint64 now = nanosecondsOf<std::chrono::system_clock>();
    struct stat status = {};
    Tags tags;
    FileIdentity identity;
    bool isProven = false;
    if (auto reader = ByteReader::open(folder, name, status)) {
        tags = tagsOf(*reader);
        identity = FileIdentity::of(status);
        isProven = !reader->hasFailed();
    } else {
        // A disk that fails now may not fail the next time.
        const bool isRefused = errno == EACCES;
        if (::fstatat(folder, name, &status, 0) == 0) {
            identity = FileIdentity::of(status);
            isProven = isRefused || !S_ISREG(status.st_mode);
        } else {
            isProven = errno == ENOENT || errno == ELOOP || errno == ENOTDIR || errno == EACCES;
        }
    }
    const QString title = textOf(tags.title);
    QString artist = textOf(tags.artist);
    // An album's songs share its text.
    if (artist == artistBefore && artist.isNull() == artistBefore.isNull()) artist = artistBefore;
    artistBefore = artist;
    isProven = isProven && (identity == FileIdentity() || identity.isSettled(now));
    const bool isOther = title != file.title || title.isNull() != file.title.isNull() ||
                         artist != file.artist || artist.isNull() != file.artist.isNull();
    if (isOther) areOtherTexts_ = true;
    if (isOther || identity != file.identity || isProven)
        ref.folder->isUnsaved = tree_->isUnsaved = true;
    file.identity = identity;
    file.title = title;
    file.artist = artist;
    file.isProven = isProven;
    file.isUnread = false;
    file.isLoose = file.kind == Kind::Link || status.st_nlink > 1;
    if (const auto pool = pool_.lock()) pool->noteProgress();
}

void TreeCheck::end() {
    if (isChanged()) {
        tree_->fileCount = files_.size();
        tree_->loose.clear();
        for (const MediaFileRef& ref : files_)
            if (ref.file().isLoose) tree_->loose.push_back(ref);
    }
    if (!isWatchable_ || tree_->sharedWatches > 0 || tree_->root.watch <= 0) {
        tree_->isWatchable = tree_->isWatchable && isWatchable_ && tree_->sharedWatches == 0;
        tree_->watch.reset();
        tree_->watchedFolders.clear();
    }
    if (isWhole_) tree_->checked = begun_;
}

}  // namespace platform
