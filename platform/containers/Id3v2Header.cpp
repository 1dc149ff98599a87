#include "platform/containers/Id3v2Header.h"

#include <algorithm>

namespace platform {

// After "ID3 tag version 2.4.0 - Main Structure", 3.1 and 3.4, and 3.1 of its predecessors
// (id3.org).
std::optional<Id3v2Header> id3v2HeaderAt(ByteReader& file, qint64 offset) {
    constexpr qsizetype kHeaderSize = 10;
    const QByteArrayView bytes = file.view(offset, kHeaderSize);
    if (bytes.size() < kHeaderSize || !bytes.startsWith("ID3")) return std::nullopt;
    const QByteArrayView size = bytes.sliced(6, 4);
    const auto flags = static_cast<unsigned char>(bytes[5]);
    Id3v2Header header;
    header.version = static_cast<unsigned char>(bytes[3]);
    header.readable = header.version >= 2 && header.version <= 4 && isSynchsafe(size);
    header.unsynchronised = flags & 0x80;
    // What is an extended header since 2.3 was a compression that never came to be.
    header.extended = header.version > 2 && (flags & 0x40);
    const bool footer = header.version == 4 && (flags & 0x10);
    header.begin = offset + kHeaderSize;
    const qint64 end = header.begin + synchsafe(size);
    header.end = std::min(end, file.size());
    header.next = end + (footer ? kHeaderSize : 0);
    return header;
}

std::optional<Id3v2Header> firstId3v2Header(ByteReader& file) {
    if (auto header = id3v2HeaderAt(file, 0)) return header;
    const QByteArrayView beginning = file.view(0, 2);
    const bool isAudio =
        beginning.size() < 2 || (beginning[0] == '\xFF' && (beginning[1] & '\xE0') == '\xE0');
    if (isAudio) return std::nullopt;
    for (qint64 at = 0; at >= 0;) {
        at = file.view(0, ByteReader::kLargestView).indexOf("ID3", at + 1);
        const auto header = at < 0 ? std::nullopt : id3v2HeaderAt(file, at);
        if (header && header->readable) return header;
    }
    return std::nullopt;
}

qint64 synchsafe(QByteArrayView bytes) {
    qint64 value = 0;
    for (const char byte : bytes)
        value = value << 7 | (static_cast<unsigned char>(byte) & 0x7F);
    return value;
}

bool isSynchsafe(QByteArrayView bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](char byte) { return (byte & 0x80) == 0; });
}

}  // namespace platform
