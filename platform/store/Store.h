#pragma once

#include <QByteArray>
#include <QString>

#include <memory>
#include <mutex>
#include <optional>
#include <vector>

struct sqlite3;

namespace platform {

/// Tables of byte keys to byte values in one file that can be deleted at any time: a memory of what
/// can be made again. From any thread; programs may share the file.
///
/// What comes out is what was put in under that key of that table, or nothing: each record carries
/// a checksum of its own over all three, so that neither damage nor foreign content is ever taken
/// for a value. The file is read and written, never mapped: one that is cut short under a running
/// program costs it what it held, never a signal. A kill at any write leaves the records of before
/// or those of after. A file that is damaged or no store of ours is replaced by an empty one.
/// Without a disk to write on, or while another program writes for long, nothing is found or kept.
///
/// It may wait for the disk: not for the main thread.
class Store {
  public:
    struct Record {
        QByteArray key;
        QByteArray value;
    };

    static constexpr qint64 kBound = qint64{512} << 20;

    /// The user's own, below the folder of caches as the environment named it at first use.
    static Store& userStore();

    /// The store in the file at `path`, which never grows beyond `bound` bytes (at least 64 KB):
    /// when it is full the oldest records go. The file, for its owner alone, and the folder that
    /// it stands in are made when they are needed.
    explicit Store(QString path, qint64 bound = kBound);
    ~Store();
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    /// The values under `keys` in `table` (ASCII letters), in that order; absent where there are
    /// none.
    std::vector<std::optional<QByteArray>> values(const QByteArray& table,
                                                  const std::vector<QByteArray>& keys);

    /// The keys of all records in `table`, in no order.
    std::vector<QByteArray> keys(const QByteArray& table);

    /// Keeps `records` in `table`, all or none, in place of what is under the same keys. Tells
    /// whether they are kept.
    bool put(const QByteArray& table, const std::vector<Record>& records);

  private:
    class Statement;

    bool open();
    int prepare();
    // SQLITE_ROW where there is such a table.
    int find(const QByteArray& table);
    void close();
    int number(const QByteArray& sql, qint64& number);
    // The result of `work`; `failure` where the file can't be used. Damage ends in an empty store.
    template <typename Result, typename Work>
    Result within(Result failure, const char* begin, const Work& work);
    int makeRoom(qint64 bytes);
    int dropOldest();

    const QString path_;
    const qint64 bound_;
    std::mutex mutex_;  // of what follows
    sqlite3* database_ = nullptr;
};

}  // namespace platform
