#include "library/SearchPredicate.h"

#include "platform/foundation/Path.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {

bool isAscii(QStringView text) {
    char16_t seen = 0;
    for (const QChar unit : text)
        seen |= unit.unicode();
    return seen < 0x80;
}

// A mark that modifies the letter before it: one with a combining class. The vowel signs of the
// Indic scripts are marks of class 0, letters to their readers, and stay; viramas (class 9) and the
// Thai and Lao vowel signs below and tone marks (103, 107, 118, 122) go like accents, so that a
// search does not depend on them.
bool isDiacritic(char32_t character) {
    return QChar::combiningClass(character) != 0 ||
           QChar::category(character) == QChar::Mark_Enclosing;
}

// Chooses among the looks of the character before it: an emoji in colour or not, a form of an
// ideograph (Unicode 15.0, section 23.4). Nobody types it.
bool isVariationSelector(char32_t character) {
    return (character >= 0xFE00 && character <= 0xFE0F) ||
           (character >= 0xE0100 && character <= 0xE01EF) ||
           (character >= 0x180B && character <= 0x180F && character != 0x180E);
}

// Qt folds one character to one; these are the characters that fold to several (CaseFolding.txt of
// the Unicode Character Database, status F) and are still whole once their marks are gone.
struct FullFolding {
    char16_t character;
    QStringView folding;
};
constexpr FullFolding kFullFoldings[] = {
    {u'\u00DF', u"ss"},           {u'\u0149', u"\u02BCn"},      {u'\u0587', u"\u0565\u0582"},
    {u'\u1E9A', u"a\u02BE"},      {u'\uFB00', u"ff"},           {u'\uFB01', u"fi"},
    {u'\uFB02', u"fl"},           {u'\uFB03', u"ffi"},          {u'\uFB04', u"ffl"},
    {u'\uFB05', u"st"},           {u'\uFB06', u"st"},           {u'\uFB13', u"\u0574\u0576"},
    {u'\uFB14', u"\u0574\u0565"}, {u'\uFB15', u"\u0574\u056B"}, {u'\uFB16', u"\u057E\u0576"},
    {u'\uFB17', u"\u0574\u056D"},
};

QString caseFolded(const QString& text) {
    const QString single = text.toCaseFolded();
    QString full;
    full.reserve(single.size());
    for (const QChar unit : single) {
        const auto* const found =
            std::lower_bound(std::begin(kFullFoldings), std::end(kFullFoldings), unit.unicode(),
                             [](const FullFolding& entry, char16_t character) {
                                 return entry.character < character;
                             });
        if (found != std::end(kFullFoldings) && found->character == unit.unicode())
            full += found->folding;
        else
            full += unit;
    }
    return full;
}

// Caseless matching after the Unicode Standard 15.0, section 3.13, with the marks dropped in
// between. Composing at the end keeps a Hangul syllable one character, so that 가 is not in 각.
QString folded(const QString& text) {
    if (isAscii(text)) return text.toCaseFolded();
    const QString decomposed = text.normalized(QString::NormalizationForm_D);
    QString bare;
    bare.reserve(decomposed.size());
    for (qsizetype i = 0; i < decomposed.size(); ++i) {
        const QChar unit = decomposed[i];
        const bool pair = unit.isHighSurrogate() && i + 1 < decomposed.size() &&
                          decomposed[i + 1].isLowSurrogate();
        const char32_t character =
            pair ? QChar::surrogateToUcs4(unit, decomposed[i + 1]) : unit.unicode();
        if (!isDiacritic(character) && !isVariationSelector(character))
            bare += QStringView(decomposed).mid(i, pair ? 2 : 1);
        i += pair ? 1 : 0;
    }
    return caseFolded(bare).normalized(QString::NormalizationForm_C);
}

// As bytes, so that most texts take half the room. None of them is kEnd, so that no text is found
// across two fields.
QByteArray comparable(const QString& text) {
    return platform::fileSystemRepresentation(folded(text));
}

// No byte of UTF-8.
constexpr char kEnd = '\xFF';

}  // namespace

void SearchFields::append(const QString& name, const QString& artist) {
    const QByteArray first = comparable(name);
    const QByteArray second = comparable(artist);
    text_.append(first.constData(), std::size_t(first.size()));
    text_ += kEnd;
    text_.append(second.constData(), std::size_t(second.size()));
    text_ += kEnd;
    ends_.push_back(static_cast<quint32>(text_.size()));
}

SearchPredicate::SearchPredicate(const QString& text) : folded_(comparable(text)) {}

std::vector<std::size_t> SearchPredicate::evaluate(const SearchFields& fields) const {
    std::vector<std::size_t> matches;
    if (folded_.isEmpty()) return matches;
    const char* const begin = fields.text_.data();
    std::size_t track = 0;
    std::size_t at = 0;
    while (at < fields.text_.size()) {
        const void* const found = ::memmem(begin + at, fields.text_.size() - at,
                                           folded_.constData(), std::size_t(folded_.size()));
        if (!found) break;
        at = static_cast<std::size_t>(static_cast<const char*>(found) - begin);
        while (fields.ends_[track] <= at)
            ++track;
        matches.push_back(track);
        at = fields.ends_[track];
    }
    return matches;
}
