#include "library/SearchPredicate.h"

#include <QRegularExpression>

#include <algorithm>
#include <iterator>

namespace {

bool isAscii(QStringView text) {
    char16_t seen = 0;
    for (const QChar unit : text)
        seen |= unit.unicode();
    return seen < 0x80;
}

// A mark that modifies the letter before it. Vowel signs of the Indic and Thai scripts are marks
// too, but of combining class 0: they are letters to their readers and stay.
bool isDiacritic(char32_t character) {
    return QChar::combiningClass(character) != 0 ||
           QChar::category(character) == QChar::Mark_Enclosing;
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
        if (!isDiacritic(character)) bare += QStringView(decomposed).mid(i, pair ? 2 : 1);
        i += pair ? 1 : 0;
    }
    return caseFolded(bare).normalized(QString::NormalizationForm_C);
}

}  // namespace

SearchPredicate::SearchPredicate(const QString& format) {
    static const QRegularExpression whole(
        QStringLiteral(R"(^\s*(\([^()]*\))(\s*or\s*(\([^()]*\)))*\s*$)"));
    static const QRegularExpression term(
        QStringLiteral(R"(\(\s*(name|artist) contains\[cd\] \$(\w+)\s*\))"));
    if (!whole.match(format).hasMatch()) return;
    for (auto matches = term.globalMatch(format); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        const Field field =
            match.capturedView(1) == QLatin1String("name") ? Field::Name : Field::Artist;
        terms_ += Term{field, match.captured(2), std::nullopt};
    }
}

SearchPredicate SearchPredicate::predicateWithSubstitutionVariables(
    const std::function<QString(const QString&)>& valueOf) const {
    SearchPredicate predicate = *this;
    for (Term& term : predicate.terms_) {
        const QString text = folded(valueOf(term.variable));
        term.needle = Needle{text, isAscii(text)};
    }
    return predicate;
}

bool SearchPredicate::evaluate(const QString& name, const QString& artist) const {
    return std::any_of(terms_.begin(), terms_.end(), [&](const Term& term) {
        return term.needle && term.needle->isIn(term.field == Field::Name ? name : artist);
    });
}

bool SearchPredicate::Needle::isIn(const QString& text) const {
    // Most titles are ASCII and need no folding: only an ASCII needle can be in them, and ASCII
    // letters have no case but their own.
    if (isAscii(text)) return ascii && text.contains(folded, Qt::CaseInsensitive);
    return ::folded(text).contains(folded);
}
