// The data range of a sweep fit: which points of the trace, where time zero lies, and which of them are
// fitted.
#pragma once
#include "fit/sweep_fit.h"

namespace FitRange {

// Loads the trace of the selected sweep with its corrections and fills the work state. False when the sweep
// has no stimulus segment to take the range from, the trace does not load, or the range holds no point; said
// in words.
[[nodiscard]] bool Prepare(DataSession& session, const Fit::Selected& selected,
                           const SweepFit::FitParams& params, SweepFit::Work& work);

// The units of the fitted trace, which name those of the results; the settings' own where the trace has none.
void TakeUnits(const VennicTrace& trace, const SweepFit::FitParams& params, SweepFit::Work& work);

}
