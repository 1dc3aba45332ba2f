// Results that are read off a drawn curve: its peak, its first rise above zero, its area. They differ from
// those of the sweep level (fit/derived.h), which are taken on the grid of the data.
#pragma once
#include "fit/derived.h"

#include <span>

namespace CurveResults {

struct Peak {
    Fit::Result X, Y;
};

// The larger in size of the first lowest and the first highest point, the lowest where both are as large; a
// point at either end is none.
[[nodiscard]] Peak PeakOf(std::span<const double> x, std::span<const double> y);

// At the first point above zero behind the first one, whatever the sign of that: the crossing, laid off from
// the point behind it. Not valid, with the first x as value, where there is no such point.
[[nodiscard]] Fit::Result ZeroOf(std::span<const double> x, std::span<const double> y);

// Trapezoids over the whole curve; valid for any curve.
[[nodiscard]] Fit::Result IntegralOf(std::span<const double> x, std::span<const double> y);

// The value stands in the parameter also where it is not valid.
void Take(FitParam& param, const Fit::Result& result);

}
