#include "platform/foundation/NotificationCenter.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

using platform::NotificationCenter;

TEST(NotificationCenter, DeliversByNameAndInOrderToThoseWhoAreThere) {
    const QString name = QStringLiteral("org.example.changed");
    NotificationCenter center;
    std::vector<std::string> heard;
    const auto note = [&](const char* who) {
        return [&heard, who](const auto&) { heard.emplace_back(who); };
    };
    const QObject stays;
    auto first = std::make_unique<QObject>();
    auto later = std::make_unique<QObject>();
    center.addObserver(*first, name, [&](const auto&) {
        heard.emplace_back("first");
        later.reset();
        center.addObserver(stays, name, note("new"));
        first.reset();
    });
    center.addObserver(*later, name, note("later"));
    center.addObserver(stays, QStringLiteral("other"), note("other"));
    center.addObserver(stays, name, note("last"));
    center.postNotification({name});
    EXPECT_THAT(heard, testing::ElementsAre("first", "last"));
    center.postNotification({name});
    EXPECT_THAT(heard, testing::ElementsAre("first", "last", "last", "new"));
}
