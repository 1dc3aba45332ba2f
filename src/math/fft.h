// The real Fourier transform of blocks of samples, as powers: X[k] = sum of x[n] exp(-2 pi i k n / length).
//
// The blocks of a group are transformed side by side, each in a lane of its own: the same bits for a block
// whatever stands beside it.
#pragma once
#include <cstddef>
#include <span>
#include <vector>

namespace Fft {

inline constexpr std::size_t GroupSize = 4;

struct Plan {
    std::size_t Length = 0;           // samples of a block, a power of two from 2 on; 0 for another length
    std::vector<double> Cosine, Sine; // of 2 pi k / Length, k below Length
};
[[nodiscard]] Plan MakePlan(std::size_t length);

// Working memory for a plan; kept from call to call.
using Work = std::vector<double>;

// |X[k]|^2 for k from 0 to Length / 2, of count blocks (1 to GroupSize) that follow each other in samples:
// power holds Length / 2 + 1 values a block. removeMean: of each block, ahead of the transform.
void Power(const Plan& plan, std::span<const float> samples, std::size_t count, bool removeMean, Work& work,
           std::span<double> power);

}
