// Means of blocks of samples: a trace in fewer points.
#pragma once
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace TraceCopy {

inline constexpr std::size_t MostBlocks = 4000;

// Whole blocks of so many samples (at least 1); what is left behind the last one is left out.
[[nodiscard]] std::size_t BlockCount(std::size_t samples, std::int32_t blockSize);

// The mean of each block; not a number where the samples end too early.
[[nodiscard]] std::vector<double> BlockMeans(std::span<const float> samples, std::int32_t blockSize,
                                             std::size_t blocks);

// The mean x of each block of a grid of first x and interval.
[[nodiscard]] std::vector<double> BlockTimes(double first, double interval, std::int32_t blockSize,
                                             std::size_t blocks);

}
