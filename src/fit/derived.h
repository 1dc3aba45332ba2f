// Results that are derived from the fitted curve: its integral, largest excursion and first zero.
// They are taken on the full grid of the selected range, never on the reduced points of the fit.
#pragma once
#include "fit/model.h"

#include <span>

namespace Fit {

struct Result {
    bool Valid = false;
    double Value = 0.0;
};

struct GridResults {
    Result Integral;     // rectangle sum times the interval; needs two points
    Result XPeak, YPeak; // first point of the largest |y|, with its sign; needs a point
    Result XZero;        // first x if y is 0 there, else the first crossing, interpolated linearly
};

// From the model, in blocks: no memory is allocated, whatever the number of points.
[[nodiscard]] GridResults DeriveOnGrid(const FitFunction& function, const Grid& grid);

// From a curve that stands in memory; the grid has as many points as values.
[[nodiscard]] GridResults DeriveFromValues(std::span<const double> values, const Grid& grid);

// A result that does not exist becomes 0.0 and off; Store stays as the user set it.
void SetResult(FitParam& param, const Result& result);

}
