#include "events/histogram.h"

#include <cmath>
#include <numeric>

namespace Histogram {

double Counts::Total() const {
    return std::accumulate(Bins.begin(), Bins.end(), 0.0);
}

double Centre(std::size_t bin, double left, double size) {
    return (static_cast<double>(bin) + 0.5) * size + left;
}

void Add(Counts& counts, std::span<const float> samples, double left, double size) {
    const auto bins = static_cast<double>(counts.Bins.size());
    for (const float y : samples) {
        const double k = std::trunc((y - left) / size);
        if (k > bins)
            counts.Right += 1.0;
        else if (k >= 1.0)
            counts.Bins[static_cast<std::size_t>(k) - 1] += 1.0;
        else
            counts.Left += 1.0;
    }
}

}
