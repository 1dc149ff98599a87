#pragma once

#include <algorithm>
#include <cstddef>

namespace platform::audio {

/// How much of each channel of a song goes to each channel of the output.
struct GainMatrix {
    float leftFromLeft = 0;
    float leftFromRight = 0;
    float rightFromLeft = 0;
    float rightFromRight = 0;

    bool operator==(const GainMatrix&) const = default;
    bool isSilent() const { return *this == GainMatrix(); }
};

/// The gains for a volume from 0 to 1 and a pan from -1 (left) to +1 (right). For pan >= 0:
/// left' = (1 - p) L, right' = (R + p L) / (1 + p); mirrored for pan < 0. A channel's gains add up
/// to 1 at most, so full scale stays full scale.
inline GainMatrix panLaw(float volume, float pan) {
    const float p = pan < 0 ? -pan : pan;
    const float near = volume / (1 + p);
    const float moved = p * volume / (1 + p);
    const float far = (1 - p) * volume;
    if (pan < 0) return {near, moved, 0, far};
    return {far, 0, moved, near};
}

/// Gains that go to a new value in a straight line over some frames, so that no step is heard.
/// Every value on the way is a mean of two legal ones and so as harmless as they are.
class GainRamp {
  public:
    /// Heads for `target` over `frames` frames, from wherever the gains are; no change when it is
    /// the target already.
    void setTarget(const GainMatrix& target, size_t frames) {
        if (target == target_) return;
        target_ = target;
        left_ = std::max<size_t>(frames, 1);
    }

    /// True while nothing can be heard and nothing is about to be.
    bool isSilent() const { return left_ == 0 && target_.isSilent(); }

    /// Frames until the gains reach their target.
    size_t framesLeft() const { return left_; }

    /// Adds `frames` frames of `in`, weighted by the gains, to `out`; both stereo, interleaved.
    void mix(const float* in, float* out, size_t frames) {
        size_t i = 0;
        for (; i < frames && left_ > 0; ++i) {
            advance();
            add(current_, in + 2 * i, out + 2 * i);
        }
        for (; i < frames; ++i)
            add(current_, in + 2 * i, out + 2 * i);
    }

  private:
    static void add(const GainMatrix& gain, const float* in, float* out) {
        out[0] += gain.leftFromLeft * in[0] + gain.leftFromRight * in[1];
        out[1] += gain.rightFromLeft * in[0] + gain.rightFromRight * in[1];
    }

    void advance() {
        const auto step = [this](float& from, float to) {
            from += (to - from) / static_cast<float>(left_);
        };
        step(current_.leftFromLeft, target_.leftFromLeft);
        step(current_.leftFromRight, target_.leftFromRight);
        step(current_.rightFromLeft, target_.rightFromLeft);
        step(current_.rightFromRight, target_.rightFromRight);
        // The last step lands on the target exactly: zeros must be zeros.
        if (--left_ == 0) current_ = target_;
    }

    GainMatrix current_;
    GainMatrix target_;
    size_t left_ = 0;
};

}  // namespace platform::audio
