// Searches through long stretches of samples for the first one that matters, by the widest instructions of
// the machine.
#pragma once
#include <cstddef>
#include <span>

namespace Scan {

// The index of the first sample at or behind from that is above the bound, or below it; the number of samples
// for none. A sample that is not a number is neither.
[[nodiscard]] std::size_t FirstAbove(std::span<const float> samples, std::size_t from, double bound);
[[nodiscard]] std::size_t FirstBelow(std::span<const float> samples, std::size_t from, double bound);

// The first sample that is not least <= y <= greatest; one that is not a number is outside.
[[nodiscard]] std::size_t FirstOutside(std::span<const float> samples, std::size_t from, float least,
                                       float greatest);

// The first sample that equals the value.
[[nodiscard]] std::size_t FirstEqual(std::span<const float> samples, std::size_t from, float value);

// The greatest 32-bit real that is not above the value, and the least one that is not below it.
[[nodiscard]] float NotAbove(double value);
[[nodiscard]] float NotBelow(double value);

}
