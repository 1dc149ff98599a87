#include "platform/store/Store.h"

#include "platform/foundation/ConfigurationFolder.h"
#include "platform/foundation/Path.h"

#include <QDir>

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace platform {

namespace {

constexpr int kPage = 4096;  // bytes
constexpr int kApplication = 0x50644B31;
// Another one for another layout: the file is then replaced.
constexpr int kLayout = 1;
// How long another program's writing is waited for, in milliseconds.
constexpr int kPatience = 250;

// FNV-1a, 64 bits (IETF draft-eastlake-fnv): every single change of a byte changes it.
class Checksum {
  public:
    Checksum& add(QByteArrayView bytes) {
        // The length goes first, so that bytes can't move from one piece to the next.
        addByte(static_cast<quint64>(bytes.size()));
        for (const char byte : bytes)
            addByte(static_cast<unsigned char>(byte));
        return *this;
    }
    QByteArray bytes() const {
        QByteArray bytes(sizeof sum_, Qt::Uninitialized);
        for (qsizetype i = 0; i < bytes.size(); ++i)
            bytes[i] = static_cast<char>(sum_ >> (8 * i));
        return bytes;
    }

  private:
    void addByte(quint64 byte) { sum_ = (sum_ ^ byte) * 0x100000001B3; }
    quint64 sum_ = 0xCBF29CE484222325;
};

QByteArray checksum(const QByteArray& table, QByteArrayView key, QByteArrayView value) {
    return Checksum().add(table).add(key).add(value).bytes();
}

bool isDamage(int result) {
    const int kind = result & 0xFF;
    return kind == SQLITE_CORRUPT || kind == SQLITE_NOTADB || kind == SQLITE_FORMAT;
}

bool succeeded(int result) {
    return result == SQLITE_OK || result == SQLITE_DONE || result == SQLITE_ROW;
}

int run(sqlite3* database, const QByteArray& sql) {
    return sqlite3_exec(database, sql.constData(), nullptr, nullptr, nullptr);
}

// Makes the file for its owner alone where there is none. False for what is no plain file, which is
// left alone.
bool makeFile(const QByteArray& path) {
    const QByteArray folder = path.first(path.lastIndexOf('/'));
    QDir().mkpath(stringWithFileSystemRepresentation(folder.first(folder.lastIndexOf('/'))));
    ::mkdir(folder.constData(), 0700);
    const int file =
        ::open(path.constData(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, 0600);
    if (file < 0) return false;
    struct stat status = {};
    const bool isPlain = ::fstat(file, &status) == 0 && S_ISREG(status.st_mode);
    ::close(file);
    return isPlain;
}

// The journal first: without it a damaged file stays one, while the journal of a file that is gone
// could be taken for that of the next.
void removeFile(const QByteArray& path) {
    ::unlink((path + "-journal").constData());
    ::unlink(path.constData());
}

}  // namespace

class Store::Statement {
  public:
    Statement(sqlite3* database, const QByteArray& sql) {
        result_ =
            sqlite3_prepare_v2(database, sql.constData(), int(sql.size()), &statement_, nullptr);
    }
    ~Statement() { sqlite3_finalize(statement_); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    // Ends the last search; the bytes must outlive the next.
    void bind(int place, const QByteArray& bytes) const {
        sqlite3_reset(statement_);
        sqlite3_bind_blob64(statement_, place, bytes.constData(), sqlite3_uint64(bytes.size()),
                            SQLITE_STATIC);
    }
    // Starts anew and goes to the first row: SQLITE_ROW, or SQLITE_DONE without one.
    int first() {
        if (result_ != SQLITE_OK) return result_;
        sqlite3_reset(statement_);
        return next();
    }
    int next() const { return sqlite3_step(statement_); }
    QByteArrayView blob(int column) const {
        const void* const bytes = sqlite3_column_blob(statement_, column);
        return {static_cast<const char*>(bytes), sqlite3_column_bytes(statement_, column)};
    }
    // The first number of the row.
    qint64 number() const { return sqlite3_column_int64(statement_, 0); }

  private:
    sqlite3_stmt* statement_ = nullptr;
    int result_ = SQLITE_OK;
};

Store& Store::userStore() {
    // Never taken down: a thread that waits for a disk may use it while the program ends.
    static Store& store = *new Store(cacheFolder() + QLatin1String("/com.ovrelin.Pairdeck/store"));
    return store;
}

Store::Store(QString path, qint64 bound) : path_(std::move(path)), bound_(bound) {}

Store::~Store() {
    close();
}

void Store::close() {
    sqlite3_close(std::exchange(database_, nullptr));
}

bool Store::open() {
    if (database_) return true;
    const QByteArray path = fileSystemRepresentation(path_);
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (!makeFile(path)) return false;
        const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_NOFOLLOW;
        int result = sqlite3_open_v2(path.constData(), &database_, flags, nullptr);
        if (result == SQLITE_OK) result = prepare();
        if (result == SQLITE_OK) return true;
        close();
        if (!isDamage(result)) return false;
        removeFile(path);
    }
    return false;
}

int Store::prepare() {
    sqlite3_extended_result_codes(database_, 1);
    sqlite3_busy_timeout(database_, kPatience);
    // Nothing is flushed: what a crash of the whole machine leaves is found out by the checksums
    // and the checks of the pages, and made again.
    int result = run(database_,
                     "PRAGMA trusted_schema=OFF; PRAGMA cell_size_check=ON;"
                     "PRAGMA mmap_size=0; PRAGMA cache_size=-1024;"
                     "PRAGMA page_size=" +
                         QByteArray::number(kPage) +
                         "; PRAGMA max_page_count=" + QByteArray::number(bound_ / kPage) +
                         "; PRAGMA journal_mode=TRUNCATE; PRAGMA synchronous=OFF;");
    qint64 pages = 0;
    if (result == SQLITE_OK) result = number("PRAGMA page_count", pages);
    // Both at once, as another program may be looking.
    if (result == SQLITE_OK && pages == 0) {
        result = run(database_,
                     "BEGIN IMMEDIATE; PRAGMA application_id=" + QByteArray::number(kApplication) +
                         "; PRAGMA user_version=" + QByteArray::number(kLayout) + "; COMMIT;");
    }
    qint64 application = 0;
    qint64 layout = 0;
    if (result == SQLITE_OK) result = number("PRAGMA application_id", application);
    if (result == SQLITE_OK) result = number("PRAGMA user_version", layout);
    const bool isForeign = application != kApplication || layout != kLayout;
    return result == SQLITE_OK && isForeign ? SQLITE_NOTADB : result;
}

int Store::number(const QByteArray& sql, qint64& number) {
    Statement question(database_, sql);
    const int result = question.first();
    if (result != SQLITE_ROW) return result;
    number = question.number();
    return SQLITE_OK;
}

template <typename Result, typename Work>
Result Store::within(Result failure, const char* begin, const Work& work) {
    const std::lock_guard lock(mutex_);
    // A second time for a file that was damaged or taken away: then there is an empty one.
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (!open()) return failure;
        Result made = failure;
        int result = run(database_, begin);
        if (succeeded(result)) result = work(made);
        if (succeeded(result)) result = run(database_, "COMMIT");
        if (succeeded(result)) return made;
        if (!sqlite3_get_autocommit(database_)) run(database_, "ROLLBACK");
        const bool isGone = result == SQLITE_READONLY_DBMOVED;
        if (!isDamage(result) && !isGone) return failure;
        close();
        if (!isGone) removeFile(fileSystemRepresentation(path_));
    }
    return failure;
}

int Store::find(const QByteArray& table) {
    Statement exists(database_, "SELECT 1 FROM sqlite_schema WHERE name='" + table + "'");
    return exists.first();
}

std::vector<QByteArray> Store::keys(const QByteArray& table) {
    using Keys = std::vector<QByteArray>;
    return within(Keys(), "BEGIN", [&](Keys& keys) {
        int result = find(table);
        if (result != SQLITE_ROW) return result;
        Statement list(database_, "SELECT key FROM " + table);
        for (result = list.first(); result == SQLITE_ROW; result = list.next())
            keys.push_back(list.blob(0).toByteArray());
        return result;
    });
}

std::vector<std::optional<QByteArray>> Store::values(const QByteArray& table,
                                                     const std::vector<QByteArray>& keys) {
    using Values = std::vector<std::optional<QByteArray>>;
    return within(Values(keys.size()), "BEGIN", [&](Values& values) {
        int result = this->find(table);
        if (result != SQLITE_ROW) return result;
        Statement find(database_, "SELECT value FROM " + table + " WHERE key=?");
        for (size_t i = 0; i < keys.size(); ++i) {
            find.bind(1, keys[i]);
            result = find.first();
            if (!succeeded(result)) return result;
            if (result != SQLITE_ROW) continue;
            const QByteArrayView stored = find.blob(0);
            const qsizetype length = stored.size() - qsizetype(sizeof(quint64));
            if (length < 0) continue;
            const QByteArrayView value = stored.first(length);
            if (stored.sliced(length) == checksum(table, keys[i], value))
                values[i] = value.toByteArray();
        }
        return result;
    });
}

bool Store::put(const QByteArray& table, const std::vector<Record>& records) {
    return within(false, "BEGIN IMMEDIATE", [&](bool& isKept) {
        qint64 bytes = 0;
        for (const Record& record : records)
            bytes += 2 * record.key.size() + record.value.size();
        int result = run(database_, "CREATE TABLE IF NOT EXISTS " + table +
                                        "(age INTEGER PRIMARY KEY, key BLOB NOT NULL UNIQUE,"
                                        "value BLOB NOT NULL)");
        if (result == SQLITE_OK) result = makeRoom(bytes);
        if (result != SQLITE_OK) return result;
        // The row of a key that is there already goes, so that what is put last is the youngest.
        Statement insert(database_, "INSERT OR REPLACE INTO " + table + "(key,value) VALUES(?,?)");
        for (const Record& record : records) {
            const QByteArray value = record.value + checksum(table, record.key, record.value);
            insert.bind(1, record.key);
            insert.bind(2, value);
            result = insert.first();
            if (!succeeded(result)) return result;
        }
        isKept = true;
        return result;
    });
}

int Store::makeRoom(qint64 bytes) {
    // A page of a tree is half empty at times, and a change needs some for itself.
    const qint64 wanted = 2 * bytes + bound_ / 8;
    for (;;) {
        qint64 pages = 0;
        qint64 free = 0;
        int result = number("PRAGMA page_count", pages);
        if (result == SQLITE_OK) result = number("PRAGMA freelist_count", free);
        if (result != SQLITE_OK || bound_ - (pages - free) * kPage >= wanted) return result;
        const int changes = sqlite3_total_changes(database_);
        result = dropOldest();
        if (result != SQLITE_OK || sqlite3_total_changes(database_) == changes) return result;
    }
}

int Store::dropOldest() {
    std::vector<QByteArray> tables;
    {
        Statement list(database_,
                       "SELECT group_concat(name) FROM sqlite_schema WHERE type='table'");
        const int result = list.first();
        if (!succeeded(result)) return result;
        for (const QByteArray& table : list.blob(0).toByteArray().split(','))
            tables.push_back(table);
    }
    for (const QByteArray& table : tables) {
        const QByteArray sql = "DELETE FROM " + table + " WHERE age IN (SELECT age FROM " + table +
                               " ORDER BY age LIMIT 1+(SELECT count(*) FROM " + table + ")/4)";
        const int result = run(database_, sql);
        if (result != SQLITE_OK) return result;
    }
    return SQLITE_OK;
}

}  // namespace platform
