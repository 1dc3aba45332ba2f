#include "fit/fit_range.h"

#include "base/messages.h"
#include "base/text.h"
#include "data/sweep_stimulus.h"
#include "data/traces.h"

#include <algorithm>
#include <cmath>

namespace FitRange {

namespace {

constexpr std::uint8_t Real32Format = 2;

bool Refuse(std::string_view text) {
    Messages::Alert(text);
    return false;
}

// The points between the bounds, as far as the trace goes.
bool FindPoints(const TraceSegment& segment, const SweepFit::Bounds& bounds, const VennicTrace& trace,
                SweepFit::Work& work) {
    const double first = static_cast<double>(segment.FirstPoint) + std::round(bounds.Left * segment.Points);
    const double last = static_cast<double>(segment.FirstPoint) + std::round(bounds.Right * segment.Points);
    const double begin = std::max(first, 0.0), end = std::min(last, static_cast<double>(trace.PointsLoaded));
    if (!(end - begin >= 1.0)) return Refuse("Illegal pulse length");
    work.FirstPoint = static_cast<std::int32_t>(begin);
    work.RangePoints = static_cast<std::int32_t>(end - begin);
    return true;
}

// Where x begins. Only an exponential may count from the cursor, or from a given time.
double FirstX(const Fit::Selected& selected, SweepFitType type, double rangeStart, double segmentStart) {
    if (type != SweepFitType::Exponential && type != SweepFitType::OneExponential)
        return rangeStart - segmentStart;
    auto& record = *static_cast<Fit::ExpRecord*>(selected.Record);
    switch (record.TimeSource) {
    case Fit::ExpTimeSource::CursorPosition: return 0.0;
    case Fit::ExpTimeSource::GivenTime0:
        record.GivenTime0 = std::min(record.GivenTime0, rangeStart);
        return rangeStart - record.GivenTime0;
    default: return rangeStart - segmentStart;
    }
}

void FillArrays(const VennicTrace& trace, SweepFit::Work& work) {
    const auto points = static_cast<std::size_t>(work.RangePoints);
    const float* const samples = trace.Samples + work.FirstPoint;
    work.FitDataX.resize(points);
    work.FitDataY.resize(points);
    for (std::size_t i = 0; i < points; ++i) {
        work.FitDataY[i] = samples[i];
        work.FitDataX[i] = static_cast<double>(i) * work.XInterval + work.FirstX;
    }
}

std::string UnitOr(std::span<const char> field, const std::string& fallback) {
    const std::string_view unit = Texts::FromField(field);
    return unit.empty() ? fallback : std::string(unit);
}

}

void TakeUnits(const VennicTrace& trace, const SweepFit::FitParams& params, SweepFit::Work& work) {
    work.XUnit = UnitOr(trace.TrXUnit, params.SweepXUnit);
    work.YUnit = UnitOr(trace.TrYUnit, params.SweepYUnit);
}

bool Prepare(DataSession& session, const Fit::Selected& selected, const SweepFit::FitParams& params,
             SweepFit::Work& work) {
    VennicSweep* const sweep = session.CurSweep;
    auto* const trace = Tree::ChildAs<VennicTrace>(sweep, params.FitTrace);
    if (!trace) return Refuse("This trace does not exist.");
    TraceSegment segment;
    if (!FindTraceSegment(session, *sweep, *trace, params.FitSegOffset, segment)) return false;
    if (!Traces::LoadAndCorrect(session, sweep, trace, session.DataHeap)) return false;
    if (trace->RamFormat != Real32Format) return Refuse("SweepFit-Error: unsupported RAM data-format.");
    if (!FindPoints(segment, SweepFit::EffectiveBounds(params), *trace, work)) return false;

    work.Trace = trace;
    work.XInterval = trace->TrXInterval;
    TakeUnits(*trace, params, work);
    work.SegmentStart = static_cast<double>(segment.FirstPoint) * work.XInterval;
    work.FirstX = FirstX(selected, params.FitType, work.FirstPoint * work.XInterval, work.SegmentStart);
    FillArrays(*trace, work);
    // The fit's copy is made; the samples would pile up over a long series.
    Traces::ReleaseTrace(trace);

    work.FitPoints = work.RangePoints;
    if (!Reduction::AppliesTo(params.FitType)) return true;
    const auto limit = static_cast<std::size_t>(std::max(params.MaxNoOfFittedPoints, 2));
    const std::size_t kept = Reduction::Reduce(work.FitDataX, work.FitDataY, limit);
    work.FitPoints = static_cast<std::int32_t>(kept);
    work.FitDataX.resize(kept);
    work.FitDataY.resize(kept);
    return true;
}

}
