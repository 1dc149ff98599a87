#include "platform/foundation/Path.h"
#include "platform/media/MediaLibrary.h"
#include "platform/store/Store.h"
#include "tests/platform/foundation/TestFiles.h"
#include "tests/platform/media/TagBytes.h"

#include <QTemporaryDir>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>

namespace platform {
namespace {

namespace fs = std::filesystem;
using Proof = MediaLibrary::Proof;

QStringList contentOf(MediaScan&& scan) {
    QStringList content;
    for (std::size_t i = 0; i < scan.size(); ++i) {
        const Tags tags = scan.tags(i);
        content += scan.path(i) + QLatin1Char('|') + tags.title.value_or(QStringLiteral("(none)"));
    }
    return content;
}

// A folder of songs to which everything happens that can happen to files. A library is asked for
// it after each step, by either proof, and one that knows nothing as well.
class ChangingFolder : public testing::Test {
  protected:
    ChangingFolder() : random_(seed()) {
        RecordProperty("seed", std::to_string(seed()));
        std::cout << "seed " << seed() << '\n';
        for (int i = 0; i < 300; ++i)
            write(root_ / ("album " + std::to_string(i / 20)) / name());
        fs::create_directories(root_ / "mounted");
        fs::create_directories(outside_);
        // Mounts are this program's alone then, where it may make any.
        mayMount_ = ::unshare(CLONE_NEWNS) == 0 &&
                    ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
        start();
    }
    ~ChangingFolder() override {
        unmount();
        fs::permissions(root_, fs::perms::owner_all);
    }

    static unsigned seed() {
        static const unsigned seed = std::getenv("PAIRDECK_SEED")
                                         ? unsigned(std::stoul(std::getenv("PAIRDECK_SEED")))
                                         : std::random_device()();
        return seed;
    }
    int below(std::size_t bound) { return static_cast<int>(random_() % bound); }

    // As a program does that starts with the store that the one before has left.
    void start() {
        other_.reset();
        library_.reset();
        memory_.reset();
        store_ = std::make_unique<Store>(storePath_);
        memory_ = std::make_unique<MediaMemory>(*store_);
        library_ = std::make_unique<MediaLibrary>(QByteArrayList{".mp3"}, *memory_);
        other_ = std::make_unique<MediaLibrary>(QByteArrayList{".mp3"}, *memory_);
    }

    std::string name() { return std::to_string(below(40)) + ".mp3"; }
    void write(const fs::path& path) {
        std::error_code ignored;
        fs::create_directories(path.parent_path(), ignored);
        const QByteArray title = "Title " + QByteArray::number(++titles_).rightJustified(8, '0');
        const QByteArray tag = id3Tag(4, id3Frame(4, "TIT2", encoded(3, title)));
        std::ofstream(path, std::ios::binary).write(tag.constData(), tag.size());
    }
    fs::path anyOf(bool isFolder, const fs::path& top) {
        std::vector<fs::path> found;
        for (const auto& entry :
             fs::recursive_directory_iterator(top, fs::directory_options::skip_permission_denied)) {
            const bool isFile = entry.is_symlink() || entry.is_regular_file();
            const bool isOne = isFolder ? !isFile && entry.is_directory() : isFile;
            if (isOne && entry.path() != mount_) found.push_back(entry.path());
        }
        // Most of what happens, happens in a few places; the rest comes to rest meanwhile.
        const std::size_t few = below(4) == 0 ? found.size() : std::min(found.size(), size_t{12});
        if (found.empty()) return isFolder ? top : top / "none.mp3";
        return found[std::size_t(below(few))];
    }
    void unmount() {
        if (!mount_.empty()) ::umount2(mount_.c_str(), MNT_DETACH);
        mount_.clear();
    }
    void retag(const fs::path& file) {
        struct stat status = {};
        if (::stat(file.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return;
        write(file);
        const timespec times[] = {status.st_atim, status.st_mtim};
        ::utimensat(AT_FDCWD, file.c_str(), times, 0);
    }

    // False when the next look must come before the next step: a link that is made to a file and
    // moved out of sight with nobody looking is not noticed.
    bool step() {
        const int kind = below(15);
        change(kind);
        return kind != 10;
    }

    void change(int kind) {
        std::error_code ignored;
        const fs::path file = anyOf(false, root_);
        const fs::path folder = anyOf(true, root_);
        const fs::path another = anyOf(false, below(5) == 0 ? outside_ : root_);
        switch (kind) {
            case 0:
                return write(folder / name());
            case 1:
                fs::remove(file, ignored);
                return write(file.parent_path() / name());
            case 2:
                fs::rename(file, folder / name(), ignored);
                return;
            case 3:
            case 4:
                return retag(file);
            case 5:  // replaced by another inode
                write(root_ / "new");
                return fs::rename(root_ / "new", file, ignored);
            case 6:
                if (folder != root_) fs::rename(folder, outside_ / name(), ignored);
                return;
            case 7:
                if (const fs::path back = anyOf(true, outside_); back != outside_)
                    fs::rename(back, folder / name(), ignored);
                return;
            case 8:  // two change their names
                fs::rename(file, root_ / "swapped", ignored);
                fs::rename(another, file, ignored);
                return fs::rename(root_ / "swapped", another, ignored);
            case 9:
                fs::remove(file, ignored);
                return fs::create_symlink(another, file, ignored);
            case 10:
                fs::remove(folder / "hard.mp3", ignored);
                return fs::create_hard_link(another, folder / "hard.mp3", ignored);
            case 11:
                return fs::permissions(file, fs::perms(below(2) == 0 ? 0 : 0600), ignored);
            case 12:
                return fs::permissions(folder, fs::perms(below(4) == 0 ? 0 : 0700), ignored);
            case 13:
                if (!mount_.empty()) return unmount();
                if (!mayMount_ || ::mount("none", (root_ / "mounted").c_str(), "tmpfs", 0, ""))
                    return;
                mount_ = root_ / "mounted";
                return write(mount_ / name());
            default:  // through a link to it
                return retag(another);
        }
    }

    QTemporaryDir folder_;
    const fs::path root_ = fs::path(folder_.path().toStdString()) / "root";
    const fs::path outside_ = fs::path(folder_.path().toStdString()) / "outside";
    const QString storePath_ = folder_.filePath(QStringLiteral("store"));
    std::mt19937 random_;
    int titles_ = 0;
    bool mayMount_ = false;
    fs::path mount_;
    std::unique_ptr<Store> store_;
    std::unique_ptr<MediaMemory> memory_;
    std::unique_ptr<MediaLibrary> library_;
    std::unique_ptr<MediaLibrary> other_;
};

TEST_F(ChangingFolder, IsAlwaysWhatReadingItAnewWouldShow) {
    const char* const wanted = std::getenv("PAIRDECK_STEPS");
    const int steps = wanted ? std::atoi(wanted) : 600;
    const QString path = QString::fromStdString(root_.string());
    for (int i = 0; i < steps; ++i) {
        while (step() && below(3) != 0) {
        }
        if (below(60) == 0) start();
        Store empty(folder_.filePath(QStringLiteral("empty/%1").arg(i)));
        MediaMemory none(empty);
        MediaLibrary newcomer({".mp3"}, none);
        const Proof proof = below(2) == 0 ? Proof::Status : Proof::Notice;
        MediaLibrary& library = below(4) == 0 ? *other_ : *library_;
        const QStringList content = contentOf(library.scan(path, proof));
        ASSERT_EQ(content, contentOf(newcomer.scan(path, Proof::Status)))
            << "step " << i << (proof == Proof::Status ? " by status" : " by notices");
        // And nothing has happened since.
        const quint64 version = library.scan(path, Proof::Notice).version();
        EXPECT_EQ(library.scan(path, Proof::Notice).version(), version);
        QFile::remove(folder_.filePath(QStringLiteral("empty/%1").arg(i)));
    }
}

}  // namespace
}  // namespace platform
