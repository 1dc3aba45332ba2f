#include "fit/reduction.h"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace Reduction {

namespace {

constexpr std::size_t SmallestLimit = 2;
constexpr double FirstGuess = 20.0;
constexpr int Rounds = 100;

// Calls keep(place, source) for each point that stays and returns their number.
template <typename Keep>
std::size_t Walk(std::size_t points, std::size_t limit, Keep keep) {
    limit = std::max(limit, SmallestLimit);
    if (points <= limit) {
        for (std::size_t i = 0; i < points; ++i) keep(i, i);
        return points;
    }
    const double ratio = Ratio(points, limit);
    double position = 0.0, step = 1.0;
    for (std::size_t i = 0; i < limit; ++i) {
        // The bounds only matter where rounding of a long walk carries the position past them. A position
        // that is not finite would not convert.
        const double last = static_cast<double>(points - 1);
        const double source = std::clamp(std::floor(position + 0.5), static_cast<double>(i), last);
        keep(i, static_cast<std::size_t>(source));
        position += step;
        step *= ratio;
    }
    return limit;
}

}

bool AppliesTo(SweepFitType type) {
    return type == SweepFitType::Exponential || type == SweepFitType::OneExponential ||
           type == SweepFitType::HodgkinHuxley;
}

double Ratio(std::size_t points, std::size_t limit) {
    limit = std::max(limit, SmallestLimit);
    if (points <= limit) return 1.0;
    const double n = static_cast<double>(points);
    const double exponent = 1.0 / (static_cast<double>(limit) - 1.0);
    double ratio = FirstGuess;
    for (int round = 0; round < Rounds; ++round) ratio = std::pow((1.0 - n) / ratio + n, exponent);
    return ratio;
}

std::vector<std::size_t> Indices(std::size_t points, std::size_t limit) {
    std::vector<std::size_t> indices(std::min(points, std::max(limit, SmallestLimit)));
    Walk(points, limit, [&indices](std::size_t place, std::size_t source) { indices[place] = source; });
    return indices;
}

std::size_t Reduce(std::span<double> x, std::span<double> y, std::size_t limit) {
    assert(x.size() == y.size());
    return Walk(x.size(), limit, [x, y](std::size_t place, std::size_t source) {
        x[place] = x[source];
        y[place] = y[source];
    });
}

}
