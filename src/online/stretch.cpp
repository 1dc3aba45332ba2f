#include "online/stretch.h"

#include "base/messages.h"
#include "data/traces.h"
#include "online/compute.h"
#include "online/kinds.h"

namespace OnlineCompute {

namespace {

constexpr std::uint8_t Real32Format = 2;

// Where the segment lies in the trace. False when it is not there, or not stored.
bool FindSegment(Engine& engine, const OnlineFunction& function, Stretch& stretch, double& duration) {
    const StimulusOfSweep& stimulus = StimulusFor(engine, ChannelOf(engine, function.OfTrace));
    if (!stimulus.Found || stimulus.Table.empty()) return false;
    const std::int64_t wanted =
        std::int64_t{stimulus.Records.Channel->ChRelX} + stretch.Name.SegmentOffset + engine.SegmentOffset;
    const StimGen::SegmentRow& row = stimulus.Table[SegmentIndex(stimulus, wanted)];
    TraceSegment segment;
    if (!PlaceInTrace(stimulus.Records, row, *stretch.Trace, segment)) return false;
    stretch.SegmentStart = segment.FirstPoint;
    stretch.StimulusInterval = stimulus.Records.Stimulation->SsSampleInterval;
    duration = row.Duration;
    return true;
}

StretchName NameOf(const OnlineFunction& function) {
    return {.WholeTrace = function.OfKind == OnlineKinds::TotMean,
            .SegmentOffset = function.OfXSegOffset,
            .LeftBound = function.OfLeftBound,
            .RightBound = function.OfRightBound};
}

bool Find(Engine& engine, const OnlineFunction& function, const VennicTrace& trace, Stretch& stretch) {
    stretch.Trace = &trace;
    stretch.Samples = Traces::Loaded(trace);
    stretch.NeedsMoments = engine.NeedsMoments;
    stretch.StimulusInterval = trace.TrXInterval;
    const auto points = static_cast<std::int64_t>(stretch.Samples.size());
    double duration = static_cast<double>(points) * trace.TrXInterval;
    if (!stretch.Name.WholeTrace && !FindSegment(engine, function, stretch, duration)) return false;
    stretch.Range = Measure::FindRange(stretch.SegmentStart, duration, stretch.Name.LeftBound,
                                       stretch.Name.RightBound, trace.TrXInterval, points);
    return stretch.Range.Count() > 0;
}

}

Stretch* StretchFor(Engine& engine, const OnlineFunction& function) {
    TraceOfSweep& trace = TraceFor(engine, function.OfTrace);
    if (!Load(engine, trace)) return nullptr;
    if (trace.Record->RamFormat != Real32Format) {
        Messages::Note("Online-Error: unsupported RAM data-format.");
        return nullptr;
    }
    Stretch wanted;
    wanted.Name = NameOf(function);
    for (Stretch& stretch : trace.Stretches)
        if (stretch.Name == wanted.Name) return &stretch;
    if (!Find(engine, function, *trace.Record, wanted)) return nullptr;
    return &trace.Stretches.emplace_back(wanted);
}

std::span<const float> Stretch::Part() const {
    return Samples.subspan(static_cast<std::size_t>(Range.Left), static_cast<std::size_t>(Range.Count()));
}

double Stretch::Sum() {
    if (NeedsMoments) return Moments().Sum;
    if (!PlainSum) PlainSum = LaneSums::Sum(Part());
    return *PlainSum;
}

const LaneSums::Moments& Stretch::Moments() {
    if (!KnownMoments) KnownMoments = LaneSums::AllMoments(Part());
    return *KnownMoments;
}

const LaneSums::Places& Stretch::Extremes() {
    if (!KnownExtremes) KnownExtremes = LaneSums::Extremes(Part());
    return *KnownExtremes;
}

const Measure::Peak& Stretch::Peak(Measure::PeakKind kind, bool noFit) {
    const LaneSums::Places& extremes = Extremes();
    const std::span<const float> part = Part();
    kind = Measure::KindOf(part[extremes.Least], part[extremes.Greatest], kind);
    const bool maximum = kind == Measure::PeakKind::Maximum;
    std::optional<Measure::Peak>& peak = KnownPeaks[(maximum ? 1U : 0U) + (noFit ? 2U : 0U)];
    if (!peak)
        peak = Measure::FindPeak(Samples, static_cast<std::size_t>(Range.Left),
                                 static_cast<std::size_t>(Range.Right), extremes, kind, noFit);
    return *peak;
}

}
