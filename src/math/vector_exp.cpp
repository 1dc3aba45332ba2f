#include "math/vector_exp.h"

#include <cmath>
#include <cstdint>
#include <cstring>

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

// Elements that are worked on together; wild ones among them are looked for once.
constexpr std::size_t ChunkSize = 16;

// (exp(r) - 1 - r) / r^2 as a polynomial from r^0 up, interpolated at the Chebyshev nodes of the interval;
// its error in exp(r) stays below 2E-17 there. Even and odd powers are summed apart, which halves the chain
// of operations.
constexpr double Even[] = {0x1.0000000000001p-1, 0x1.5555555553d63p-5, 0x1.6c16c1788bd90p-10,
                           0x1.a019b90d2ae7ap-16, 0x1.289185613a3d6p-22};
constexpr double Odd[] = {0x1.5555555555556p-3, 0x1.11111111109b3p-7, 0x1.a01a01a7c41d5p-13,
                          0x1.71de0dae63bb3p-19, 0x1.af38a9b0ec855p-26};

// The argument of exp is -(x - Shift) / Tau.
struct Scale {
    double Shift, Tau;
};

// Vectors of the machine; results do not depend on which of them is used.
struct Two {
    static constexpr std::size_t Lanes = 2;
    using Reals [[gnu::vector_size(16)]] = double;
    using Words [[gnu::vector_size(16)]] = std::int64_t;
};

struct Four {
    static constexpr std::size_t Lanes = 4;
    using Reals [[gnu::vector_size(32)]] = double;
    using Words [[gnu::vector_size(32)]] = std::int64_t;
};

// x becomes exp(x); a vector, or a single number, within the limits.
template <typename Reals, typename Words>
[[gnu::always_inline]] inline void Raise(Reals& x) {
    const Reals shifted = x * Log2E + RoundToInteger;
    const Reals k = shifted - RoundToInteger;
    const Reals r = (x - k * Ln2High) - k * Ln2Low;
    const Reals r2 = r * r;
    Reals even = r2 * Even[4] + Even[3];
    Reals odd = r2 * Odd[4] + Odd[3];
    even = even * r2 + Even[2];
    odd = odd * r2 + Odd[2];
    even = even * r2 + Even[1];
    odd = odd * r2 + Odd[1];
    even = even * r2 + Even[0];
    odd = odd * r2 + Odd[0];
    const Reals fraction = 1.0 + (r + r2 * (even + odd * r));
    Words scale;
    std::memcpy(&scale, &shifted, sizeof scale);
    scale = (scale + 1023) << 52;
    Reals power;
    std::memcpy(&power, &scale, sizeof power);
    x = fraction * power;
}

// Full chunks only.
template <typename Width>
[[gnu::always_inline]] inline void Chunks(const double* in, Scale by, double* out, std::size_t chunks) {
    constexpr std::size_t Lanes = Width::Lanes;
    using Reals = typename Width::Reals;
    using Words = typename Width::Words;
    for (; chunks > 0; --chunks, in += ChunkSize, out += ChunkSize) {
        double results[ChunkSize]; // in and out may be the same
        Words wild = {};
        for (std::size_t first = 0; first < ChunkSize; first += Lanes) {
            Reals x;
            std::memcpy(&x, in + first, sizeof x);
            x = -(x - by.Shift) / by.Tau;
            const Words usual = (x <= Limit) & (x >= -Limit);
            wild |= ~usual;
            x = usual ? x : Reals{};
            Raise<Reals, Words>(x);
            std::memcpy(results + first, &x, sizeof x);
        }
        bool anyWild = false;
        for (std::size_t lane = 0; lane < Lanes; ++lane) anyWild |= wild[lane] != 0;
        if (anyWild)
            for (std::size_t i = 0; i < ChunkSize; ++i)
                if (const double x = -(in[i] - by.Shift) / by.Tau; !(std::fabs(x) <= Limit))
                    results[i] = std::exp(x);
        std::memcpy(out, results, sizeof results);
    }
}

void ChunksPlain(const double* in, Scale by, double* out, std::size_t chunks) {
    Chunks<Two>(in, by, out, chunks);
}

#if defined(__x86_64__)
[[gnu::target("avx2")]] void ChunksAvx2(const double* in, Scale by, double* out, std::size_t chunks) {
    Chunks<Four>(in, by, out, chunks);
}

const bool HasAvx2 = [] {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") != 0;
}();
#endif

void AnyChunks(const double* in, Scale by, double* out, std::size_t chunks) {
#if defined(__x86_64__)
    if (HasAvx2) return ChunksAvx2(in, by, out, chunks);
#endif
    ChunksPlain(in, by, out, chunks);
}

}

void Decay(const double* x, double shift, double tau, double* out, std::size_t count) {
    const Scale by = {shift, tau};
    const std::size_t chunks = count / ChunkSize;
    AnyChunks(x, by, out, chunks);
    const std::size_t done = chunks * ChunkSize;
    if (done == count) return;
    double padded[ChunkSize] = {};
    std::memcpy(padded, x + done, (count - done) * sizeof(double));
    AnyChunks(padded, by, padded, 1);
    std::memcpy(out + done, padded, (count - done) * sizeof(double));
}

void Exp(const double* in, double* out, std::size_t count) {
    Decay(in, 0.0, -1.0, out, count);
}

double Exp(double x) {
    if (!(std::fabs(x) <= Limit)) return std::exp(x);
    Raise<double, std::uint64_t>(x);
    return x;
}

}
