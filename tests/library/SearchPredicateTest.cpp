#include "library/SearchPredicate.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ::testing::Contains;

bool finds(const char16_t* needle, const char16_t* text) {
    const QString field = QString::fromUtf16(text);
    SearchFields fields;
    fields.append(field, QString());
    fields.append(QStringLiteral("none"), QString());
    fields.append(QString(), field);
    const auto matches = SearchPredicate(QString::fromUtf16(needle)).evaluate(fields);
    const bool isFirst = !matches.empty() && matches.front() == 0;
    const bool isLast = !matches.empty() && matches.back() == 2;
    EXPECT_EQ(isFirst, isLast);
    EXPECT_THAT(SearchPredicate(QStringLiteral("none")).evaluate(fields), Contains(1));
    return isLast;
}

TEST(SearchPredicate, IgnoresCaseAndMarksInBothDirections) {
    for (const char16_t* needle : {u"eric", u"\u00E9ric", u"E\u0301RIC", u"\u00C8ri"}) {
        EXPECT_TRUE(finds(needle, u"\u00C9ric"));
        EXPECT_TRUE(finds(needle, u"ERIC"));
        EXPECT_TRUE(finds(needle, u"Jean-E\u0301ric"));
        EXPECT_FALSE(finds(needle, u"Er"));
    }
}

TEST(SearchPredicate, FoldsInFull) {
    EXPECT_TRUE(finds(u"\u00DF", u"MASSE"));
    EXPECT_TRUE(finds(u"STRASSE", u"Stra\u00DFe"));
    EXPECT_TRUE(finds(u"\u1E9E", u"\u00DF"));
    EXPECT_TRUE(finds(u"office", u"O\uFB03ce"));
    EXPECT_TRUE(finds(u"\u0535\u0552", u"\u0587"));
    EXPECT_TRUE(finds(u"\u0574\u056D", u"\uFB17"));
    EXPECT_TRUE(finds(u"\u03BF\u03B4\u03BF\u03C2", u"\u039F\u0394\u039F\u03A3"));  // final sigma
    EXPECT_TRUE(finds(u"i", u"\u0130"));                                           // I with dot
    EXPECT_FALSE(finds(u"i", u"\u0131"));                                          // dotless i
    EXPECT_TRUE(finds(u"\U00010428", u"\U00010400"));  // a case pair beyond the first plane
    EXPECT_TRUE(finds(u"\u304B", u"\u304C"));          // voiced kana
    EXPECT_TRUE(finds(u"\u1100\u1161\u11A8", u"\uAC01"));
    EXPECT_FALSE(finds(u"\uAC00", u"\uAC01"));              // a syllable is not part of another
    EXPECT_FALSE(finds(u"\u0915\u093F", u"\u0915\u0940"));  // vowel signs differ
    EXPECT_TRUE(finds(u"\u0E01", u"\u0E01\u0E38\u0E48"));   // but not Thai ones below and tones
}

// A vowel sign of Bengali, which may compose with what stands before it, has a text folded as a
// whole; without one each character is folded by itself.
TEST(SearchPredicate, ACharacterFoldsAloneAsItDoesAmongOthers) {
    for (char16_t first = 1; first < 0xD7A4; ++first) {
        const bool isAlone = first < 0x0900 || (first >= 0x1E00 && first < 0x3100) ||
                             (first >= 0x4E00 && first < 0xA000) || first >= 0xAC00;
        if (!isAlone) continue;
        // Neighbours of every kind, marks among them.
        const auto second = static_cast<char16_t>(0x0300 + first * 7 % 0x0600);
        const char16_t alone[] = {'x', first, second, 'x', 0};
        const char16_t among[] = {'x', first, second, 'x', u'\u09BE', 0};
        ASSERT_TRUE(finds(alone, among)) << std::hex << unsigned(first) << ' ' << unsigned(second);
    }
}

TEST(SearchPredicate, TakesTheTextLiterally) {
    EXPECT_TRUE(finds(u"*?\"$\\value (", u"a*?\"$\\value ()"));
    EXPECT_FALSE(finds(u"*", u"anything"));
    EXPECT_FALSE(finds(u"blue ", u"Blue"));
    EXPECT_TRUE(finds(u"e s", u"Blue Song"));
    EXPECT_FALSE(finds(u"nenone", u"none"));  // not across two fields
    EXPECT_FALSE(finds(u"\u4E2D", u"plain"));
    EXPECT_TRUE(finds(u"\u2764 you", u"I \u2764\uFE0F you"));
    EXPECT_TRUE(finds(u"\u2764\uFE0F Y", u"I \u2764 you"));
    EXPECT_TRUE(finds(u"\u845B\u57CE", u"\u845B\U000E0100\u57CE"));
    // What has no letters of its own is in nothing.
    EXPECT_FALSE(finds(u"\uFE0F", u"I \u2764\uFE0F you"));
    EXPECT_FALSE(finds(u"\u0301", u"plain"));
    EXPECT_FALSE(finds(u"\u0301", u"\u00E9"));
}

}  // namespace
