#include "platform/audio/Gain.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace platform::audio {
namespace {

std::vector<float> through(GainRamp& ramp, std::vector<float> in) {
    std::vector<float> out(in.size());
    ramp.mix(in.data(), out.data(), in.size() / 2);
    return out;
}

TEST(Gain, PanLaw) {
    for (float pan = -1; pan <= 1; pan += 0.125F) {
        for (const auto& [left, right] : {std::pair(0.7F, -0.2F), {1.0F, 1.0F}, {-1.0F, 1.0F}}) {
            GainRamp ramp;
            ramp.setTarget(panLaw(0.8F, pan), 1);
            const auto out = through(ramp, {left, right});
            const double p = std::abs(pan);
            const double near = pan >= 0 ? right : left;
            const double far = pan >= 0 ? left : right;
            const double newNear = 0.8 * (near + p * far) / (1 + p);
            const double newFar = 0.8 * (1 - p) * far;
            EXPECT_NEAR(out[pan >= 0 ? 1 : 0], newNear, 1e-6) << pan;
            EXPECT_NEAR(out[pan >= 0 ? 0 : 1], newFar, 1e-6) << pan;
            EXPECT_LE(std::max(std::abs(out[0]), std::abs(out[1])), 0.8F + 1e-6F);
        }
    }
    GainRamp hard;
    hard.setTarget(panLaw(1, 1), 1);
    EXPECT_EQ(through(hard, {0.9F, -0.3F})[0], 0)
        << "a hard pan leaves the other side exactly zero";
}

TEST(Gain, RampsAreStraightAndEndExactly) {
    GainRamp ramp;
    constexpr size_t kLength = 288;
    ramp.setTarget(panLaw(1, 0), kLength);
    const std::vector<float> ones(2 * 400, 1.0F);
    const auto up = through(ramp, ones);
    float before = 0;
    for (size_t i = 0; i < 400; ++i) {
        EXPECT_LE(up[2 * i] - before, 1.01F / kLength);
        EXPECT_GE(up[2 * i], before);
        before = up[2 * i];
    }
    EXPECT_EQ(up[2 * (kLength - 1)], 1.0F);
    // Turned round halfway, it goes on from where it was.
    ramp.setTarget(panLaw(0.5F, 0), kLength);
    through(ramp, std::vector<float>(2 * 100, 1.0F));
    ramp.setTarget(GainMatrix(), kLength);
    EXPECT_FALSE(ramp.isSilent());
    const auto down = through(ramp, ones);
    EXPECT_LT(std::abs(down[0] - (1 - 0.5F * 100 / kLength)), 2.0F / kLength);
    EXPECT_EQ(down[2 * kLength], 0);
    EXPECT_TRUE(ramp.isSilent());
}

}  // namespace
}  // namespace platform::audio
