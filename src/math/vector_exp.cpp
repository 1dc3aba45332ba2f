#include "math/vector_exp.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>

namespace VectorExp {

namespace {

// exp(x) = 2^k * exp(r) with k the integer nearest to x / ln 2 and |r| at most ln 2 / 2.
// ln 2 is split so that k * Ln2High is exact for every k in range (Cody and Waite, Software Manual for the
// Elementary Functions, 1980). Fused multiply-add is off, so each width of vector rounds alike.
constexpr double Log2E = 0x1.71547652b82fep0;
constexpr double Ln2High = 0x1.62e42feep-1;
constexpr double Ln2Low = 0x1.a39ef35793c76p-33;
constexpr double RoundToInteger = 0x1.8p52; // adding it leaves the nearest integer in the low bits
constexpr double Limit = 708.0;             // beyond it 2^k is no normal number: left to the library

constexpr int Lanes = 8;
using Reals [[gnu::vector_size(Lanes * sizeof(double))]] = double;
using Words [[gnu::vector_size(Lanes * sizeof(double))]] = std::int64_t;

// Taylor coefficients from r^13 down to r^2; the term left out is below 5E-18.
constexpr double Coefficients[] = {1.0 / 6227020800.0, 1.0 / 479001600.0, 1.0 / 39916800.0, 1.0 / 3628800.0,
                                   1.0 / 362880.0,     1.0 / 40320.0,     1.0 / 5040.0,     1.0 / 720.0,
                                   1.0 / 120.0,        1.0 / 24.0,        1.0 / 6.0,        1.0 / 2.0};

// Full blocks only; in and out each hold a multiple of Lanes.
[[gnu::always_inline]] inline void Blocks(const double* in, double* out, std::size_t blocks) {
    for (std::size_t block = 0; block < blocks; ++block, in += Lanes, out += Lanes) {
        Reals x;
        std::memcpy(&x, in, sizeof x);
        const Words usual = (x <= Limit) & (x >= -Limit);
        std::int64_t allUsual = -1;
        for (int lane = 0; lane < Lanes; ++lane) allUsual &= usual[lane];
        if (allUsual == 0) {
            // One wild element must not change its neighbours: it sits the block out at 0.
            for (int lane = 0; lane < Lanes; ++lane)
                if (usual[lane] == 0) x[lane] = 0.0;
        }
        const Reals shifted = x * Log2E + RoundToInteger;
        const Reals k = shifted - RoundToInteger;
        const Reals r = (x - k * Ln2High) - k * Ln2Low;
        Reals p = r * Coefficients[0] + Coefficients[1];
        for (std::size_t i = 2; i < std::size(Coefficients); ++i) p = p * r + Coefficients[i];
        const Reals fraction = 1.0 + (r + r * r * p);
        Words scale;
        std::memcpy(&scale, &shifted, sizeof scale);
        scale = (scale + 1023) << 52;
        Reals power;
        std::memcpy(&power, &scale, sizeof power);
        Reals result = fraction * power;
        if (allUsual == 0)
            for (int lane = 0; lane < Lanes; ++lane)
                if (usual[lane] == 0) result[lane] = std::exp(in[lane]);
        std::memcpy(out, &result, sizeof result);
    }
}

void BlocksPlain(const double* in, double* out, std::size_t blocks) {
    Blocks(in, out, blocks);
}

#if defined(__x86_64__)
[[gnu::target("avx2")]] void BlocksAvx2(const double* in, double* out, std::size_t blocks) {
    Blocks(in, out, blocks);
}

const bool HasAvx2 = [] {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") != 0;
}();
#endif

void AnyBlocks(const double* in, double* out, std::size_t blocks) {
#if defined(__x86_64__)
    if (HasAvx2) return BlocksAvx2(in, out, blocks);
#endif
    BlocksPlain(in, out, blocks);
}

}

void Exp(const double* in, double* out, std::size_t count) {
    const std::size_t blocks = count / Lanes;
    AnyBlocks(in, out, blocks);
    const std::size_t done = blocks * Lanes;
    if (done == count) return;
    double padded[Lanes] = {};
    std::memcpy(padded, in + done, (count - done) * sizeof(double));
    AnyBlocks(padded, padded, 1);
    std::memcpy(out + done, padded, (count - done) * sizeof(double));
}

double Exp(double value) {
    double result;
    Exp(&value, &result, 1);
    return result;
}

}
