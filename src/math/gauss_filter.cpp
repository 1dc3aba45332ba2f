#include "math/gauss_filter.h"

#include "base/messages.h"
#include "math/gauss_kernels.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <string>

namespace GaussFilter {

namespace {

constexpr double WidthFactor = 0.132505;  // sqrt(ln 2) / (2 pi): -3 dB at the corner
constexpr double ThreeTapWidth = 0.62;    // samples; a narrower Gaussian is badly sampled
constexpr double LowestCorner = 0.004216; // the corner of 110 coefficients a side
constexpr double TaperPi = 3.14159; // part of the filter's definition: more digits give other coefficients

// Results per pass: source window and results stay in the first-level cache.
constexpr std::ptrdiff_t BlockPoints = 1024;

FilterRecord Shared;

void FillSides(FilterRecord& record, double centre, double divisor, std::span<const double> sides) {
    const std::size_t middle = sides.size();
    record.Coefficients[middle] = centre / divisor;
    for (std::size_t j = 1; j <= sides.size(); ++j) {
        const double value = sides[j - 1] / divisor;
        record.Coefficients[middle - j] = value;
        record.Coefficients[middle + j] = value;
    }
}

void CutFutureSide(FilterRecord& record, int cut) {
    const auto coefficients =
        std::span(record.Coefficients).first(2 * static_cast<std::size_t>(record.HalfWidth) + 1);
    const auto k = static_cast<std::size_t>(cut);
    std::fill_n(coefficients.begin(), k, 0.0);
    if (k == 1) coefficients[1] *= 0.5;
    for (std::size_t i = 0; k > 1 && i < k; ++i)
        coefficients[k + i] *=
            0.5 - 0.5 * std::cos(static_cast<double>(i) * TaperPi / static_cast<double>(k - 1));
    double sum = 0;
    for (const double value : coefficients) sum += value;
    for (double& value : coefficients) value /= sum;
}

// A fixed count a pass, from a local array to another, is what the compiler turns into vector code.
template <class From, class To>
void CopyAs(const From* from, std::ptrdiff_t count, To* to) {
    constexpr std::ptrdiff_t Pass = 8;
    std::ptrdiff_t i = 0;
    for (; i + Pass <= count; i += Pass) {
        From in[Pass];
        To out[Pass];
        std::memcpy(in, from + i, sizeof in);
        for (std::ptrdiff_t k = 0; k < Pass; ++k) out[k] = static_cast<To>(in[k]);
        std::memcpy(to + i, out, sizeof out);
    }
    for (; i < count; ++i) to[i] = static_cast<To>(from[i]);
}

// The samples as the edges see them. Index 0 is the first sample, whatever is padded ahead of it.
template <class Real>
struct Samples {
    const Real* First;
    std::ptrdiff_t Points;
    std::ptrdiff_t Padding; // readable samples ahead of the first
    bool Mirror;

    [[nodiscard]] double At(std::ptrdiff_t index) const {
        const std::ptrdiff_t last = Points - 1;
        if (index > last) index = Mirror ? 2 * last - index : last;
        // A mirrored index can fall ahead of the first sample when there are no more points than
        // coefficients.
        if (index < -Padding) index = 0;
        return static_cast<double>(First[index]);
    }

    void Widen(std::ptrdiff_t from, std::ptrdiff_t count, double* window) const {
        std::ptrdiff_t i = 0;
        for (; i < count && from + i < 0; ++i) window[i] = At(from + i);
        const std::ptrdiff_t plain = std::max(i, std::min(count, Points - from));
        if (plain > i) CopyAs(First + from + i, plain - i, window + i);
        for (i = plain; i < count; ++i) window[i] = At(from + i);
    }
};

template <class Real>
bool Apply(FilterRecord& record, std::span<const Real> source, std::span<Real> target) {
    record.Valid = false;
    const std::ptrdiff_t half = record.HalfWidth;
    const std::ptrdiff_t right = record.RightHalfWidth;
    if (half < 1 || half > MaxHalfWidth || right < 0 || right > half) return false;
    const std::ptrdiff_t padding = record.PaddedLeft ? half : 0;
    const std::ptrdiff_t points = std::ssize(source) - padding;
    if (points < half) {
        Messages::Note("GaussFilter: More Filter Coefficients than Data Points.");
        return false;
    }
    const std::ptrdiff_t computed = record.SkipTail ? points - half : points;
    if (std::ssize(target) < computed) return false;

    const GaussKernels::Taps taps{.Centre = record.Coefficients[static_cast<std::size_t>(half)],
                                  .Past = record.Coefficients.data() + half + 1,
                                  .Future = record.Coefficients.data() + half,
                                  .PastCount = record.HalfWidth,
                                  .FutureCount = record.RightHalfWidth};
    const GaussKernels::SumProcedure sum = GaussKernels::Usable().front().Sum;
    const Samples<Real> samples{source.data() + padding, points, padding, record.MirrorRight};
    const std::ptrdiff_t shift = record.DelayCompensated ? right : 0;
    const std::ptrdiff_t room = std::min(points, std::ssize(target));
    double window[BlockPoints + 2 * MaxHalfWidth];
    double sums[BlockPoints];
    for (std::ptrdiff_t from = 0; from < std::min(computed, room - shift); from += BlockPoints) {
        const std::ptrdiff_t count = std::min(BlockPoints, std::min(computed, room - shift) - from);
        samples.Widen(from - half, count + 2 * half, window);
        sum(window + half, static_cast<std::size_t>(count), taps, sums);
        CopyAs(sums, count, target.data() + shift + from);
    }
    if (shift > 0 && computed > 0) {
        // With less room than the shift no block ran: the head is all there is.
        samples.Widen(-half, 1 + 2 * half, window);
        sum(window + half, 1, taps, sums);
        std::fill_n(target.begin(), std::min(shift, room), static_cast<Real>(sums[0]));
    }
    record.Valid = true;
    return true;
}

}

FilterRecord& Default() {
    return Shared;
}

int GaussFilterDesign(FilterRecord& record, double relativeCorner, double delayFactor, bool delay) {
    record.Valid = false;
    record.DelayCompensated = false;
    record.DelayFactor = 0;
    record.HalfWidth = 0;
    record.RightHalfWidth = 0;
    record.Coefficients.fill(0);
    if (!(relativeCorner > 0) || !std::isfinite(relativeCorner)) return 0;

    double corner = relativeCorner;
    double width = WidthFactor / corner;
    double variance = width * width;
    if (width < ThreeTapWidth) {
        const double side = 0.5 * variance;
        FillSides(record, 1.0 - variance, 1.0, std::span(&side, 1));
        record.HalfWidth = 1;
        record.RightHalfWidth = 1;
        record.Valid = true;
        return 1;
    }
    if (delay && !(delayFactor > 0)) {
        Messages::Note("GaussFilter: Illegal DelayFactor.");
        return 0;
    }
    double half = std::trunc(3.5 * width);
    if (half > MaxHalfWidth) {
        constexpr double Most = std::numeric_limits<std::int32_t>::max();
        Messages::Note("Filter: Too many coefficients: " +
                       std::to_string(static_cast<std::int32_t>(std::min(half, Most))));
        half = MaxHalfWidth;
        corner = LowestCorner;
        width = WidthFactor / corner;
        variance = width * width;
    }
    std::array<double, MaxHalfWidth> sides{};
    const auto count = static_cast<std::size_t>(half);
    double sum = 0;
    for (std::size_t j = 1; j <= count; ++j) {
        const auto distance = static_cast<double>(j);
        sides[j - 1] = std::exp(-0.5 / variance * distance * distance);
        sum += sides[j - 1];
    }
    FillSides(record, 1.0, 2.0 * (0.5 + sum), std::span(sides).first(count));
    record.HalfWidth = static_cast<std::int32_t>(count);
    record.RightHalfWidth = record.HalfWidth;
    if (delay) {
        record.DelayCompensated = true;
        record.DelayFactor = delayFactor;
        record.RightHalfWidth = static_cast<std::int32_t>(std::min(half, 1.0 / (delayFactor * corner)));
        CutFutureSide(record, record.HalfWidth - record.RightHalfWidth);
    }
    record.Valid = true;
    return record.HalfWidth;
}

bool GaussFilterApply(FilterRecord& record, std::span<const float> source, std::span<float> target) {
    return Apply(record, source, target);
}

bool GaussFilterApply64(FilterRecord& record, std::span<const double> source, std::span<double> target) {
    return Apply(record, source, target);
}

}
