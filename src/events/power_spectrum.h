// The power spectrum of a trace: the mean of those of its blocks, in linear or logarithmic bins.
//
// Densities are one-sided, in the square of the samples' unit over Hz; df = 1 / (block * interval).
#pragma once
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace PowerSpectrum {

inline constexpr std::int32_t MostPoints = 512; // frequencies; a block has twice as many samples

// Whether so many frequencies can be had: a power of two, from 1 to MostPoints.
[[nodiscard]] bool IsPossible(std::int32_t points);

// How many frequencies go into each bin, from frequency 0 on: one each without bins, points + 1 in all; else
// points - 1 frequencies in bins + 1 steps that are equal on a logarithmic scale.
[[nodiscard]] std::vector<std::int32_t> BinSizes(std::int32_t points, std::int32_t bins, double df);

struct Spectrum {
    std::vector<double> Frequencies; // mean of each bin
    std::vector<double> Densities;
    std::int64_t Blocks = 0;
};

// Of all whole blocks with at least one sample behind them: a trace of exactly one block has none, and its
// densities are not numbers. removeMean: of each block. progress is asked now and then with the share that is
// done, and may say false to stop; the spectrum is empty then.
[[nodiscard]] Spectrum Compute(std::span<const float> samples, double interval, std::int32_t points,
                               std::int32_t bins, bool removeMean,
                               const std::function<bool(double)>& progress = {});

// Adds a spectrum of equal bins to one that stands for so many blocks.
void Merge(std::span<double> densities, std::int64_t blocks, const Spectrum& added);

}
