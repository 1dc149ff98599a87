#include "platform/foundation/Path.h"

#include "platform/foundation/FreeMemory.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>

namespace platform {

namespace {

constexpr char16_t kEscapeBase = 0xDC00;

bool isEscapedByte(QChar unit) {
    return unit.unicode() >= kEscapeBase + 0x80 && unit.unicode() <= kEscapeBase + 0xFF;
}

// Length of the well-formed UTF-8 sequence at the start of `bytes`, 0 if there is none (Unicode
// 15.0, table 3-7).
qsizetype sequenceLength(QByteArrayView bytes) {
    const auto at = [&](qsizetype i) {
        return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0u;
    };
    const auto within = [&](qsizetype i, unsigned low, unsigned high) {
        return at(i) >= low && at(i) <= high;
    };
    const unsigned lead = at(0);
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead <= 0xDF) return within(1, 0x80, 0xBF) ? 2 : 0;
    if (lead >= 0xE0 && lead <= 0xEF) {
        const unsigned low = lead == 0xE0 ? 0xA0 : 0x80;
        const unsigned high = lead == 0xED ? 0x9F : 0xBF;
        return within(1, low, high) && within(2, 0x80, 0xBF) ? 3 : 0;
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        const unsigned low = lead == 0xF0 ? 0x90 : 0x80;
        const unsigned high = lead == 0xF4 ? 0x8F : 0xBF;
        return within(1, low, high) && within(2, 0x80, 0xBF) && within(3, 0x80, 0xBF) ? 4 : 0;
    }
    return 0;
}

// Appends well-formed UTF-8. At the beginning of what it decodes the toolkit takes a U+FEFF for a
// byte order mark and drops it; in a name it is a character.
void appendUtf8(QByteArrayView bytes, QString& text) {
    constexpr QByteArrayView kMark("\xEF\xBB\xBF");
    for (; bytes.startsWith(kMark); bytes = bytes.sliced(kMark.size()))
        text += QChar::ByteOrderMark;
    text += QString::fromUtf8(bytes);
}

// Where the content of the open file of that size ends: at its end, or where a hole begins that is
// longer than music is silent. Files that were made long and never filled have one.
qint64 endOfContent(int file, qint64 size, qint64 stored) {
    constexpr qint64 kLongHole = qint64{64} << 20;
    // More pieces than that are left as they are.
    constexpr int kPieces = 4096;
    if (size - stored <= kLongHole) return size;
    qint64 at = 0;
    for (int i = 0; i < kPieces; ++i) {
        const qint64 hole = ::lseek(file, at, SEEK_HOLE);
        if (hole < 0 || hole >= size) break;
        const qint64 data = ::lseek(file, hole, SEEK_DATA);
        if (data < 0 && errno != ENXIO) break;
        if ((data < 0 ? size : data) - hole > kLongHole) {
            size = hole;
            break;
        }
        if (data < 0) break;
        at = data;
    }
    ::lseek(file, 0, SEEK_SET);
    return size;
}

// A buffer of that size; none where the process could not hold it without harm.
std::optional<QByteArray> bufferOfSize(qint64 size) {
    // Below it asking takes longer than reading.
    constexpr qint64 kHarmless = qint64{1} << 20;
    // What the program and its neighbours go on needing.
    constexpr qint64 kMargin = qint64{128} << 20;
    // Its reader may lay the content out once more, as the packets of some containers are.
    if (size > kHarmless && size > (freeMemory() - kMargin) / 2) return std::nullopt;
    try {
        return QByteArray(static_cast<qsizetype>(size), Qt::Uninitialized);
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

}  // namespace

QByteArray fileSystemRepresentation(const QString& path) {
    QByteArray bytes;
    bytes.reserve(path.size());
    qsizetype begin = 0;
    for (qsizetype i = 0; i < path.size(); ++i) {
        if (path[i].isHighSurrogate() && i + 1 < path.size() && path[i + 1].isLowSurrogate()) {
            ++i;
            continue;
        }
        if (!isEscapedByte(path[i])) continue;
        bytes += QStringView(path).mid(begin, i - begin).toUtf8();
        bytes += static_cast<char>(path[i].unicode() - kEscapeBase);
        begin = i + 1;
    }
    bytes += QStringView(path).mid(begin).toUtf8();
    return bytes;
}

QString stringWithFileSystemRepresentation(QByteArrayView bytes) {
    QString path;
    path.reserve(bytes.size());
    qsizetype begin = 0;
    for (qsizetype i = 0; i < bytes.size();) {
        if (const qsizetype length = sequenceLength(bytes.sliced(i)); length > 0) {
            i += length;
            continue;
        }
        appendUtf8(bytes.sliced(begin, i - begin), path);
        path += QChar(static_cast<char16_t>(kEscapeBase + static_cast<unsigned char>(bytes[i])));
        begin = ++i;
    }
    appendUtf8(bytes.sliced(begin), path);
    return path;
}

std::filesystem::path standardPath(const QString& path) {
    return fileSystemRepresentation(path).toStdString();
}

QByteArray fileURLWithPath(const QString& path) {
    return "file://" + fileSystemRepresentation(path).toPercentEncoding("/");
}

std::optional<QString> pathWithFileURL(QByteArrayView url) {
    constexpr QByteArrayView kScheme = "file:";
    const QByteArray text = url.toByteArray().trimmed();
    if (qstrnicmp(text.constData(), kScheme.data(), size_t(kScheme.size())) != 0) {
        return std::nullopt;
    }
    QByteArray rest = text.sliced(kScheme.size());
    if (rest.startsWith("//")) {
        const qsizetype slash = rest.indexOf('/', 2);
        const QByteArray host = rest.mid(2, slash - 2).toLower();
        if (slash < 0 || (!host.isEmpty() && host != "localhost")) return std::nullopt;
        rest = rest.sliced(slash);
    }
    const QByteArray bytes = QByteArray::fromPercentEncoding(rest);
    // No file's name holds a zero byte; a system call would stop reading the path there.
    if (!bytes.startsWith('/') || bytes.contains('\0')) return std::nullopt;
    return stringWithFileSystemRepresentation(bytes);
}

QString displayString(const QString& text) {
    QString shown = text;
    for (qsizetype i = 0; i < shown.size(); ++i) {
        if (!shown[i].isSurrogate()) continue;
        const bool paired =
            shown[i].isHighSurrogate() && i + 1 < shown.size() && shown[i + 1].isLowSurrogate();
        if (paired) {
            ++i;
        } else {
            shown[i] = QChar::ReplacementCharacter;
        }
    }
    return shown;
}

QString lastPathComponent(const QString& path) {
    qsizetype end = path.size();
    while (end > 1 && path[end - 1] == QLatin1Char('/'))
        --end;
    if (end == 1 && path[0] == QLatin1Char('/')) return path.first(1);
    const qsizetype slash = QStringView(path).first(end).lastIndexOf(QLatin1Char('/'));
    return path.mid(slash + 1, end - slash - 1);
}

std::optional<QByteArray> dataWithContentsOfFile(const QString& path,
                                                 const std::function<bool()>& goesOn) {
    constexpr qsizetype kStep = qsizetype{1} << 20;
    // Without O_NONBLOCK the opening of a FIFO would wait for a writer.
    const int file =
        ::open(fileSystemRepresentation(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) return std::nullopt;
    std::optional<QByteArray> content;
    struct stat status = {};
    if (::fstat(file, &status) == 0 && S_ISREG(status.st_mode)) {
        constexpr qint64 kBlock = 512;  // whatever the file system's own
        content =
            bufferOfSize(endOfContent(file, status.st_size, qint64{status.st_blocks} * kBlock));
        qsizetype filled = 0;
        while (content && filled < content->size()) {
            const ssize_t count =
                ::read(file, content->data() + filled,
                       static_cast<size_t>(std::min(content->size() - filled, kStep)));
            if (count < 0 && errno == EINTR) continue;
            if (count < 0 || (goesOn && !goesOn())) content.reset();
            if (count <= 0) break;
            filled += count;
        }
        if (content) content->truncate(filled);
    }
    ::close(file);
    return content;
}

}  // namespace platform
