#pragma once

#include <QByteArray>

#include <initializer_list>

namespace platform {

// Tags put together byte by byte, so that they can be wrong where writers' libraries never are.

inline QByteArray number(quint64 value, int bytes, int bitsPerByte = 8) {
    QByteArray spelled;
    for (int i = bytes - 1; i >= 0; --i)
        spelled += static_cast<char>(value >> (i * bitsPerByte) & ((1u << bitsPerByte) - 1));
    return spelled;
}

inline QByteArray nul(qsizetype count = 1) {
    return QByteArray(count, '\0');
}

// The content of an ID3v2 text frame.
inline QByteArray encoded(char encoding, const QByteArray& bytes) {
    return QByteArray(1, encoding) + bytes;
}

inline QByteArray id3Frame(int version, const QByteArray& id, const QByteArray& content,
                           int flags = 0) {
    if (version == 2) return id + number(content.size(), 3) + content;
    return id + number(content.size(), 4, version == 4 ? 7 : 8) + number(flags, 2) + content;
}

inline QByteArray id3Tag(int version, const QByteArray& frames, int flags = 0) {
    return "ID3" + number(version, 1) + nul() + number(flags, 1) + number(frames.size(), 4, 7) +
           frames;
}

inline QByteArray id3v1(const QByteArray& title, const QByteArray& artist) {
    return "TAG" + title.leftJustified(30, '\0') + artist.leftJustified(30, '\0') + nul(65);
}

inline QByteArray apeTag(std::initializer_list<std::pair<QByteArray, QByteArray>> items) {
    const auto little = [](qsizetype value) {
        QByteArray bytes = number(value, 4);
        std::reverse(bytes.begin(), bytes.end());
        return bytes;
    };
    QByteArray content;
    for (const auto& [key, value] : items) {
        const bool binary = key.startsWith("Cover");
        content += little(value.size()) + little(binary ? 2 : 0) + key + nul() + value;
    }
    return content + "APETAGEX" + little(2000) + little(content.size() + 32) +
           little(static_cast<qsizetype>(items.size())) + little(0) + nul(8);
}

inline QByteArray apic(const QByteArray& picture, char kind = 3,
                       const QByteArray& mime = QByteArrayLiteral("image/jpeg")) {
    return nul() + mime + nul() + QByteArray(1, kind) + "front" + nul() + picture;
}

inline QByteArray atom(const QByteArray& type, const QByteArray& content) {
    return number(content.size() + 8, 4) + type + content;
}

inline QByteArray dataAtom(int type, const QByteArray& value) {
    return atom("data", number(type, 4) + nul(4) + value);
}

inline QByteArray m4a(const QByteArray& items) {
    const QByteArray meta = nul(4) + atom("hdlr", nul(25)) + atom("ilst", items);
    return atom("ftyp", "M4A isom") + atom("mdat", nul(5000)) +
           atom("moov", atom("mvhd", nul(100)) + atom("udta", atom("meta", meta)));
}

}  // namespace platform
