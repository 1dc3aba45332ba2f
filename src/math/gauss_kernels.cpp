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

// Accumulators: enough independent sums to hide the latency of an addition, and few enough that they stay
// in the machine's registers.
template <class Lanes, int Accumulators>
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
    SumVectors<Lanes2, 6>(samples, count, taps, sums);
}

// Vectors of eight were measured and gain nothing over four: the loads, not the sums, are then the limit.
#if defined(__x86_64__)
using Lanes4 = double __attribute__((vector_size(32)));

[[gnu::target("avx2")]] void SumBy4(const double* samples, std::size_t count, const Taps& taps,
                                    double* sums) {
    SumVectors<Lanes4, 8>(samples, count, taps, sums);
}

constexpr std::array<Kernel, 3> Kernels{{{"avx2", SumBy4}, {"two", SumBy2}, {"plain", SumPlain}}};

std::size_t FirstUsable() {
    return __builtin_cpu_supports("avx2") ? 0 : 1;
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
