#include "bench/library/Readers.h"

#include "platform/foundation/Path.h"

#include <fcntl.h>
#include <fileref.h>
#include <tag.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

using Block = std::array<unsigned char, 4096>;

struct File {
    explicit File(const QString& path)
        : descriptor(
              ::open(platform::fileSystemRepresentation(path).constData(), O_RDONLY | O_CLOEXEC)) {}
    ~File() { ::close(descriptor); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    std::size_t read(Block& block, off_t offset) const {
        return static_cast<std::size_t>(
            std::max<ssize_t>(::pread(descriptor, block.data(), block.size(), offset), 0));
    }

    int descriptor;
};

std::uint32_t big(const unsigned char* bytes) {
    return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 |
           std::uint32_t{bytes[2]} << 8 | bytes[3];
}

std::uint32_t safe(const unsigned char* bytes) {
    return std::uint32_t{bytes[0]} << 21 | std::uint32_t{bytes[1]} << 14 |
           std::uint32_t{bytes[2]} << 7 | bytes[3];
}

QString text(const unsigned char* bytes, std::size_t size) {
    const auto* const chars = reinterpret_cast<const char*>(bytes) + 1;
    const auto length = static_cast<qsizetype>(size) - 1;
    if (bytes[0] == 1)
        return QString::fromUtf16(reinterpret_cast<const char16_t*>(chars) + 1, length / 2 - 1);
    return bytes[0] == 0 ? QString::fromLatin1(chars, length) : QString::fromUtf8(chars, length);
}

int minimalId3(const File& file, Block& block, std::size_t size) {
    const bool four = block[3] == 4;
    const off_t end = 10 + static_cast<off_t>(safe(&block[6]));
    off_t start = 0;
    int found = 0;
    for (off_t at = 10; at + 10 < end && found < 2;) {
        if (at + 200 > start + static_cast<off_t>(size)) {
            start = at;
            size = file.read(block, start);
            if (size < 10) break;
        }
        const unsigned char* const frame = &block[static_cast<std::size_t>(at - start)];
        if (frame[0] == 0) break;
        const std::uint32_t length = four ? safe(frame + 4) : big(frame + 4);
        const bool wanted =
            std::memcmp(frame, "TIT2", 4) == 0 || std::memcmp(frame, "TPE1", 4) == 0;
        if (wanted && length > 0 && length < 190)
            found += text(frame + 10, length).isEmpty() ? 0 : 1;
        at += 10 + static_cast<off_t>(length);
    }
    return found;
}

int minimalMp4(const File& file, Block& block, std::size_t size) {
    off_t start = 0;
    off_t end = ::lseek(file.descriptor, 0, SEEK_END);
    int found = 0;
    for (off_t at = 0; at + 8 < end && found < 2;) {
        if (at + 200 > start + static_cast<off_t>(size)) {
            start = at;
            size = file.read(block, start);
            if (size < 8) break;
        }
        const unsigned char* const atom = &block[static_cast<std::size_t>(at - start)];
        const std::uint32_t length = big(atom);
        if (length < 8) break;
        const auto is = [&](const char* name) { return std::memcmp(atom + 4, name, 4) == 0; };
        if (is("moov") || is("udta") || is("ilst")) {
            end = at + static_cast<off_t>(length);
            at += 8;
        } else if (is("meta")) {
            at += 12;
        } else {
            const bool wanted = is("\xA9nam") || is("\xA9"
                                                    "ART");
            if (wanted && length > 24 && length < 190)
                found += QString::fromUtf8(reinterpret_cast<const char*>(atom) + 24, length - 24)
                                 .isEmpty()
                             ? 0
                             : 1;
            at += static_cast<off_t>(length);
        }
    }
    return found;
}

}  // namespace

QStringList trackPaths(const QString& folder, const QStringList& listing) {
    QStringList paths;
    for (const QString& entry : listing) {
        if (entry.endsWith(QLatin1String(".mp3")) || entry.endsWith(QLatin1String(".m4a")))
            paths += folder + QLatin1Char('/') + entry;
    }
    return paths;
}

void readStarts(const QStringList& paths) {
    Block block;
    for (const QString& path : paths)
        File(path).read(block, 0);
}

int readMinimal(const QStringList& paths) {
    int found = 0;
    Block block;
    for (const QString& path : paths) {
        const File file(path);
        const std::size_t size = file.read(block, 0);
        if (size < 16) continue;
        if (std::memcmp(block.data(), "ID3", 3) == 0)
            found += minimalId3(file, block, size);
        else if (std::memcmp(&block[4], "ftyp", 4) == 0)
            found += minimalMp4(file, block, size);
    }
    return found;
}

Texts textsFromTagLib(const QString& path) {
    const TagLib::FileRef file(platform::fileSystemRepresentation(path).constData(), false);
    if (file.isNull() || !file.tag()) return {};
    return {QString::fromStdWString(file.tag()->title().toWString()),
            QString::fromStdWString(file.tag()->artist().toWString())};
}

int readWithTagLib(const QStringList& paths, int threads) {
    std::atomic<qsizetype> next = 0;
    std::atomic<int> found = 0;
    const auto work = [&] {
        for (qsizetype i = next++; i < paths.size(); i = next++) {
            const Texts texts = textsFromTagLib(paths[i]);
            found += (texts.title.isEmpty() ? 0 : 1) + (texts.artist.isEmpty() ? 0 : 1);
        }
    };
    std::vector<std::thread> others;
    for (int i = 1; i < threads; ++i)
        others.emplace_back(work);
    work();
    for (std::thread& other : others)
        other.join();
    return found;
}
