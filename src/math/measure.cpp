#include "math/measure.h"

#include "math/lane_sums.h"
#include "math/matrix_inverse.h"
#include "math/scan.h"
#include "math/sliding_mean.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace Measure {

namespace {

// A polynomial over -1 to 1.
struct Cubic {
    std::array<double, 4> Coefficients{}; // of x^0 to x^3
    [[nodiscard]] double At(double x) const {
        return ((Coefficients[3] * x + Coefficients[2]) * x + Coefficients[1]) * x + Coefficients[0];
    }
};

// The inverse normal matrix of a cubic over count equally spaced points from -1 to 1, of an order as high as
// the points allow.
constexpr std::size_t MostWindow = 81;
struct Normal {
    std::size_t Count = 0;
    std::array<std::array<double, 4>, MostWindow> Powers{}; // x^0 to x^3 of each point
    int Terms = 0;
    MatrixInverse::Matrix Inverse;
};

double Place(std::size_t index, std::size_t count) {
    return count < 2 ? 0.0 : -1.0 + 2.0 * static_cast<double>(index) / static_cast<double>(count - 1);
}

void SetUp(Normal& normal, std::size_t count) {
    normal.Count = count;
    for (std::size_t i = 0; i < count; ++i) {
        const double x = Place(i, count);
        normal.Powers[i] = {1.0, x, x * x, x * x * x};
    }
    normal.Terms = static_cast<int>(std::min<std::size_t>(count, 4));
    std::array<double, 7> moments{};
    for (std::size_t i = 0; i < count; ++i) {
        double power = 1.0;
        for (double& moment : moments) {
            moment += power;
            power *= normal.Powers[i][1];
        }
    }
    MatrixInverse::Matrix matrix;
    for (int row = 0; row < normal.Terms; ++row)
        for (int column = 0; column < normal.Terms; ++column)
            matrix[row][column] = moments[static_cast<std::size_t>(row + column)];
    (void)MatrixInverse::Invert(matrix, normal.Inverse, normal.Terms);
}

// Most searches use the same few sizes.
const Normal& NormalFor(std::size_t count) {
    static std::array<Normal, MostWindow + 1> table;
    Normal& normal = table[count];
    if (normal.Count != count) SetUp(normal, count);
    return normal;
}

Cubic FitCubic(std::span<const float> window) {
    const Normal& normal = NormalFor(window.size());
    std::array<double, 4> right{};
    for (std::size_t i = 0; i < window.size(); ++i) {
        const double y = window[i];
        for (std::size_t power = 0; power < right.size(); ++power)
            right[power] += normal.Powers[i][power] * y;
    }
    Cubic cubic;
    for (int row = 0; row < normal.Terms; ++row)
        for (int column = 0; column < normal.Terms; ++column)
            cubic.Coefficients[static_cast<std::size_t>(row)] +=
                normal.Inverse[row][column] * right[static_cast<std::size_t>(column)];
    return cubic;
}

// The stationary point that is a maximum, or a minimum; NaN for none. Of the two roots of the derivative the
// one nearer to 0 comes from the quotient that loses no digits: a cubic term that is only rounding noise
// leaves the vertex of a parabola where it is.
double Stationary(double c1, double c2, double c3, bool maximum) {
    const double discriminant = 4.0 * c2 * c2 - 12.0 * c3 * c1;
    if (!(discriminant > 0.0)) return NAN; // none, or an inflection
    const double root = std::sqrt(discriminant);
    // The second derivative, 2 c2 + 6 c3 x, is -root at the maximum and root at the minimum.
    const double signedRoot = maximum ? -root : root;
    if (c2 != 0.0 && (c2 > 0.0) == (signedRoot > 0.0)) return -2.0 * c1 / (2.0 * c2 + signedRoot);
    return (signedRoot - 2.0 * c2) / (6.0 * c3);
}

double VertexOf(double c1, double c2, bool maximum) {
    return (c2 < 0.0) == maximum ? -c1 / (2.0 * c2) : NAN;
}

void Refine(std::span<const float> samples, std::size_t first, std::size_t last, double span, bool maximum,
            Peak& peak) {
    const std::size_t count = last - first + 1;
    const Cubic cubic = FitCubic(samples.subspan(first, count));
    const double c1 = cubic.Coefficients[1], c2 = cubic.Coefficients[2], c3 = cubic.Coefficients[3];
    const double negligible = 1e-15 * span;
    double x = NAN;
    if (std::fabs(c3) >= negligible)
        x = Stationary(c1, c2, c3, maximum);
    else if (std::fabs(c2) >= negligible)
        x = VertexOf(c1, c2, maximum);
    else if (c1 != 0.0)
        x = (c1 > 0.0) == maximum ? 1.0 : -1.0;
    if (!(x >= -1.0 && x <= 1.0)) return;
    peak.Value = cubic.At(x);
    peak.Position = static_cast<double>(first) + (x + 1.0) / 2.0 * static_cast<double>(count - 1);
}

}

double Mean(std::span<const float> samples) {
    return LaneSums::Sum(samples) / static_cast<double>(samples.size());
}

double GatedMean(std::span<const float> samples) {
    const std::size_t count = LaneSums::CountNotZero(samples);
    return count == 0 ? 0.0 : LaneSums::Sum(samples) / static_cast<double>(count);
}

double Variance(std::size_t count, const LaneSums::Moments& moments) {
    if (count < 2) return 0.0;
    const auto n = static_cast<double>(count);
    return (moments.Squares - moments.Sum * (moments.Sum / n)) / (n - 1.0);
}

double Variance(std::span<const float> samples) {
    return Variance(samples.size(), LaneSums::AllMoments(samples));
}

double SlopePerSample(std::size_t count, const LaneSums::Moments& moments) {
    if (count < 2) return 0.0;
    const auto n = static_cast<double>(count);
    const double meanIndex = (n - 1.0) / 2.0;
    return (moments.ByIndex - meanIndex * moments.Sum) / (n * (n * n - 1.0) / 12.0);
}

double SlopePerSample(std::span<const float> samples) {
    return SlopePerSample(samples.size(), LaneSums::AllMoments(samples));
}

double EndCorrection(std::span<const float> samples) {
    if (samples.size() < 2) return 0.0;
    return (static_cast<double>(samples.front()) + samples.back()) / 2.0;
}

Peak FindPeak(std::span<const float> samples, std::size_t left, std::size_t right, PeakKind kind,
              bool noFit) {
    return FindPeak(samples, left, right, LaneSums::Extremes(samples.subspan(left, right - left)), kind,
                    noFit);
}

PeakKind KindOf(float least, float greatest, PeakKind kind) {
    if (kind != PeakKind::Larger) return kind;
    return std::fabs(greatest) >= std::fabs(least) ? PeakKind::Maximum : PeakKind::Minimum;
}

Peak FindPeak(std::span<const float> samples, std::size_t left, std::size_t right,
              const LaneSums::Places& found, PeakKind kind, bool noFit) {
    const std::size_t least = left + found.Least, greatest = left + found.Greatest;
    const bool maximum = KindOf(samples[least], samples[greatest], kind) == PeakKind::Maximum;
    const std::size_t candidate = maximum ? greatest : least;
    Peak peak{samples[candidate], static_cast<double>(candidate)};
    if (noFit || right - left < 2) return peak;
    const std::size_t half = std::max<std::size_t>(std::min<std::size_t>((right - left) / 20, 40), 5);
    const std::size_t first = candidate - left > half ? candidate - half : left;
    const std::size_t last = std::min(candidate + half, right - 1);
    const double span = static_cast<double>(samples[greatest]) - samples[least];
    Refine(samples, first, last, span, maximum, peak);
    return peak;
}

namespace {

// The first sample behind from on the other side; the number of samples for none.
std::size_t FirstAcross(std::span<const float> samples, std::size_t from, double threshold, bool above) {
    if (!above) return Scan::FirstAbove(samples, from, threshold);
    // At the threshold or below it is below the next real.
    const float behind = std::nextafter(Scan::NotAbove(threshold), std::numeric_limits<float>::infinity());
    return Scan::FirstBelow(samples, from, behind);
}

}

double FindCrossing(std::span<const float> samples, double threshold, std::size_t average,
                    const LaneSums::Places* extremes) {
    average = std::max<std::size_t>(average, 1);
    const double none = static_cast<double>(samples.size()) + 1.0;
    if (average > samples.size()) return -1.0;
    if (std::isnan(threshold)) return none;
    const std::size_t end = samples.size() - average; // the last mean stands here

    SlidingMean means(samples, average, threshold);
    std::size_t at = 0;
    double mean = means.At(0);
    while (mean == threshold && at < end) {
        // Equal samples have equal means: a flat stretch is passed over in one step.
        const std::size_t change = Scan::FirstOutside(samples, at, samples[at], samples[at]);
        at = change >= at + average ? std::min(change - average + 1, end) : at + 1;
        mean = means.At(at);
    }
    if (mean == threshold) return -1.0;
    const bool above = mean > threshold;
    const auto crossed = [&](double value) { return above ? value <= threshold : value > threshold; };
    if (average == 1) {
        if (extremes && !crossed(samples[above ? extremes->Least : extremes->Greatest])) return none;
        const std::size_t across = FirstAcross(samples, at + 1, threshold, above);
        if (across >= samples.size()) return none;
        const double y = samples[across], before = samples[across - 1];
        return static_cast<double>(across) - (y - threshold) / (y - before);
    }
    if (samples.size() > 10 * average)
        while (at + average <= end && !crossed(MeanAt(samples, at + average, average))) at += average;
    while (at < end) {
        if (!crossed(means.At(++at))) continue;
        mean = MeanAt(samples, at, average);
        return static_cast<double>(at) + static_cast<double>(average / 2) -
               (mean - threshold) / (mean - MeanAt(samples, at - 1, average));
    }
    return none;
}

double ValueAt(std::span<const float> samples, double position) {
    if (!(position > 0.0)) return samples.front();
    const double last = static_cast<double>(samples.size() - 1);
    if (position >= last) return samples.back();
    const auto before = static_cast<std::size_t>(position);
    const double share = position - static_cast<double>(before);
    const double y = samples[before];
    return y + share * (samples[before + 1] - y);
}

Range FindRange(std::int64_t start, double duration, double leftBound, double rightBound, double interval,
                std::int64_t points) {
    const double toLeft = duration * leftBound / interval;
    const double left = static_cast<double>(start) + std::trunc(toLeft + (toLeft < 0.0 ? -0.49999999 : 0.5));
    const double right = static_cast<double>(start) + std::trunc(duration * rightBound / interval);
    if (std::isnan(left) || std::isnan(right)) return {};
    const auto limit = static_cast<double>(points);
    return {static_cast<std::int64_t>(std::clamp(left, 0.0, limit)),
            static_cast<std::int64_t>(std::clamp(right, 0.0, limit))};
}

}
