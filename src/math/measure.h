// Measurements of a stretch of samples: sums, extremes with a cubic through their surroundings, crossings.
//
// Every procedure needs at least one sample. Sums are those of math/lane_sums.h.
#pragma once
#include "math/lane_sums.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace Measure {

[[nodiscard]] double Mean(std::span<const float> samples);
// Of the samples that are not exactly 0; 0 when all are.
[[nodiscard]] double GatedMean(std::span<const float> samples);
// (sum of squares - sum * mean) / (n - 1); 0 for one sample.
[[nodiscard]] double Variance(std::span<const float> samples);
// Of the regression line over the index; 0 for one sample.
[[nodiscard]] double SlopePerSample(std::span<const float> samples);
// The same from sums that are known already, of count samples.
[[nodiscard]] double Variance(std::size_t count, const LaneSums::Moments& moments);
[[nodiscard]] double SlopePerSample(std::size_t count, const LaneSums::Moments& moments);
// Half of the first and the last sample, which turns a sum of rectangles into one of trapezoids; 0 for one
// sample.
[[nodiscard]] double EndCorrection(std::span<const float> samples);

enum class PeakKind : std::uint8_t { Maximum, Minimum, Larger }; // Larger: by absolute value
// Which of the two is searched for among samples of these extremes; the maximum when they are as large.
[[nodiscard]] PeakKind KindOf(float least, float greatest, PeakKind kind);

struct Peak {
    double Value = 0.0;
    double Position = 0.0; // index in samples, may lie between two of them
};
// The extreme of the stretch. Unless noFit, and with two samples or more, a cubic is fitted through the
// samples around it: half a window of a twentieth of the stretch, at least 5 and at most 40, both ends in
// it, clipped to the stretch. A stationary point of the right kind inside the window replaces the extreme; of
// a straight line, its upper or lower end does.
[[nodiscard]] Peak FindPeak(std::span<const float> samples, std::size_t left, std::size_t right,
                            PeakKind kind, bool noFit);

// The same with the places of the extremes, from left on, known already.
[[nodiscard]] Peak FindPeak(std::span<const float> samples, std::size_t left, std::size_t right,
                            const LaneSums::Places& extremes, PeakKind kind, bool noFit);

// Where the mean of average samples (at least 1) first crosses the threshold: from below once it is above,
// from above once it is not above any more. A fraction of an index; the number of samples plus 1 when
// there is no crossing, -1 when no mean differs from the threshold. Extremes that are known spare a search
// that would find none.
[[nodiscard]] double FindCrossing(std::span<const float> samples, double threshold, std::size_t average,
                                  const LaneSums::Places* extremes = nullptr);

// The value between two samples; that of the nearest one outside of them. Needs one sample.
[[nodiscard]] double ValueAt(std::span<const float> samples, double position);

// The part of a segment between two bounds, in samples of the trace.
struct Range {
    std::int64_t Left = 0, Right = 0; // left <= i < right
    [[nodiscard]] std::int64_t Count() const { return Right - Left; }
};
// start: first sample of the segment; duration and interval in s; bounds are fractions of the duration. The
// left bound is rounded half away from zero (by adding 0.5, or subtracting 0.49999999), the right one is cut;
// both are kept in the trace. Without a sample, or when a number makes no sense, Count is not above 0.
[[nodiscard]] Range FindRange(std::int64_t start, double duration, double leftBound, double rightBound,
                              double interval, std::int64_t points);

}
