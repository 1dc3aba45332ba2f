// The Gaussian digital filter: designs a set of coefficients for a corner frequency and runs it over samples.
//
// Each result is the sum, in f64 and in this order, of
//     centre * x[i],  then for j = 1, 2, ..:  past(j) * x[i - j],  future(j) * x[i + j]
// so a result does not depend on the machine or on the length of the trace (see gauss_kernels.h for the
// speed). The shape follows D. Colquhoun and F. Sigworth, "Fitting and statistical analysis of single-channel
// records", in Single-Channel Recording, appendix 3: s = 0.132505 / corner is the width of the Gaussian in
// samples; below 0.62 samples three taps stand in for it.
#pragma once
#include <array>
#include <cstdint>
#include <span>

namespace GaussFilter {

inline constexpr int MaxHalfWidth = 110;

// A caller may hold several records side by side. The flags PaddedLeft, MirrorRight and SkipTail are the
// caller's choice and outlast a design; all else is the design's.
struct FilterRecord {
    std::array<double, 2 * MaxHalfWidth + 1> Coefficients{}; // 0 to 2 HalfWidth, in the order future side
                                                             // (farthest first), centre, past side
    double DelayFactor = 0;                                  // of the delay compensation; 0 without it
    std::int32_t HalfWidth = 0;      // coefficients to each side of the centre, 1 to 110; 0 before a design
    std::int32_t RightHalfWidth = 0; // coefficients used on the future side, 0 to HalfWidth
    bool DelayCompensated = false;   // designed with delay compensation
    bool PaddedLeft = false;         // the source begins HalfWidth real samples ahead of the first one
    bool MirrorRight = false;        // beyond the last sample: the mirrored ones; else the last one again
    bool SkipTail = false;           // do not compute the last HalfWidth points
    bool Valid = false;              // the last design or run with this record went through
};

// The record that serves trace loading.
[[nodiscard]] FilterRecord& Default();

// Fills the record for a relative corner (corner frequency times sample interval) and returns its HalfWidth.
// More than 110 coefficients a side are noted, and the corner becomes 0.004216, the lowest that has so few.
// With delay the future side is cut to 1 / (delayFactor * relativeCorner) coefficients, and the cut is
// smoothed by a cosine; three-tap filters have no delay compensation. Returns 0, and leaves an unusable
// record, for a corner or (with delay) a delay factor that is not above 0.
[[nodiscard]] int GaussFilterDesign(FilterRecord& record, double relativeCorner, double delayFactor = 0,
                                    bool delay = false);

// Runs the filter over the samples. Source and target must be distinct.
// With PaddedLeft the source holds HalfWidth samples and then the points; without it an index ahead of the
// first sample reads the first sample. With SkipTail the target may be HalfWidth points shorter than the
// samples, and the points not computed stay as they were.
// With delay compensation the results move RightHalfWidth places towards later indices, those moved beyond
// the last point are lost, and the head is filled with the first result.
// False, with the target untouched, for fewer points than HalfWidth (noted), a record without a design, or
// a target that is too short.
[[nodiscard]] bool GaussFilterApply(FilterRecord& record, std::span<const float> source,
                                    std::span<float> target);
[[nodiscard]] bool GaussFilterApply64(FilterRecord& record, std::span<const double> source,
                                      std::span<double> target);

}
