#include "fit/fit_range.h"

#include "base/messages.h"
#include "base/text.h"
#include "data/sweep_stimulus.h"
#include "data/traces.h"
#include "fit/leak_correction.h"

#include <algorithm>
#include <cmath>

namespace FitRange {

namespace {

constexpr std::uint8_t Real32Format = 2;

bool Refuse(std::string_view text) {
    Messages::Alert(text);
    return false;
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

bool PointsBetween(const SweepFit::Work& work, double left, double right, std::int64_t& first,
                   std::int64_t& end) {
    const auto start = static_cast<double>(work.SegmentFirst);
    const double from = std::max(start + std::round(left * work.SegmentPoints), 0.0);
    const double to =
        std::min(start + std::round(right * work.SegmentPoints), static_cast<double>(work.Samples.size()));
    if (!(to - from >= 1.0)) return false;
    first = static_cast<std::int64_t>(from);
    end = static_cast<std::int64_t>(to);
    return true;
}

bool Prepare(const Source& source, SweepFit::Work& work) {
    DataSession& session = source.Session;
    VennicSweep* const sweep = session.CurSweep;
    auto* const trace = Tree::ChildAs<VennicTrace>(sweep, source.Params.FitTrace);
    if (!trace) return Refuse("This trace does not exist.");
    TraceSegment segment;
    if (!source.WholeTrace && !FindTraceSegment(session, *sweep, *trace,
                                                source.Params.FitSegOffset + source.SegmentOffset, segment))
        return false;
    if (!Traces::LoadAndCorrect(session, sweep, trace, session.DataHeap)) return false;
    if (trace->RamFormat != Real32Format) return Refuse("SweepFit-Error: unsupported RAM data-format.");
    if (source.Params.LinLeakOn && !LeakCorrection::Apply(session, *sweep, *trace, source.Params))
        return false;

    work.Trace = trace;
    work.Samples = Traces::Loaded(*trace);
    work.XInterval = trace->TrXInterval;
    work.SegmentFirst = source.WholeTrace ? 0 : segment.FirstPoint;
    work.SegmentPoints = source.WholeTrace ? static_cast<double>(work.Samples.size()) : segment.Points;
    const SweepFit::Bounds bounds = source.WholeTrace ? SweepFit::Bounds{} : source.Bounds;
    std::int64_t first = 0, end = 0;
    if (!PointsBetween(work, bounds.Left, bounds.Right, first, end)) return Refuse("Illegal pulse length");
    work.FirstPoint = static_cast<std::int32_t>(first);
    work.RangePoints = static_cast<std::int32_t>(end - first);
    TakeUnits(*trace, source.Params, work);
    work.SegmentStart = static_cast<double>(work.SegmentFirst) * work.XInterval;
    work.FirstX =
        FirstX(source.Selected, source.Params.FitType, work.FirstPoint * work.XInterval, work.SegmentStart);
    work.FitPoints = work.RangePoints;
    if (source.Selected && !Fit::IsModel(*source.Selected.Model)) return true;

    FillArrays(*trace, work);
    // The fit's copy is made; the samples would pile up over a long series.
    Release(work);
    if (!Reduction::AppliesTo(source.Params.FitType)) return true;
    const auto limit = static_cast<std::size_t>(std::max(source.Params.MaxNoOfFittedPoints, 2));
    const std::size_t kept = Reduction::Reduce(work.FitDataX, work.FitDataY, limit);
    work.FitPoints = static_cast<std::int32_t>(kept);
    work.FitDataX.resize(kept);
    work.FitDataY.resize(kept);
    return true;
}

void Release(SweepFit::Work& work) {
    if (work.Trace) Traces::ReleaseTrace(work.Trace);
    work.Samples = {};
}

}
