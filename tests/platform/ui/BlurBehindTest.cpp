#include "platform/ui/BlurBehind.h"

#include <gtest/gtest.h>

namespace platform {

// A panel's round corners come as lines of one point, which must not come apart.
TEST(BlurBehind, LeavesNoGapBetweenTheLinesOfAScaledRegion) {
    for (const double scale : {1.0, 1.1, 1.25, 1.5, 1.75, 2.0}) {
        QRegion scaled;
        for (int line = 3; line < 40; ++line)
            scaled += scaledByEdges(QRect(7, line, 11, 1), scale);
        EXPECT_EQ(scaled, QRegion(scaledByEdges(QRect(7, 3, 11, 37), scale))) << scale;
        EXPECT_EQ(scaled.boundingRect().top(), qRound(3 * scale));
    }
}

}  // namespace platform
