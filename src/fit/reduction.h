// Data reduction before a fit of an exponential type: the points thin out geometrically from the start of the
// range, dense where an exponential changes fastest, and the last one falls near the end.
#pragma once
#include "trees/fit_types.h"

#include <cstddef>
#include <span>
#include <vector>

namespace Reduction {

// Only Exponential, 1-Exponential and Hodgkin&Huxley thin their data.
[[nodiscard]] bool AppliesTo(SweepFitType type);

// Ratio of neighbouring steps that spreads limit points over points; 1.0 when nothing is to be thinned.
// The limit counts as at least 2.
[[nodiscard]] double Ratio(std::size_t points, std::size_t limit);

// Source indices of the points that stay, in rising order; never behind their own place, never past the end.
[[nodiscard]] std::vector<std::size_t> Indices(std::size_t points, std::size_t limit);

// Thins both arrays in place and returns the number of points that stay. The arrays have equal size.
std::size_t Reduce(std::span<double> x, std::span<double> y, std::size_t limit);

}
