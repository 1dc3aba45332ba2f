#include "events/rise_time.h"

#include <cmath>
#include <cstddef>

namespace RiseTime {

namespace {

struct Curve {
    std::span<const float> Samples;
    double Baseline, Interval;

    [[nodiscard]] double At(std::size_t i) const { return Samples[i] - Baseline; }
    // Between the sample and the one ahead of it.
    [[nodiscard]] double TimeOf(std::size_t i, double level) const {
        if (i == 0) return 0.0;
        return (static_cast<double>(i) - 1.0 + (level - At(i - 1)) / (At(i) - At(i - 1))) * Interval;
    }
};

}

Result Measure(std::span<const float> samples, double interval, double baseline, const Levels& levels) {
    const Curve curve{samples, baseline, interval};
    std::size_t least = 0, greatest = 0;
    for (std::size_t i = 1; i < samples.size(); ++i) {
        if (curve.At(i) < curve.At(least)) least = i;
        if (curve.At(i) > curve.At(greatest)) greatest = i;
    }
    const std::size_t peak = std::fabs(curve.At(least)) > std::fabs(curve.At(greatest)) ? least : greatest;

    Result result;
    result.Low = curve.At(peak) * levels.Low / 100.0;
    result.High = curve.At(peak) * levels.High / 100.0;
    const double rising[] = {result.Low, result.High}, falling[] = {result.High, result.Low};
    std::size_t i = 0;
    for (std::size_t n = 0; n < 2; ++n) {
        while (i < peak && std::fabs(curve.At(i)) < std::fabs(rising[n])) ++i;
        result.Rise[n] = {true, curve.TimeOf(i, rising[n])};
    }
    i = peak + 1;
    for (std::size_t n = 0; n < 2; ++n) {
        while (i < samples.size() && std::fabs(curve.At(i)) > std::fabs(falling[n])) ++i;
        if (i >= samples.size()) break;
        result.Fall[n] = {true, curve.TimeOf(i, falling[n])};
    }
    return result;
}

}
