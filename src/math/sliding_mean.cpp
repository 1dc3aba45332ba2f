#include "math/sliding_mean.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

namespace Measure {

namespace {

// Fewer samples are summed as quickly as the sum is carried on, and without a look at all of them before.
constexpr std::size_t Few = 64;

// What all finite samples have in common.
struct Grid {
    double Step = std::numeric_limits<double>::infinity(); // the greatest power of 2 they are multiples of
    double Most = 0.0;                                     // the greatest absolute value
};

Grid GridOf(std::span<const float> samples) {
    constexpr std::uint32_t FractionBits = 23, Infinite = 255;
    constexpr int ExponentOfUnit = -150; // of the last bit of a fraction, less the exponent field
    int step = std::numeric_limits<int>::max();
    std::uint32_t most = 0;
    for (const float sample : samples) {
        const std::uint32_t size = std::bit_cast<std::uint32_t>(sample) & 0x7fffffffU;
        const std::uint32_t exponent = size >> FractionBits;
        if (size == 0 || exponent == Infinite) continue;
        most = std::max(most, size);
        const std::uint32_t normal = exponent > 0 ? 1U << FractionBits : 0U;
        const std::uint32_t fraction = (size & ((1U << FractionBits) - 1U)) | normal;
        step = std::min(step, static_cast<int>(std::max(exponent, 1U)) + std::countr_zero(fraction));
    }
    if (most == 0) return {};
    return {std::ldexp(1.0, step + ExponentOfUnit), static_cast<double>(std::bit_cast<float>(most))};
}

}

double MeanAt(std::span<const float> samples, std::size_t at, std::size_t average) {
    double sum = 0.0;
    for (std::size_t i = at; i < at + average; ++i) sum += samples[i];
    return sum / static_cast<double>(average);
}

SlidingMean::SlidingMean(std::span<const float> samples, std::size_t average, double threshold)
    : Samples(samples), Average(average), Threshold(threshold) {
    if (average < Few) return;
    const Grid grid = GridOf(samples);
    const auto n = static_cast<double>(average);
    constexpr double ExactSteps = 9007199254740992.0; // 2^53
    // On the way to the next place one sample more is in the sum.
    if ((n + 1.0) * grid.Most > ExactSteps * grid.Step) {
        // Each of n additions that make the mean, n that make the sum anew and 2 n that carry it on is off by
        // half a unit of n + 1 samples at most; twice of that leaves room for the divisions.
        constexpr double HalfUnit = std::numeric_limits<double>::epsilon() / 2.0;
        Doubt = 8.0 * (n + 2.0) * HalfUnit * grid.Most;
    }
    Sum(0);
}

void SlidingMean::Count(float sample, int sign) {
    if (std::isfinite(sample)) {
        Finite += sign > 0 ? static_cast<double>(sample) : -static_cast<double>(sample);
        return;
    }
    std::ptrdiff_t& others = std::isnan(sample) ? NotNumbers : sample > 0.0F ? Highest : Lowest;
    others += sign;
}

void SlidingMean::Sum(std::size_t place) {
    Place = place;
    Carried = 0;
    Finite = 0.0;
    NotNumbers = Highest = Lowest = 0;
    for (const float sample : Samples.subspan(place, Average)) Count(sample, 1);
}

double SlidingMean::At(std::size_t place) {
    if (Average < Few) return MeanAt(Samples, place, Average);
    if (place == Place + 1 && Carried < Average) {
        Count(Samples[Place + Average], 1);
        Count(Samples[Place], -1);
        ++Place;
        ++Carried;
    } else if (place != Place) {
        Sum(place);
    }
    constexpr double Infinity = std::numeric_limits<double>::infinity();
    if (NotNumbers > 0 || (Highest > 0 && Lowest > 0)) return std::numeric_limits<double>::quiet_NaN();
    if (Highest > 0) return Infinity;
    if (Lowest > 0) return -Infinity;
    const double mean = Finite / static_cast<double>(Average);
    if (Doubt == 0.0 || Carried == 0 || std::fabs(mean - Threshold) > Doubt) return mean;
    return MeanAt(Samples, place, Average);
}

}
