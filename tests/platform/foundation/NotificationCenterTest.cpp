#include "platform/foundation/NotificationCenter.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace platform {
namespace {

const QString kName = QStringLiteral("org.example.changed");

TEST(NotificationCenter, DeliversInOrderToThoseWhoAskedForNameAndSender) {
    NotificationCenter center;
    const int sender = 0;
    const int stranger = 0;
    std::vector<std::string> heard;
    const auto note = [&](const char* who) {
        return [&, who](auto&&) { heard.emplace_back(who); };
    };
    const ObserverToken any = center.addObserver(note("any"), kName);
    const ObserverToken one = center.addObserver(note("one"), kName, &sender);
    const ObserverToken other = center.addObserver(note("other"), QStringLiteral("other"));

    center.postNotification({kName, &sender});
    EXPECT_THAT(heard, testing::ElementsAre("any", "one"));
    center.postNotification({kName, &stranger});
    center.postNotification({kName});
    EXPECT_THAT(heard, testing::ElementsAre("any", "one", "any", "any"));
}

TEST(NotificationCenter, ObserversMayComeAndGoDuringADelivery) {
    NotificationCenter center;
    std::vector<std::string> heard;
    std::vector<ObserverToken> late;
    ObserverToken later;
    ObserverToken self;
    const auto lifeSign = std::make_shared<int>(0);
    self = center.addObserver(
        [&, lifeSign](const Notification&) {
            self.removeObserver();
            later.removeObserver();
            for (int i = 0; i < 100; ++i) {  // enough for any list of observers to move
                late.push_back(
                    center.addObserver([&](auto&&) { heard.emplace_back("new"); }, kName));
            }
            heard.emplace_back("self");
            EXPECT_GT(lifeSign.use_count(), 1) << "the running block was destroyed";
        },
        kName);
    later = center.addObserver([&](auto&&) { heard.emplace_back("later"); }, kName);
    const ObserverToken last =
        center.addObserver([&](auto&&) { heard.emplace_back("last"); }, kName);

    center.postNotification({kName});
    EXPECT_THAT(heard, testing::ElementsAre("self", "last"));
    EXPECT_EQ(lifeSign.use_count(), 1) << "a removed block is still held";
    late.resize(1);
    center.postNotification({kName});
    EXPECT_THAT(heard, testing::ElementsAre("self", "last", "last", "new"));
}

}  // namespace
}  // namespace platform
