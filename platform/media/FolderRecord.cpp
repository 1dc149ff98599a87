#include "platform/media/FolderRecord.h"

#include <QtEndian>

#include <cstring>

namespace platform {

namespace {

// To be raised whenever the same file may give other texts, or the layout changes.
constexpr quint8 kLayout = 1;

// How a text is kept: these, or its length in UTF-8 and kShortest more.
constexpr quint64 kAbsent = 0;
constexpr quint64 kAsBefore = 1;
constexpr quint64 kShortest = 2;

constexpr quint8 kIsFile = 0x10;
constexpr quint8 kIsFolder = 0x20;
constexpr quint8 kIsProven = 0x40;
constexpr quint8 kIsLoose = 0x80;
constexpr quint8 kKindMask = 0x0F;

class Output {
  public:
    void byte(quint8 value) { bytes_ += static_cast<char>(value); }
    void word(quint64 value) {
        char bytes[sizeof value];
        qToLittleEndian(value, bytes);
        bytes_.append(bytes, sizeof bytes);
    }
    // Seven bits to a byte, the last without the eighth.
    void number(quint64 value) {
        for (; value >= 0x80; value >>= 7)
            byte(static_cast<quint8>(value | 0x80));
        byte(static_cast<quint8>(value));
    }
    void text(QByteArrayView text, quint64 more = 0) {
        number(static_cast<quint64>(text.size()) + more);
        bytes_.append(text);
    }
    const QByteArray& bytes() const { return bytes_; }

  private:
    QByteArray bytes_;
};

// Beyond the end there are zeros, and isGood is false.
class Input {
  public:
    explicit Input(QByteArrayView bytes) : rest_(bytes) {}
    bool isGood() const { return isGood_; }
    qsizetype left() const { return rest_.size(); }
    QByteArrayView take(quint64 length) {
        if (length > static_cast<quint64>(rest_.size())) {
            isGood_ = false;
            length = 0;
        }
        const QByteArrayView taken = rest_.first(static_cast<qsizetype>(length));
        rest_ = rest_.sliced(taken.size());
        return taken;
    }
    quint8 byte() {
        const QByteArrayView taken = take(1);
        return taken.isEmpty() ? quint8{0} : static_cast<quint8>(taken[0]);
    }
    quint64 word() {
        const QByteArrayView taken = take(sizeof(quint64));
        return taken.isEmpty() ? 0 : qFromLittleEndian<quint64>(taken.data());
    }
    quint64 number() {
        quint64 value = 0;
        quint8 next = 0x80;
        for (int shift = 0; shift < 63 && (next & 0x80); shift += 7) {
            next = byte();
            value |= quint64{next & 0x7Fu} << shift;
        }
        return value;
    }

  private:
    QByteArrayView rest_;
    bool isGood_ = true;
};

void writeIdentity(const FileIdentity& identity, quint64 device, Output& output) {
    // Nearly always the folder's.
    output.number(identity.device == device ? 0 : identity.device + 1);
    output.word(identity.inode);
    output.number(static_cast<quint64>(identity.size));
    output.word(static_cast<quint64>(identity.modified));
    output.word(static_cast<quint64>(identity.changed));
}

FileIdentity readIdentity(quint64 device, Input& input) {
    FileIdentity identity;
    const quint64 other = input.number();
    identity.device = other == 0 ? device : other - 1;
    identity.inode = input.word();
    identity.size = static_cast<qint64>(input.number());
    identity.modified = static_cast<qint64>(input.word());
    identity.changed = static_cast<qint64>(input.word());
    return identity;
}

void writeText(const QString& text, const QString& before, Output& output) {
    if (text.isNull())
        output.number(kAbsent);
    else if (text == before && !before.isNull())
        output.number(kAsBefore);
    else
        output.text(text.toUtf8(), kShortest);
}

QString readText(const QString& before, Input& input) {
    const quint64 length = input.number();
    if (length == kAbsent) return {};
    if (length == kAsBefore) return before;
    const QByteArrayView text = input.take(length - kShortest);
    return text.isEmpty() ? QStringLiteral("") : QString::fromUtf8(text);
}

}  // namespace

QByteArray recordKey(const FileIdentity& folder) {
    return folder.key().first(2 * sizeof(quint64));
}

QByteArray recordOf(const MediaFolder& folder, const QByteArray& order) {
    Output output;
    output.byte(kLayout);
    output.text(order);
    writeIdentity(folder.identity, 0, output);
    output.byte(folder.isListed);
    output.word(folder.fingerprint);
    output.number(folder.entries.size());
    QString artist;
    for (const MediaFolder::Entry& entry : folder.entries) {
        quint8 flags = entry.folder >= 0 ? kIsFolder : 0;
        const MediaFile* const file =
            entry.file >= 0 ? &folder.files[std::size_t(entry.file)] : nullptr;
        if (file) {
            flags |= kIsFile | static_cast<quint8>(file->kind);
            flags |= static_cast<quint8>((file->isProven ? kIsProven : 0) |
                                         (file->isLoose ? kIsLoose : 0));
        }
        output.byte(flags);
        output.text(folder.nameOf(entry));
        if (!file) continue;
        writeIdentity(file->identity, folder.identity.device, output);
        writeText(file->title, {}, output);
        writeText(file->artist, artist, output);
        artist = file->artist;
    }
    return output.bytes();
}

bool readRecord(const QByteArray& record, const QByteArray& order, MediaFolder& folder) {
    Input input(record);
    if (input.byte() != kLayout) return false;
    const bool isSameOrder = input.take(input.number()) == order;
    const FileIdentity identity = readIdentity(0, input);
    const bool isListed = input.byte() != 0;
    const quint64 fingerprint = input.word();
    const quint64 count = input.number();
    if (!input.isGood() || count > static_cast<quint64>(input.left())) return false;
    QByteArray names;
    std::vector<MediaFolder::Entry> entries(static_cast<std::size_t>(count));
    std::vector<MediaFile> files;
    std::vector<std::unique_ptr<MediaFolder>> folders;
    files.reserve(entries.size());
    QString artist;
    for (MediaFolder::Entry& entry : entries) {
        const quint8 flags = input.byte();
        const QByteArrayView name = input.take(input.number());
        entry.name = static_cast<quint32>(names.size());
        names.append(name).append('\0');
        if (flags & kIsFolder) {
            entry.folder = static_cast<qint32>(folders.size());
            folders.push_back(std::make_unique<MediaFolder>());
            folders.back()->path =
                folder.path.isEmpty() ? name.toByteArray() : folder.path + '/' + name.toByteArray();
        }
        if (!(flags & kIsFile)) continue;
        entry.file = static_cast<qint32>(files.size());
        MediaFile& file = files.emplace_back();
        file.kind = static_cast<FolderListing::Kind>(flags & kKindMask);
        file.isProven = (flags & kIsProven) != 0;
        file.isLoose = (flags & kIsLoose) != 0;
        file.identity = readIdentity(identity.device, input);
        file.title = readText({}, input);
        artist = file.artist = readText(artist, input);
    }
    if (!input.isGood()) return false;
    folder.identity = identity;
    folder.fingerprint = isSameOrder ? static_cast<std::size_t>(fingerprint) : 0;
    folder.isListed = isListed && isSameOrder;
    names.squeeze();
    files.shrink_to_fit();
    folder.names = std::move(names);
    folder.entries = std::move(entries);
    folder.files = std::move(files);
    folder.folders = std::move(folders);
    return true;
}

}  // namespace platform
