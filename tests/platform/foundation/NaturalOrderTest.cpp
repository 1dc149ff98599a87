#include "platform/foundation/NaturalOrder.h"

#include <QString>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace platform {
namespace {

std::vector<QByteArray> sorted(const std::vector<QByteArray>& names, const QLocale& locale) {
    const std::vector<QByteArrayView> views(names.begin(), names.end());
    std::vector<QByteArray> result;
    for (const std::uint32_t index : NaturalOrder(locale).sorted(views))
        result.push_back(names[index]);
    return result;
}

void expectOrder(const std::vector<QByteArray>& names, const char* locale) {
    std::vector<QByteArray> mixed = names;
    std::mt19937 random(7);
    for (int round = 0; round < 5; ++round) {
        std::shuffle(mixed.begin(), mixed.end(), random);
        EXPECT_THAT(sorted(mixed, QLocale(QLatin1String(locale))), testing::ElementsAreArray(names))
            << locale;
    }
}

TEST(NaturalOrder, IsWhatPeopleExpectOfAList) {
    for (const char* locale : {"C", "en_US", "de_DE", "cs_CZ"}) {
        expectOrder({".hidden", "1.mp3", "02.mp3", "2.mp3", "10 a.mp3", "10 B.mp3", "10 c.mp3",
                     "99999999999999999999.mp3", "100000000000000000000.mp3", "Abba", "a\u00F1b",
                     "B", "b", "Bjork.mp3", "bj\u00F6rk.mp3", "Bjork 2.mp3", "\u042F"},
                    locale);
    }
}

TEST(NaturalOrder, EachLanguageHasItsOwn) {
    expectOrder({"ham", "ch", "idea"}, "cs_CZ");
    expectOrder({"ch", "ham", "idea"}, "en_US");
    expectOrder({"zebra", "\u00E5l", "\u00F6l"}, "sv_SE");
    expectOrder({"\u00E5l", "\u00F6l", "zebra"}, "de_DE");
    expectOrder({"ya", "ib", "yc", "k"}, "lt_LT");
    expectOrder({"s", "z", "t"}, "et_EE");
}

// Few names need the collator, and those that don't must not stand elsewhere for it: beside a
// letter that sends all names through the collator, the same names keep their order.
TEST(NaturalOrder, TheQuickWayIsTheCollatorsOrder) {
    std::mt19937 random(11);
    for (const char* locale : {"en_US", "de_DE", "fr_FR", "pl_PL", "et_EE", "lt_LT", "da_DK"}) {
        QCollator collator{QLocale(QLatin1String(locale))};
        collator.setNumericMode(true);
        collator.setCaseSensitivity(Qt::CaseInsensitive);
        std::vector<QByteArray> names;
        for (int i = 0; i < 3000; ++i) {
            QByteArray name;
            for (auto length = 1 + random() % 6; length > 0; --length)
                name += "0019aAbIyzZ-_ (~\x01"[random() % 18];
            if (random() % 3 == 0) name += "\u00E9";
            names.push_back(name);
        }
        names.push_back(QByteArray(255, '9'));
        // Among few, those that need the collator are compared without keys.
        for (const size_t count : {names.size(), size_t{9}}) {
            names.resize(count);
            const auto result = sorted(names, QLocale(QLatin1String(locale)));
            ASSERT_EQ(result.size(), names.size());
            for (size_t i = 1; i < result.size(); ++i) {
                const int order = collator.compare(QString::fromUtf8(result[i - 1]),
                                                   QString::fromUtf8(result[i]));
                ASSERT_TRUE(order < 0 || (order == 0 && result[i - 1] <= result[i]))
                    << locale << ": " << result[i - 1].constData() << ", " << result[i].constData();
            }
        }
    }
}

}  // namespace
}  // namespace platform
