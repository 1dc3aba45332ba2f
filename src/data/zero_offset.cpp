#include "data/zero_offset.h"

#include "base/messages.h"
#include "data/sweep_stimulus.h"
#include "data/traces.h"

#include <algorithm>
#include <cmath>

namespace ZeroOffset {

bool FixZero(DataSession& session, VennicSweep* sweep, VennicTrace* trace, double start, double stop) {
    TraceSegment segment;
    Traces::TempTrace recorded;
    if (!FindTraceSegment(session, *sweep, *trace, 0, segment)) return false;
    if (!Traces::LoadTempTrace(session, trace, 0, {}, false, recorded)) return false;
    const auto at = [&](double fraction) {
        const double point = static_cast<double>(segment.FirstPoint) + std::round(fraction * segment.Points);
        return static_cast<std::size_t>(std::clamp(point, 0.0, static_cast<double>(recorded.Samples.size())));
    };
    if (!(start < stop) || at(start) >= at(stop)) {
        Messages::Alert("Illegal pulse length");
        return false;
    }
    double sum = 0;
    for (const float sample : recorded.Samples.subspan(at(start), at(stop) - at(start))) sum += sample;
    trace->TrZeroData = sum / static_cast<double>(at(stop) - at(start));
    return true;
}

}
