// The data range of a sweep fit: which points of the trace, where time zero lies, and which of them are
// fitted.
#pragma once
#include "fit/sweep_fit.h"

namespace FitRange {

// What the range is made from.
struct Source {
    DataSession& Session;
    const Fit::Selected& Selected;
    const SweepFit::FitParams& Params;
    SweepFit::Bounds Bounds;
    int SegmentOffset = 0;   // added to that of the parameters
    bool WholeTrace = false; // instead of the bounds
};

// Loads the trace of the selected sweep with its corrections and fills the work state. Of a type that
// measures the trace stays loaded. False when the sweep has no stimulus segment to take the range from, the
// trace does not load, or the range holds no point; said in words.
[[nodiscard]] bool Prepare(const Source& source, SweepFit::Work& work);

// Gives the samples back.
void Release(SweepFit::Work& work);

// The points between two bounds of the segment, as far as the trace goes. False when there is none.
[[nodiscard]] bool PointsBetween(const SweepFit::Work& work, double left, double right, std::int64_t& first,
                                 std::int64_t& end);

// The units of the fitted trace, which name those of the results; the settings' own where the trace has none.
void TakeUnits(const VennicTrace& trace, const SweepFit::FitParams& params, SweepFit::Work& work);

}
