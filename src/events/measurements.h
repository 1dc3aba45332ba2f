// The types of a sweep fit that measure: rise time, values under cursors, trace copy, amplitude histogram,
// power spectrum, single channels and action potentials.
//
// The fit driver prepares the range of the trace and the columns of the analysis; these fill them. All but
// the first two store lists below the row of the sweep (events/columns.h); with accumulation on, below that
// of the first sweep.
#pragma once
#include "fit/sweep_fit.h"

namespace Measurements {

// Makes the types known to the driver.
void Install(SweepFit::Engine& engine);

}
