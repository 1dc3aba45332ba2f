#include "math/scan.h"

#include <cmath>
#include <limits>

namespace Scan {

namespace {

constexpr std::size_t BlockSize = 64;

// Whole blocks without a hit are passed over; the block with one is looked at sample by sample.
template <class Test>
[[gnu::always_inline]] inline std::size_t First(std::span<const float> samples, std::size_t from,
                                                const Test& test) {
    const float* const y = samples.data();
    std::size_t at = from;
    for (; at + BlockSize <= samples.size(); at += BlockSize) {
        int hits = 0;
        for (std::size_t i = 0; i < BlockSize; ++i) hits |= test(y[at + i]) ? 1 : 0;
        if (hits != 0) break;
    }
    while (at < samples.size() && !test(y[at])) ++at;
    return at;
}

[[gnu::always_inline]] inline std::size_t Above(std::span<const float> samples, std::size_t from,
                                                float bound) {
    return First(samples, from, [bound](float y) { return y > bound; });
}

[[gnu::always_inline]] inline std::size_t Below(std::span<const float> samples, std::size_t from,
                                                float bound) {
    return First(samples, from, [bound](float y) { return y < bound; });
}

[[gnu::always_inline]] inline std::size_t Outside(std::span<const float> samples, std::size_t from,
                                                  float least, float greatest) {
    return First(samples, from, [=](float y) { return !(y >= least) | !(y <= greatest); });
}

[[gnu::always_inline]] inline std::size_t Equal(std::span<const float> samples, std::size_t from,
                                                float value) {
    return First(samples, from, [value](float y) { return y == value; });
}

#if defined(__x86_64__)
[[gnu::target("avx2")]] std::size_t AboveWide(std::span<const float> samples, std::size_t from, float bound) {
    return Above(samples, from, bound);
}
[[gnu::target("avx2")]] std::size_t BelowWide(std::span<const float> samples, std::size_t from, float bound) {
    return Below(samples, from, bound);
}
[[gnu::target("avx2")]] std::size_t OutsideWide(std::span<const float> samples, std::size_t from, float least,
                                                float greatest) {
    return Outside(samples, from, least, greatest);
}
[[gnu::target("avx2")]] std::size_t EqualWide(std::span<const float> samples, std::size_t from, float value) {
    return Equal(samples, from, value);
}
const bool UseWide = __builtin_cpu_supports("avx2") != 0;
#else
constexpr auto AboveWide = Above;
constexpr auto BelowWide = Below;
constexpr auto OutsideWide = Outside;
constexpr auto EqualWide = Equal;
constexpr bool UseWide = false;
#endif

}

float NotAbove(double value) {
    const auto near = static_cast<float>(value);
    return near > value ? std::nextafter(near, -std::numeric_limits<float>::infinity()) : near;
}

float NotBelow(double value) {
    const auto near = static_cast<float>(value);
    return near < value ? std::nextafter(near, std::numeric_limits<float>::infinity()) : near;
}

std::size_t FirstAbove(std::span<const float> samples, std::size_t from, double bound) {
    const float limit = NotAbove(bound);
    return UseWide ? AboveWide(samples, from, limit) : Above(samples, from, limit);
}

std::size_t FirstBelow(std::span<const float> samples, std::size_t from, double bound) {
    const float limit = NotBelow(bound);
    return UseWide ? BelowWide(samples, from, limit) : Below(samples, from, limit);
}

std::size_t FirstOutside(std::span<const float> samples, std::size_t from, float least, float greatest) {
    return UseWide ? OutsideWide(samples, from, least, greatest) : Outside(samples, from, least, greatest);
}

std::size_t FirstEqual(std::span<const float> samples, std::size_t from, float value) {
    return UseWide ? EqualWide(samples, from, value) : Equal(samples, from, value);
}

}
