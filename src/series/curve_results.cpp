#include "series/curve_results.h"

#include <algorithm>
#include <cmath>

namespace CurveResults {

Peak PeakOf(std::span<const double> x, std::span<const double> y) {
    if (y.empty()) return {};
    std::size_t lowest = 0, highest = 0;
    for (std::size_t k = 1; k < y.size(); ++k) {
        if (y[k] < y[lowest]) lowest = k;
        if (y[k] > y[highest]) highest = k;
    }
    const auto inside = [&](std::size_t k) { return k != 0 && k + 1 != y.size(); };
    if (!inside(lowest) && !inside(highest)) return {};
    const bool takeHighest =
        inside(highest) && (!inside(lowest) || std::fabs(y[highest]) > std::fabs(y[lowest]));
    const std::size_t peak = takeHighest ? highest : lowest;
    return {{true, x[peak]}, {true, y[peak]}};
}

Fit::Result ZeroOf(std::span<const double> x, std::span<const double> y) {
    if (y.empty()) return {};
    for (std::size_t k = 1; k < y.size(); ++k) {
        if (!(y[k] > 0.0)) continue;
        const double before = std::fabs(y[k - 1]);
        return {true, x[k] + (x[k] - x[k - 1]) * before / (before + std::fabs(y[k]))};
    }
    return {false, x[0]};
}

Fit::Result IntegralOf(std::span<const double> x, std::span<const double> y) {
    double sum = 0.0;
    for (std::size_t k = 1; k < y.size(); ++k) sum += (x[k] - x[k - 1]) * (y[k] + y[k - 1]) * 0.5;
    return {true, sum};
}

void Take(FitParam& param, const Fit::Result& result) {
    param.Value = result.Value;
    param.State = result.Valid ? FitParamState::Fit : FitParamState::Off;
}

}
