#pragma once

#include <QFont>
#include <QList>
#include <QString>
#include <QTextLayout>

namespace platform {

/// Formats for what of `text` no installed face of the font's own weight has: each in the first
/// other weight that some face has it in. Without them the text would show boxes there.
QList<QTextLayout::FormatRange> fallbackFaces(const QString& text, const QFont& font);

}  // namespace platform
