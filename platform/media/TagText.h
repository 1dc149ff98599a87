#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

namespace platform {

/// Text of 8-bit characters whose code page is not told, or told wrongly as often as not: UTF-8 if
/// it is valid as such, else Windows-1252 (which is Latin-1 wherever Latin-1 has a character).
QString textOfBytes(QByteArrayView bytes);

/// UTF-8, what is invalid in it as U+FFFD.
QString textOfUtf8(QByteArrayView bytes);

/// UTF-16 with what its byte order mark says, else most significant byte first if `bigEndian`. An
/// odd last byte is dropped, an unpaired surrogate becomes U+FFFD.
QString textOfUtf16(QByteArrayView bytes, bool bigEndian);

/// The content of an ID3v2 text frame: its encoding byte (0 to 3), then one or more values, NUL
/// between them, shown as one text. Absent when it is empty or in no known encoding.
std::optional<QString> textOfId3Frame(QByteArrayView content);

/// What stands between several values of one tag that are shown as one text.
inline const QString kValueSeparator = QStringLiteral(", ");

/// Several values of one tag as one text: those that are not empty, the separator between them.
QString joinedValues(const QStringList& values);

/// `text` with the values that NULs separate in it joined.
QString joinedAtNuls(const QString& text);

}  // namespace platform
