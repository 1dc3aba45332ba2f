#include "math/fft.h"

#include <bit>
#include <cmath>
#include <memory>
#include <numbers>
#include <utility>

namespace Fft {

namespace {

// One value of each block. The alignment is told, for the compiler's own choice depends on the instructions
// that a procedure may use.
using Lanes = double __attribute__((vector_size(GroupSize * sizeof(double))));

struct alignas(GroupSize * sizeof(double)) Complex {
    Lanes Re, Im;
};

struct Twiddle {
    double Re, Im;
};

[[gnu::always_inline]] inline Complex Times(const Complex& a, const Twiddle& w) {
    return {a.Re * w.Re - a.Im * w.Im, a.Re * w.Im + a.Im * w.Re};
}
[[gnu::always_inline]] inline Complex Plus(const Complex& a, const Complex& b) {
    return {a.Re + b.Re, a.Im + b.Im};
}
[[gnu::always_inline]] inline Complex Minus(const Complex& a, const Complex& b) {
    return {a.Re - b.Re, a.Im - b.Im};
}
// times -i
[[gnu::always_inline]] inline Complex Turned(const Complex& a) {
    return {a.Im, -a.Re};
}

// exp(-2 pi i k / Length)
[[gnu::always_inline]] inline Twiddle TwiddleAt(const Plan& plan, std::size_t k) {
    return {plan.Cosine[k], -plan.Sine[k]};
}

// One pass of the self-sorting transform: count groups of stride neighbouring values, each taken apart by
// four (or two), from one array into the other.
[[gnu::always_inline]] inline void PassOf4(const Plan& plan, std::size_t count, std::size_t stride,
                                           const Complex* from, Complex* to) {
    const std::size_t quarter = count / 4, step = plan.Length / count;
    for (std::size_t p = 0; p < quarter; ++p) {
        const Twiddle w1 = TwiddleAt(plan, p * step), w2 = TwiddleAt(plan, 2 * p * step),
                      w3 = TwiddleAt(plan, 3 * p * step);
        for (std::size_t q = 0; q < stride; ++q) {
            const Complex a = from[q + stride * p], b = from[q + stride * (p + quarter)];
            const Complex c = from[q + stride * (p + 2 * quarter)];
            const Complex d = from[q + stride * (p + 3 * quarter)];
            const Complex ac = Plus(a, c), bd = Plus(b, d), acd = Minus(a, c), bdd = Turned(Minus(b, d));
            Complex* const out = to + q + stride * 4 * p;
            out[0] = Plus(ac, bd);
            out[stride] = Times(Plus(acd, bdd), w1);
            out[2 * stride] = Times(Minus(ac, bd), w2);
            out[3 * stride] = Times(Minus(acd, bdd), w3);
        }
    }
}

[[gnu::always_inline]] inline void PassOf2(std::size_t stride, const Complex* from, Complex* to) {
    for (std::size_t q = 0; q < stride; ++q) {
        const Complex a = from[q], b = from[q + stride];
        to[q] = Plus(a, b);
        to[q + stride] = Minus(a, b);
    }
}

// Transforms half = Length / 2 complex values; returns where the result lies.
[[gnu::always_inline]] inline Complex* Transform(const Plan& plan, Complex* values, Complex* other) {
    std::size_t count = plan.Length / 2, stride = 1;
    while (count >= 4) {
        PassOf4(plan, count, stride, values, other);
        std::swap(values, other);
        count /= 4;
        stride *= 4;
    }
    if (count == 2) {
        PassOf2(stride, values, other);
        std::swap(values, other);
    }
    return values;
}

// Two neighbouring samples make one complex value.
[[gnu::always_inline]] inline void Fill(const Plan& plan, std::span<const float> samples, std::size_t count,
                                        bool removeMean, Complex* values) {
    const std::size_t half = plan.Length / 2;
    for (std::size_t lane = 0; lane < GroupSize; ++lane) {
        if (lane >= count) {
            for (std::size_t i = 0; i < half; ++i) values[i].Re[lane] = values[i].Im[lane] = 0.0;
            continue;
        }
        const float* const block = samples.data() + lane * plan.Length;
        double mean = 0.0;
        if (removeMean) {
            for (std::size_t i = 0; i < plan.Length; ++i) mean += block[i];
            mean /= static_cast<double>(plan.Length);
        }
        for (std::size_t i = 0; i < half; ++i) {
            values[i].Re[lane] = block[2 * i] - mean;
            values[i].Im[lane] = block[2 * i + 1] - mean;
        }
    }
}

// From the transform Z of the pairs: X[k] = E + exp(-2 pi i k / Length) O, with E and O those of the even and
// the odd samples, (Z[k] + conj Z[-k]) / 2 and -i (Z[k] - conj Z[-k]) / 2.
[[gnu::always_inline]] inline void SquareUp(const Plan& plan, const Complex* z, std::size_t count,
                                            std::span<double> power) {
    const std::size_t half = plan.Length / 2, places = half + 1;
    for (std::size_t k = 0; k <= half; ++k) {
        const Complex &a = z[k % half], &b = z[(half - k) % half];
        const Complex even = {(a.Re + b.Re) * 0.5, (a.Im - b.Im) * 0.5};
        const Complex odd = {(a.Im + b.Im) * 0.5, (b.Re - a.Re) * 0.5};
        const Complex x = Plus(even, Times(odd, TwiddleAt(plan, k)));
        const Lanes square = x.Re * x.Re + x.Im * x.Im;
        for (std::size_t lane = 0; lane < count; ++lane) power[lane * places + k] = square[lane];
    }
}

[[gnu::always_inline]] inline void PowerOf(const Plan& plan, std::span<const float> samples,
                                           std::size_t count, bool removeMean, Complex* memory,
                                           std::span<double> power) {
    Fill(plan, samples, count, removeMean, memory);
    SquareUp(plan, Transform(plan, memory, memory + plan.Length / 2), count, power);
}

#if defined(__x86_64__)
[[gnu::target("avx2")]] void PowerWide(const Plan& plan, std::span<const float> samples, std::size_t count,
                                       bool removeMean, Complex* memory, std::span<double> power) {
    PowerOf(plan, samples, count, removeMean, memory, power);
}
const bool UseWide = __builtin_cpu_supports("avx2") != 0;
#else
constexpr bool UseWide = false;
constexpr auto PowerWide = PowerOf;
#endif

}

Plan MakePlan(std::size_t length) {
    Plan plan;
    if (length < 2 || !std::has_single_bit(length)) return plan;
    plan.Length = length;
    for (std::size_t k = 0; k < length; ++k) {
        const double angle = 2.0 * std::numbers::pi * static_cast<double>(k) / static_cast<double>(length);
        plan.Cosine.push_back(std::cos(angle));
        plan.Sine.push_back(std::sin(angle));
    }
    return plan;
}

void Power(const Plan& plan, std::span<const float> samples, std::size_t count, bool removeMean, Work& work,
           std::span<double> power) {
    // Two arrays of half a block of complex lanes, at an address that suits them.
    constexpr std::size_t Slack = alignof(Complex) / sizeof(double);
    work.resize(plan.Length * 2 * GroupSize + Slack);
    void* start = work.data();
    std::size_t room = work.size() * sizeof(double);
    auto* const memory =
        static_cast<Complex*>(std::align(alignof(Complex), plan.Length * sizeof(Complex), start, room));
    if (UseWide)
        PowerWide(plan, samples, count, removeMean, memory, power);
    else
        PowerOf(plan, samples, count, removeMean, memory, power);
}

}
