// Sums and extremes of long stretches of samples, by the widest instructions of the machine.
//
// Sums are of 64-bit values in sixteen interleaved lanes that are added pairwise at the end: the same bits on
// every machine.
#pragma once
#include <cstddef>
#include <span>

namespace LaneSums {

[[nodiscard]] double Sum(std::span<const float> samples);
// Of the samples above 0, and of those below.
[[nodiscard]] double SumAbove(std::span<const float> samples);
[[nodiscard]] double SumBelow(std::span<const float> samples);

// Three sums in one go: of the samples (the same bits as Sum), of their squares, and of index (from 0) times
// sample.
struct Moments {
    double Sum = 0.0, Squares = 0.0, ByIndex = 0.0;
};
[[nodiscard]] Moments AllMoments(std::span<const float> samples);

// Samples that are not exactly 0.
[[nodiscard]] std::size_t CountNotZero(std::span<const float> samples);

// Positions of the first least and the first greatest sample; samples that are not a number are passed over.
// 0 where there is none.
struct Places {
    std::size_t Least = 0, Greatest = 0;
};
[[nodiscard]] Places Extremes(std::span<const float> samples);

}
