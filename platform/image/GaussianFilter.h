#pragma once

#include <vector>

namespace platform {

/// A Gaussian as a recursive filter that runs forward over the samples, then backward over its own
/// response; its cost does not depend on sigma. Each run is a cascade of two sections of second
/// order, w[n] = x[n] + feedback1 w[n-1] + feedback2 w[n-2], and one of first order.
struct RecursiveGaussian {
    /// Narrower, the sampled poles no longer keep the kernel's shape.
    static constexpr double kLeastSigma = 3.0;
    /// A run's states: w[n] and w[n-1] of the sections of second order, w[n] of the third.
    static constexpr int kStates = 5;

    float feedback[kStates];  ///< what multiplies each state
    /// The backward run's states before its first sample are this matrix times the forward run's
    /// after its last: as if both had gone on over the zeros beyond the line.
    float turn[kStates][kStates];
    float gain;  ///< what the response is multiplied by for the weights to sum to 1

    /// The filter of standard deviation `sigma` >= kLeastSigma, in samples.
    static RecursiveGaussian withSigma(double sigma);
};

/// The Gaussian along one axis, recursive or, if narrow, by its weights.
struct GaussianFilter {
    /// Weights of a sample and of its neighbours at each distance on both sides; empty if
    /// recursive.
    std::vector<float> weights;
    RecursiveGaussian recursion{};

    /// The filter of standard deviation `sigma` >= 0, in samples; its weights sum to 1.
    static GaussianFilter withSigma(double sigma);

    bool isRecursive() const { return weights.empty(); }
    /// What its response is to be multiplied by.
    float gain() const { return isRecursive() ? recursion.gain : 1.0f; }
};

}  // namespace platform
