#include "math/lane_sums.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

namespace LaneSums {

namespace {

constexpr std::size_t Lanes = 8;
constexpr std::size_t BlockSize = 512; // of the search for extremes

// term(sample, index) for each sample, summed.
template <class Term>
[[gnu::always_inline]] inline double SumOf(std::span<const float> samples, const Term& term) {
    std::array<double, Lanes> sums{}, index{};
    for (std::size_t lane = 0; lane < Lanes; ++lane) index[lane] = static_cast<double>(lane);
    const std::size_t whole = samples.size() / Lanes * Lanes;
    const float* const y = samples.data();
    for (std::size_t i = 0; i < whole; i += Lanes) {
#pragma GCC unroll 8
        for (std::size_t lane = 0; lane < Lanes; ++lane) {
            sums[lane] += term(static_cast<double>(y[i + lane]), index[lane]);
            index[lane] += static_cast<double>(Lanes);
        }
    }
    for (std::size_t i = whole; i < samples.size(); ++i)
        sums[i - whole] += term(static_cast<double>(y[i]), static_cast<double>(i));
    return ((sums[0] + sums[4]) + (sums[2] + sums[6])) + ((sums[1] + sums[5]) + (sums[3] + sums[7]));
}

// Four lanes at a time: what the compiler does not find by itself in three sums side by side.
using Four = double __attribute__((vector_size(32)));
using FourSamples = float __attribute__((vector_size(16)));
struct alignas(32) EightLanes {
    Four Half[2] = {};
    [[gnu::always_inline]] double& At(std::size_t lane) { return reinterpret_cast<double*>(Half)[lane]; }
    [[gnu::always_inline]] double Total() {
        return ((At(0) + At(4)) + (At(2) + At(6))) + ((At(1) + At(5)) + (At(3) + At(7)));
    }
};

[[gnu::always_inline]] inline Moments MomentsOf(std::span<const float> samples) {
    EightLanes sum, squares, byIndex, index;
    index.Half[0] = Four{0.0, 1.0, 2.0, 3.0};
    index.Half[1] = Four{4.0, 5.0, 6.0, 7.0};
    const std::size_t whole = samples.size() / Lanes * Lanes;
    for (std::size_t i = 0; i < whole; i += Lanes) {
#pragma GCC unroll 2
        for (std::size_t half = 0; half < 2; ++half) {
            FourSamples raw;
            std::memcpy(&raw, samples.data() + i + 4 * half, sizeof raw);
            const Four y = __builtin_convertvector(raw, Four);
            sum.Half[half] += y;
            squares.Half[half] += y * y;
            byIndex.Half[half] += index.Half[half] * y;
            index.Half[half] += static_cast<double>(Lanes);
        }
    }
    for (std::size_t i = whole; i < samples.size(); ++i) {
        const double y = samples[i];
        sum.At(i - whole) += y;
        squares.At(i - whole) += y * y;
        byIndex.At(i - whole) += static_cast<double>(i) * y;
    }
    return {sum.Total(), squares.Total(), byIndex.Total()};
}

struct Extreme {
    float Least = std::numeric_limits<float>::infinity();
    float Greatest = -std::numeric_limits<float>::infinity();
};

// One that is not a number compares as neither, and is passed over.
[[gnu::always_inline]] inline Extreme ExtremeOf(std::span<const float> block) {
    using Eight = float __attribute__((vector_size(32)));
    constexpr std::size_t Width = 8, Step = 4 * Width;
    Extreme result;
    struct alignas(32) {
        Eight Least[4], Greatest[4];
    } lanes;
    for (std::size_t n = 0; n < 4; ++n) {
        lanes.Least[n] = Eight{} + result.Least;
        lanes.Greatest[n] = Eight{} + result.Greatest;
    }
    const std::size_t whole = block.size() / Step * Step;
    for (std::size_t i = 0; i < whole; i += Step) {
#pragma GCC unroll 4
        for (std::size_t n = 0; n < 4; ++n) {
            Eight y;
            std::memcpy(&y, block.data() + i + n * Width, sizeof y);
            lanes.Least[n] = y < lanes.Least[n] ? y : lanes.Least[n];
            lanes.Greatest[n] = y > lanes.Greatest[n] ? y : lanes.Greatest[n];
        }
    }
    for (std::size_t n = 0; n < 4; ++n)
        for (std::size_t lane = 0; lane < Width; ++lane) {
            result.Least = std::min(result.Least, lanes.Least[n][lane]);
            result.Greatest = std::max(result.Greatest, lanes.Greatest[n][lane]);
        }
    for (std::size_t i = whole; i < block.size(); ++i) {
        result.Least = block[i] < result.Least ? block[i] : result.Least;
        result.Greatest = block[i] > result.Greatest ? block[i] : result.Greatest;
    }
    return result;
}

std::size_t PlaceIn(std::span<const float> samples, std::size_t first, float value) {
    const auto block = samples.subspan(first, std::min(BlockSize, samples.size() - first));
    const auto found = std::find(block.begin(), block.end(), value);
    return found == block.end() ? 0 : first + static_cast<std::size_t>(found - block.begin());
}

// The extremes, and the first samples of the blocks that hold them.
struct Blocks {
    Extreme All;
    std::size_t Least = 0, Greatest = 0;
};

[[gnu::always_inline]] inline Blocks SearchBlocks(std::span<const float> samples) {
    Blocks blocks;
    for (std::size_t first = 0; first < samples.size(); first += BlockSize) {
        const Extreme here = ExtremeOf(samples.subspan(first, std::min(BlockSize, samples.size() - first)));
        if (here.Least < blocks.All.Least) {
            blocks.All.Least = here.Least;
            blocks.Least = first;
        }
        if (here.Greatest > blocks.All.Greatest) {
            blocks.All.Greatest = here.Greatest;
            blocks.Greatest = first;
        }
    }
    return blocks;
}

constexpr auto Itself = [](double y, double) { return y; };
constexpr auto Square = [](double y, double) { return y * y; };
constexpr auto Above = [](double y, double) { return y > 0.0 ? y : 0.0; };
constexpr auto Below = [](double y, double) { return y < 0.0 ? y : 0.0; };
constexpr auto ByIndex = [](double y, double index) { return index * y; };
constexpr auto NotZero = [](double y, double) { return y != 0.0 ? 1.0 : 0.0; };

using SumProcedure = double (*)(std::span<const float>);

template <auto& Term>
double SumPlain(std::span<const float> samples) {
    return SumOf(samples, Term);
}
Moments MomentsPlain(std::span<const float> samples) {
    return MomentsOf(samples);
}
Blocks BlocksPlain(std::span<const float> samples) {
    return SearchBlocks(samples);
}

#if defined(__x86_64__)
template <auto& Term>
[[gnu::target("avx2")]] double SumWide(std::span<const float> samples) {
    return SumOf(samples, Term);
}
[[gnu::target("avx2")]] Moments MomentsWide(std::span<const float> samples) {
    return MomentsOf(samples);
}
[[gnu::target("avx2")]] Blocks BlocksWide(std::span<const float> samples) {
    const Blocks blocks = SearchBlocks(samples);
    // The compiler forgets it here; what comes behind runs at a fraction of its speed without it.
    __builtin_ia32_vzeroupper();
    return blocks;
}
const bool UseWide = __builtin_cpu_supports("avx2") != 0;
#else
template <auto& Term>
double SumWide(std::span<const float> samples) {
    return SumOf(samples, Term);
}
constexpr auto MomentsWide = MomentsPlain;
constexpr auto BlocksWide = BlocksPlain;
constexpr bool UseWide = false;
#endif

template <auto& Term>
double Run(std::span<const float> samples) {
    return UseWide ? SumWide<Term>(samples) : SumPlain<Term>(samples);
}

}

double Sum(std::span<const float> samples) {
    return Run<Itself>(samples);
}

double SumOfSquares(std::span<const float> samples) {
    return Run<Square>(samples);
}

double SumAbove(std::span<const float> samples) {
    return Run<Above>(samples);
}

double SumBelow(std::span<const float> samples) {
    return Run<Below>(samples);
}

double SumByIndex(std::span<const float> samples) {
    return Run<ByIndex>(samples);
}

Moments AllMoments(std::span<const float> samples) {
    return UseWide ? MomentsWide(samples) : MomentsPlain(samples);
}

std::size_t CountNotZero(std::span<const float> samples) {
    return static_cast<std::size_t>(Run<NotZero>(samples));
}

Places Extremes(std::span<const float> samples) {
    if (samples.empty()) return {};
    const Blocks blocks = UseWide ? BlocksWide(samples) : BlocksPlain(samples);
    return {PlaceIn(samples, blocks.Least, blocks.All.Least),
            PlaceIn(samples, blocks.Greatest, blocks.All.Greatest)};
}

}
