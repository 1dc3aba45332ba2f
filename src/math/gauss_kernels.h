// The inner sums of the Gaussian filter, once per width of the machine's vectors.
//
// All of them compute the same bits: a vector holds neighbouring results, never parts of one sum, so each
// result is summed in its documented order, without fused operations.
#pragma once
#include <cstddef>
#include <span>

namespace GaussKernels {

struct Taps {
    double Centre = 0;
    const double* Past = nullptr;   // Past[0] belongs to the sample just before
    const double* Future = nullptr; // Future[-1] belongs to the sample just after: the side runs backwards
    int PastCount = 0;
    int FutureCount = 0; // not more than PastCount
};

// sums[i] for i below count, around samples[i]; samples must be readable from -PastCount to
// count - 1 + FutureCount.
using SumProcedure = void (*)(const double* samples, std::size_t count, const Taps& taps, double* sums);

struct Kernel {
    const char* Name;
    SumProcedure Sum;
};

// What this machine can run, the fastest first and the plain one, point by point, last.
[[nodiscard]] std::span<const Kernel> Usable();

}
