// The zero offset of a trace, taken from the trace itself.
#pragma once
#include "data/session.h"

namespace ZeroOffset {

// Takes the mean of a stretch of the relevant segment, given as fractions of its length, for the trace's new
// zero offset. The samples are looked at as recorded, whatever is loaded of the trace. False, with words and
// nothing changed, when the stretch holds no point.
[[nodiscard]] bool FixZero(DataSession& session, VennicSweep* sweep, VennicTrace* trace, double start,
                           double stop);

}
