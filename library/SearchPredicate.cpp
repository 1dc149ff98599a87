#include "library/SearchPredicate.h"

#include "platform/foundation/Path.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>

namespace {

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

// What characters fold to whatever stands beside them, found once for each. In their scripts none
// composes with the one before it but marks, which are dropped (NFC_Quick_Check of Unicode 15.0).
class FoldingTable {
  public:
    // Appends the comparable form of `text`; false, with nothing appended, for a text that is to be
    // folded as a whole.
    bool append(const QString& text, std::string& bytes) {
        const std::size_t begin = bytes.size();
        for (const QChar unit : text) {
            const char16_t character = unit.unicode();
            if (character < 0x80) {
                const bool isCapital = character >= 'A' && character <= 'Z';
                bytes += static_cast<char>(isCapital ? character + ('a' - 'A') : character);
            } else if (isItself(character)) {
                bytes += static_cast<char>(0xE0 | (character >> 12));
                bytes += static_cast<char>(0x80 | ((character >> 6) & 0x3F));
                bytes += static_cast<char>(0x80 | (character & 0x3F));
            } else if (const Folding* const folding = foldingOf(character)) {
                bytes.append(folding->bytes.data(), folding->length);
            } else {
                bytes.resize(begin);
                return false;
            }
        }
        return true;
    }

  private:
    struct Folding {
        std::array<char, 6> bytes;
        unsigned char length;
        bool isKnown;
    };
    // Up to Syriac and Samaritan; Latin and Greek with their marks, punctuation, symbols and kana.
    static constexpr char16_t kFirstEnd = 0x0900;
    static constexpr char16_t kSecond = 0x1E00;
    static constexpr char16_t kSecondEnd = 0x3100;

    // An ideograph, or a Korean syllable, which composes with letters alone that are not here.
    static bool isItself(char16_t character) {
        return (character >= 0x4E00 && character < 0xA000) ||
               (character >= 0xAC00 && character < 0xD7A4);
    }

    const Folding* foldingOf(char16_t character) {
        const bool isSecond = character >= kSecond && character < kSecondEnd;
        if (character >= kFirstEnd && !isSecond) return nullptr;
        Folding& folding =
            foldings_[isSecond ? std::size_t(kFirstEnd + character - kSecond) : character];
        if (folding.isKnown) return &folding;
        const QByteArray found = comparable(QString(QChar(character)));
        if (std::size_t(found.size()) > folding.bytes.size()) return nullptr;
        std::copy(found.begin(), found.end(), folding.bytes.begin());
        folding.length = static_cast<unsigned char>(found.size());
        folding.isKnown = true;
        return &folding;
    }

    std::array<Folding, kFirstEnd + kSecondEnd - kSecond> foldings_ = {};
};

// Of the main thread, which alone searches.
void appendComparable(const QString& text, std::string& bytes) {
    static FoldingTable table;
    if (!table.append(text, bytes)) bytes += comparable(text).toStdString();
}

}  // namespace

void SearchFields::append(const QString& name, const QString& artist) {
    appendComparable(name, text_);
    text_ += kEnd;
    appendComparable(artist, text_);
    text_ += kEnd;
    ends_.push_back(static_cast<quint32>(text_.size()));
}

SearchPredicate::SearchPredicate(const QString& text) {
    appendComparable(text, folded_);
}

std::vector<std::size_t> SearchPredicate::evaluate(const SearchFields& fields) const {
    std::vector<std::size_t> matches;
    if (folded_.empty()) return matches;
    const char* const begin = fields.text_.data();
    std::size_t track = 0;
    std::size_t at = 0;
    while (at < fields.text_.size()) {
        const void* const found =
            ::memmem(begin + at, fields.text_.size() - at, folded_.data(), folded_.size());
        if (!found) break;
        at = static_cast<std::size_t>(static_cast<const char*>(found) - begin);
        while (fields.ends_[track] <= at)
            ++track;
        matches.push_back(track);
        at = fields.ends_[track];
    }
    return matches;
}
