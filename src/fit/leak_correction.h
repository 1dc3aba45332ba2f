// Linear leak correction: takes an ohmic current off a trace in memory, for a fit.
#pragma once
#include "fit/sweep_fit.h"

namespace LeakCorrection {

// y less (V - reversal) * conductance at each sample, the product rounded to 32 bits; V is the stimulus of
// the trace's channel, 0 where it cannot be computed. Auto conductance: zero offset / (holding - reversal),
// which takes the current at the holding for leak alone. The trace must be loaded whole. False, with an
// alert, without a sweep or a stimulus.
[[nodiscard]] bool Apply(DataSession& session, const VennicSweep& sweep, VennicTrace& trace,
                         const SweepFit::FitParams& params);

}
