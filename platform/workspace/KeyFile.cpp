#include "platform/workspace/KeyFile.h"

#include "platform/foundation/Path.h"

#include <QByteArrayList>

namespace platform {

namespace {

QByteArray withoutEscapes(const QByteArray& text) {
    QByteArray plain;
    plain.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            plain += text[i];
            continue;
        }
        switch (const char escape = text[++i]) {
            case 's':
                plain += ' ';
                break;
            case 't':
                plain += '\t';
                break;
            case 'n':
                plain += '\n';
                break;
            case 'r':
                plain += '\r';
                break;
            case 'x':  // a byte in two hexadecimal digits
                plain += QByteArray::fromHex(text.mid(i + 1, 2));
                i += 2;
                break;
            default:
                plain += escape;
        }
    }
    return plain;
}

}  // namespace

KeyFile::KeyFile(const QString& path) {
    const QByteArrayList lines = dataWithContentsOfFile(path).value_or(QByteArray()).split('\n');
    QString group;
    for (const QByteArray& untrimmed : lines) {
        const QByteArray line = untrimmed.trimmed();
        const qsizetype equals = line.indexOf('=');
        if (line.startsWith('[') && line.endsWith(']')) {
            group = stringWithFileSystemRepresentation(line.mid(1, line.size() - 2));
            if (!values_.contains(group)) groups_ += group;
            values_[group];
        } else if (equals > 0 && !line.startsWith('#')) {
            // What follows a key in brackets are marks: a language, or how KDE treats the value.
            const QByteArray key = line.first(equals).trimmed();
            const QByteArray name = key.first(key.contains('[') ? key.indexOf('[') : key.size());
            values_[group].insert(
                QString::fromUtf8(name),
                stringWithFileSystemRepresentation(withoutEscapes(line.mid(equals + 1).trimmed())));
        }
    }
}

std::optional<QString> KeyFile::value(const QString& group, const QString& key) const {
    const auto values = values_.constFind(group);
    if (values == values_.constEnd()) return std::nullopt;
    const auto value = values->constFind(key);
    return value == values->constEnd() ? std::nullopt : std::optional(*value);
}

}  // namespace platform
