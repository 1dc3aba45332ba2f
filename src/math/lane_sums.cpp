#include "math/lane_sums.h"

#include "math/scan.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace LaneSums {

namespace {

constexpr std::size_t Lanes = 16;       // so many that no addition waits for the one before it
constexpr std::size_t BlockSize = 1024; // of the search for extremes

using LaneValues = std::array<double, Lanes>;

// Pairwise: 16 lanes become 8, these 4, and so on.
[[gnu::always_inline]] inline double Total(LaneValues lanes) {
    for (std::size_t left = Lanes / 2; left > 0; left /= 2)
        for (std::size_t lane = 0; lane < left; ++lane) lanes[lane] += lanes[lane + left];
    return lanes[0];
}

// term(sample) for each sample, summed.
template <class Term>
[[gnu::always_inline]] inline double SumOf(std::span<const float> samples, const Term& term) {
    LaneValues sums{};
    const std::size_t whole = samples.size() / Lanes * Lanes;
    const float* const y = samples.data();
    for (std::size_t i = 0; i < whole; i += Lanes) {
#pragma GCC unroll 16
        for (std::size_t lane = 0; lane < Lanes; ++lane) sums[lane] += term(static_cast<double>(y[i + lane]));
    }
    for (std::size_t i = whole; i < samples.size(); ++i) sums[i - whole] += term(static_cast<double>(y[i]));
    return Total(sums);
}

// Vectors of the inner loops, and what they do with them. The compiler takes the operations of a vector apart
// where a loop is compiled for machines without such instructions, and leaves them so when the loop is put
// into a procedure for other machines: steps that have an instruction of their own are asked for by it there.
using Four = double __attribute__((vector_size(32)));
using Eight = float __attribute__((vector_size(32)));
using FourSamples = float __attribute__((vector_size(16)));

struct PlainSteps {
    static void Widen(const FourSamples& samples, Four& wide) {
        wide = __builtin_convertvector(samples, Four);
    }
    static void AddProduct(const Four& a, const Four& b, Four& sum) { sum += a * b; }
    static void TakeLess(const Eight& y, Eight& least) { least = y < least ? y : least; }
    static void TakeGreater(const Eight& y, Eight& greatest) { greatest = y > greatest ? y : greatest; }
};

#if defined(__x86_64__)
struct WideSteps {
    [[gnu::target("avx2,fma")]] static inline void Widen(const FourSamples& samples, Four& wide) {
        wide = _mm256_cvtps_pd(samples);
    }
    // The product is not rounded, which changes nothing where it is exact: that of two samples always is,
    // that of a sample and a row up to MostExactRows.
    [[gnu::target("avx2,fma")]] static inline void AddProduct(const Four& a, const Four& b, Four& sum) {
        sum = _mm256_fmadd_pd(a, b, sum);
    }
    [[gnu::target("avx2,fma")]] static inline void TakeLess(const Eight& y, Eight& least) {
        least = _mm256_min_ps(y, least);
    }
    [[gnu::target("avx2,fma")]] static inline void TakeGreater(const Eight& y, Eight& greatest) {
        greatest = _mm256_max_ps(y, greatest);
    }
};
// A sample has 24 significant bits, a product has room for 53.
constexpr std::size_t MostExactRows = std::size_t{1} << 29;
#endif

constexpr std::size_t Quads = Lanes / 4;
using LaneQuads = std::array<Four, Quads>;

[[gnu::always_inline]] inline LaneValues Apart(const LaneQuads& quads) {
    LaneValues lanes;
    std::memcpy(lanes.data(), quads.data(), sizeof lanes);
    return lanes;
}

// Four lanes at a time: what the compiler does not find by itself in three sums side by side. Samples are
// multiplied by the number of their row of lanes; what a lane adds to its index is put in at the end.
template <class Steps>
[[gnu::always_inline]] inline Moments MomentsOf(std::span<const float> samples) {
    LaneQuads sumQuads{}, squareQuads{}, byRowQuads{};
    Four row{};
    const std::size_t whole = samples.size() / Lanes * Lanes;
    for (std::size_t i = 0; i < whole; i += Lanes) {
#pragma GCC unroll 4
        for (std::size_t quad = 0; quad < Quads; ++quad) {
            FourSamples raw;
            std::memcpy(&raw, samples.data() + i + 4 * quad, sizeof raw);
            Four y;
            Steps::Widen(raw, y);
            sumQuads[quad] += y;
            Steps::AddProduct(y, y, squareQuads[quad]);
            Steps::AddProduct(row, y, byRowQuads[quad]);
        }
        row += 1.0;
    }
    LaneValues sum = Apart(sumQuads), squares = Apart(squareQuads), byRow = Apart(byRowQuads), byIndex;
    for (std::size_t i = whole; i < samples.size(); ++i) {
        const double y = samples[i];
        sum[i - whole] += y;
        squares[i - whole] += y * y;
        byRow[i - whole] += static_cast<double>(whole / Lanes) * y;
    }
    for (std::size_t lane = 0; lane < Lanes; ++lane)
        byIndex[lane] = static_cast<double>(Lanes) * byRow[lane] + static_cast<double>(lane) * sum[lane];
    return {Total(sum), Total(squares), Total(byIndex)};
}

struct Extreme {
    float Least = std::numeric_limits<float>::infinity();
    float Greatest = -std::numeric_limits<float>::infinity();
};

// One that is not a number compares as neither, and is passed over.
template <class Steps>
[[gnu::always_inline]] inline Extreme ExtremeOf(std::span<const float> block) {
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
            Steps::TakeLess(y, lanes.Least[n]);
            Steps::TakeGreater(y, lanes.Greatest[n]);
        }
    }
    for (std::size_t n = 1; n < 4; ++n) {
        Steps::TakeLess(lanes.Least[n], lanes.Least[0]);
        Steps::TakeGreater(lanes.Greatest[n], lanes.Greatest[0]);
    }
    for (std::size_t lane = 0; lane < Width; ++lane) {
        result.Least = std::min(result.Least, lanes.Least[0][lane]);
        result.Greatest = std::max(result.Greatest, lanes.Greatest[0][lane]);
    }
    for (std::size_t i = whole; i < block.size(); ++i) {
        result.Least = block[i] < result.Least ? block[i] : result.Least;
        result.Greatest = block[i] > result.Greatest ? block[i] : result.Greatest;
    }
    return result;
}

std::size_t PlaceOf(std::span<const float> samples, std::size_t from, float value) {
    const std::size_t place = Scan::FirstEqual(samples, from, value);
    return place < samples.size() ? place : 0;
}

// The extremes, and the first samples of the blocks that hold them.
struct Blocks {
    Extreme All;
    std::size_t Least = 0, Greatest = 0;
};

template <class Steps>
[[gnu::always_inline]] inline Blocks SearchBlocks(std::span<const float> samples) {
    Blocks blocks;
    for (std::size_t first = 0; first < samples.size(); first += BlockSize) {
        const Extreme here =
            ExtremeOf<Steps>(samples.subspan(first, std::min(BlockSize, samples.size() - first)));
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

constexpr auto Itself = [](double y) { return y; };
constexpr auto Above = [](double y) { return y > 0.0 ? y : 0.0; };
constexpr auto Below = [](double y) { return y < 0.0 ? y : 0.0; };
constexpr auto NotZero = [](double y) { return y != 0.0 ? 1.0 : 0.0; };

template <auto& Term>
double SumPlain(std::span<const float> samples) {
    return SumOf(samples, Term);
}
Moments MomentsPlain(std::span<const float> samples) {
    return MomentsOf<PlainSteps>(samples);
}
Blocks BlocksPlain(std::span<const float> samples) {
    return SearchBlocks<PlainSteps>(samples);
}

#if defined(__x86_64__)
template <auto& Term>
[[gnu::target("avx2")]] double SumWide(std::span<const float> samples) {
    return SumOf(samples, Term);
}
[[gnu::target("avx2,fma")]] Moments MomentsWide(std::span<const float> samples) {
    if (samples.size() / Lanes > MostExactRows) return MomentsPlain(samples);
    return MomentsOf<WideSteps>(samples);
}
[[gnu::target("avx2,fma")]] Blocks BlocksWide(std::span<const float> samples) {
    const Blocks blocks = SearchBlocks<WideSteps>(samples);
    // The compiler forgets it here; what comes behind runs at a fraction of its speed without it.
    _mm256_zeroupper();
    return blocks;
}
const bool UseWide = __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("fma") != 0;
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

double SumAbove(std::span<const float> samples) {
    return Run<Above>(samples);
}

double SumBelow(std::span<const float> samples) {
    return Run<Below>(samples);
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
    return {PlaceOf(samples, blocks.Least, blocks.All.Least),
            PlaceOf(samples, blocks.Greatest, blocks.All.Greatest)};
}

}
