// Exponentials of a whole array, several at a time.
// Most of a fit's time goes into exponentials of a table of points. An element's result depends on its value
// alone, not on its place, the length of the array or the width of the machine's vectors, so a table and a
// single point agree to the last bit. Its error is at most 1.1 units in the last place.
#pragma once
#include <cstddef>

namespace VectorExp {

// In both procedures source and destination are the same array or do not overlap. Results that are infinite,
// 0 or no numbers come out as std::exp gives them.

// out[i] = exp(-(x[i] - shift) / tau), the shape that most models are made of. Each operation of the argument
// is rounded as written. A negative tau makes it grow.
void Decay(const double* x, double shift, double tau, double* out, std::size_t count);

// out[i] = exp(in[i])
void Exp(const double* in, double* out, std::size_t count);

// The same for a single number.
[[nodiscard]] double Exp(double x);

}
