#include "math/gauss_kernels.h"

#include <array>
#include <cstring>

namespace GaussKernels {

namespace {

void SumPlain(const double* samples, std::size_t count, const Taps& taps, double* sums) {
    for (std::size_t i = 0; i < count; ++i) {
        const double* const x = samples + i;
        double sum = taps.Centre * x[0];
        for (int j = 1; j <= taps.PastCount; ++j) {
            sum += taps.Past[j - 1] * x[-j];
            if (j <= taps.FutureCount) sum += taps.Future[-j] * x[j];
        }
        sums[i] = sum;
    }
}

using Lanes2 = double __attribute__((vector_size(16)));

// Enough independent sums to hide the latency of an addition, few enough to stay in the registers of the
// narrowest machine.
constexpr int Accumulators = 8;

template <class Lanes>
[[gnu::always_inline]] inline void SumVectors(const double* samples, std::size_t count, const Taps& taps,
                                              double* sums) {
    constexpr std::size_t Width = sizeof(Lanes) / sizeof(double);
    constexpr std::size_t Step = Width * Accumulators;
    std::size_t i = 0;
    for (; i + Step <= count; i += Step) {
        const double* const x = samples + i;
        Lanes sum[Accumulators];
#pragma GCC unroll 8
        for (int a = 0; a < Accumulators; ++a) {
            Lanes here;
            std::memcpy(&here, x + Width * static_cast<std::size_t>(a), sizeof here);
            sum[a] = taps.Centre * here;
        }
        int j = 1;
        for (; j <= taps.FutureCount; ++j) {
            const double past = taps.Past[j - 1];
            const double future = taps.Future[-j];
#pragma GCC unroll 8
            for (int a = 0; a < Accumulators; ++a) {
                Lanes before;
                Lanes after;
                std::memcpy(&before, x - j + Width * static_cast<std::size_t>(a), sizeof before);
                std::memcpy(&after, x + j + Width * static_cast<std::size_t>(a), sizeof after);
                sum[a] += past * before;
                sum[a] += future * after;
            }
        }
        for (; j <= taps.PastCount; ++j) {
            const double past = taps.Past[j - 1];
#pragma GCC unroll 8
            for (int a = 0; a < Accumulators; ++a) {
                Lanes before;
                std::memcpy(&before, x - j + Width * static_cast<std::size_t>(a), sizeof before);
                sum[a] += past * before;
            }
        }
#pragma GCC unroll 8
        for (int a = 0; a < Accumulators; ++a)
            std::memcpy(sums + i + Width * static_cast<std::size_t>(a), &sum[a], sizeof sum[a]);
    }
    SumPlain(samples + i, count - i, taps, sums + i);
}

// Every 64-bit machine that we build for has vectors of two.
void SumBy2(const double* samples, std::size_t count, const Taps& taps, double* sums) {
    SumVectors<Lanes2>(samples, count, taps, sums);
}

#if defined(__x86_64__)
using Lanes4 = double __attribute__((vector_size(32)));
using Lanes8 = double __attribute__((vector_size(64)));

[[gnu::target("avx2")]] void SumBy4(const double* samples, std::size_t count, const Taps& taps,
                                    double* sums) {
    SumVectors<Lanes4>(samples, count, taps, sums);
}

[[gnu::target("avx512f")]] void SumBy8(const double* samples, std::size_t count, const Taps& taps,
                                       double* sums) {
    SumVectors<Lanes8>(samples, count, taps, sums);
}

constexpr std::array<Kernel, 4> Kernels{
    {{"avx512", SumBy8}, {"avx2", SumBy4}, {"two", SumBy2}, {"plain", SumPlain}}};

std::size_t FirstUsable() {
    if (__builtin_cpu_supports("avx512f")) return 0;
    return __builtin_cpu_supports("avx2") ? 1 : 2;
}
#else
constexpr std::array<Kernel, 2> Kernels{{{"two", SumBy2}, {"plain", SumPlain}}};

std::size_t FirstUsable() {
    return 0;
}
#endif

}

std::span<const Kernel> Usable() {
    static const std::size_t first = FirstUsable();
    return std::span<const Kernel>(Kernels).subspan(first);
}

}
