#include "platform/ui/FallbackFaces.h"

#include <QGlyphRun>
#include <QTextBoundaryFinder>

namespace platform {

namespace {

// The commonest first.
constexpr QFont::Weight kWeights[] = {QFont::Normal, QFont::Bold, QFont::Medium, QFont::Light};

bool hasEveryGlyph(const QString& text, const QFont& font) {
    QTextLayout layout(QString(text).replace(QChar::LineSeparator, QLatin1Char(' ')), font);
    layout.beginLayout();
    layout.createLine();
    layout.endLayout();
    for (const QGlyphRun& run : layout.glyphRuns()) {
        if (run.glyphIndexes().contains(0U)) return false;
    }
    return true;
}

}  // namespace

QList<QTextLayout::FormatRange> fallbackFaces(const QString& text, const QFont& font) {
    QList<QTextLayout::FormatRange> formats;
    if (hasEveryGlyph(text, font)) return formats;
    QTextBoundaryFinder letters(QTextBoundaryFinder::Grapheme, text);
    for (qsizetype from = 0, to = letters.toNextBoundary(); to > from;
         from = to, to = letters.toNextBoundary()) {
        const QString letter = text.mid(from, to - from);
        if (hasEveryGlyph(letter, font)) continue;
        for (const QFont::Weight weight : kWeights) {
            QFont other = font;
            other.setWeight(weight);
            if (!hasEveryGlyph(letter, other)) continue;
            // Neighbours in one face stay one run, in which letters join.
            if (!formats.isEmpty() && formats.last().start + formats.last().length == from &&
                formats.last().format.font() == other) {
                formats.last().length += int(letter.size());
            } else {
                QTextCharFormat format;
                format.setFont(other);
                formats.append({int(from), int(letter.size()), format});
            }
            break;
        }
    }
    return formats;
}

}  // namespace platform
