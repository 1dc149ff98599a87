#include "platform/media/TagText.h"

#include "platform/foundation/Path.h"

namespace platform {

namespace {

// Windows-1252 from 0x80 to 0x9F (WHATWG Encoding Standard, index windows-1252).
constexpr char16_t kWindows1252[] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

enum class Encoding { Bytes, Utf16, Utf16BigEndian, Utf8 };  // as ID3v2.4 numbers them

}  // namespace

QString textOfBytes(QByteArrayView bytes) {
    if (bytes.isValidUtf8()) return QString::fromUtf8(bytes);
    QString text = QString::fromLatin1(bytes);
    for (QChar& character : text) {
        const char16_t unit = character.unicode();
        if (unit >= 0x80 && unit < 0xA0) character = QChar(kWindows1252[unit - 0x80]);
    }
    return text;
}

QString textOfUtf8(QByteArrayView bytes) {
    return QString::fromUtf8(bytes);
}

QString textOfUtf16(QByteArrayView bytes, bool bigEndian) {
    QString text;
    text.reserve(bytes.size() / 2);
    bool atStart = true;  // of one of the values that NULs separate: each may have its mark
    for (qsizetype i = 0; i + 1 < bytes.size(); i += 2) {
        const auto first = static_cast<unsigned char>(bytes[i]);
        const auto second = static_cast<unsigned char>(bytes[i + 1]);
        const bool mark =
            atStart && ((first == 0xFE && second == 0xFF) || (first == 0xFF && second == 0xFE));
        if (mark) {
            bigEndian = first == 0xFE;
            continue;
        }
        const auto unit =
            static_cast<char16_t>(bigEndian ? first << 8 | second : second << 8 | first);
        text += QChar(unit);
        atStart = unit == 0;
    }
    return displayString(text);
}

std::optional<QString> textOfId3Frame(QByteArrayView content) {
    if (content.isEmpty()) return std::nullopt;
    const QByteArrayView bytes = content.sliced(1);
    switch (static_cast<Encoding>(content[0])) {
        case Encoding::Bytes:
            return joinedAtNuls(textOfBytes(bytes));
        case Encoding::Utf16:
            return joinedAtNuls(textOfUtf16(bytes, false));
        case Encoding::Utf16BigEndian:
            return joinedAtNuls(textOfUtf16(bytes, true));
        case Encoding::Utf8:
            return joinedAtNuls(textOfUtf8(bytes));
    }
    return std::nullopt;
}

QString joinedValues(const QStringList& values) {
    QStringList filled = values;
    filled.removeAll(QString());
    return filled.join(kValueSeparator);
}

QString joinedAtNuls(const QString& text) {
    if (!text.contains(QChar::Null)) return text;
    return joinedValues(text.split(QChar::Null));
}

}  // namespace platform
