// The amplitude histogram of a trace: how many samples lie in each of equal bins.
#pragma once
#include <cstdint>
#include <span>
#include <vector>

namespace Histogram {

// Counts of bins from 1 on: bin k holds the samples of which (y - left) / size, cut to a whole number, is k.
// So the first bin, whose centre is said to be half a bin behind the left edge, has those of the second; this
// is how the counts are defined.
struct Counts {
    std::vector<double> Bins;
    double Left = 0.0, Right = 0.0; // samples below bin 1 and above the last
    [[nodiscard]] double Total() const;
};

[[nodiscard]] double Centre(std::size_t bin, double left, double size); // bin from 0

// Adds the samples. One that is not a number counts as left.
void Add(Counts& counts, std::span<const float> samples, double left, double size);

}
