#include "fit/derived.h"

#include <algorithm>
#include <cmath>

namespace Fit {

namespace {

// All results in one walk over the points.
struct Scan {
    explicit Scan(const Fit::Grid& grid) : Grid(grid) {}

    const Fit::Grid& Grid;
    std::size_t Points = 0; // walked so far
    double Sum = 0.0;
    double PeakY = 0.0, LastY = 0.0;
    std::size_t PeakAt = 0;
    Result XZero;

    void Add(double y) {
        Sum += y;
        if (Points == 0 || std::fabs(y) > std::fabs(PeakY)) {
            PeakY = y;
            PeakAt = Points;
        }
        if (!XZero.Valid) LookForZero(y);
        LastY = y;
        ++Points;
    }

    void LookForZero(double y) {
        if (Points == 0) {
            if (y == 0.0) XZero = {true, Grid.At(0)};
        } else if ((LastY < 0.0 && y >= 0.0) || (LastY > 0.0 && y <= 0.0)) {
            XZero = {true, Grid.At(Points - 1) + Grid.Interval * std::fabs(LastY) / std::fabs(y - LastY)};
        }
    }

    [[nodiscard]] GridResults Finish() const {
        GridResults results;
        if (Points >= 2) results.Integral = {true, Sum * Grid.Interval};
        if (Points >= 1) {
            results.XPeak = {true, Grid.At(PeakAt)};
            results.YPeak = {true, PeakY};
        }
        results.XZero = XZero;
        return results;
    }
};

}

GridResults DeriveOnGrid(const FitFunction& function, const Grid& grid) {
    constexpr std::size_t Block = 256;
    double x[Block], y[Block];
    Scan scan(grid);
    while (scan.Points < grid.Points) {
        const std::size_t first = scan.Points;
        const std::size_t count = std::min(Block, grid.Points - first);
        for (std::size_t i = 0; i < count; ++i) x[i] = grid.At(first + i);
        ModelValues(function, {x, count}, y);
        for (std::size_t i = 0; i < count; ++i) scan.Add(y[i]);
    }
    return scan.Finish();
}

GridResults DeriveFromValues(std::span<const double> values, const Grid& grid) {
    Scan scan(grid);
    for (const double y : values) scan.Add(y);
    return scan.Finish();
}

void SetResult(FitParam& param, const Result& result) {
    param.Value = result.Valid ? result.Value : 0.0;
    param.State = result.Valid ? FitParamState::Fit : FitParamState::Off;
}

}
