// Exponentials of a whole array, several at a time.
// Most of a fit's time goes into exponentials of a table of points. An element's result depends on its value
// alone, not on its place, the length of the array or the width of the machine's vectors, so a table and a
// single point agree to the last bit. Within one unit in the last place of the exact value.
#pragma once
#include <cstddef>

namespace VectorExp {

// out[i] = exp(-(x[i] - shift) / tau), the shape that most models are made of. Each operation of the argument
// is rounded as written. A negative tau makes it grow.
void Decay(const double* x, double shift, double tau, double* out, std::size_t count);

// out[i] = exp(in[i]); in and out (here and above) are the same array or do not overlap. Infinite results,
// zeros and values that are not numbers come out as std::exp gives them.
void Exp(const double* in, double* out, std::size_t count);

// exp of one value, bit for bit as the array gives it.
[[nodiscard]] double Exp(double value);

}
