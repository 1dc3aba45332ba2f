// Online functions that measure in the samples of a trace, and those that read its stimulus.
#include "base/text.h"
#include "data/traces.h"
#include "math/lane_sums.h"
#include "math/measure.h"
#include "online/compute.h"
#include "online/kinds.h"

#include <algorithm>
#include <cmath>

namespace OnlineCompute {

namespace {

using OnlineResults::Invalid;
constexpr std::int16_t WithEndCorrection = 1;

// The stimulus or trace whose value is asked for at a place of another trace.
double ValueElsewhere(Engine& engine, OnlineFunction& function, double position, const VennicTrace& trace) {
    const double time = position * trace.TrXInterval;
    if (function.OfArgB >= 1) {
        TraceOfSweep& other = TraceFor(engine, function.OfArgB);
        if (!Load(engine, other)) return Invalid;
        SetUnit(function, Texts::FromField(other.Record->TrYUnit));
        const std::span<const float> samples = Traces::Loaded(*other.Record);
        return samples.empty() ? Invalid : Measure::ValueAt(samples, time / other.Record->TrXInterval);
    }
    StimulusOfSweep& stimulus = StimulusFor(engine, ChannelOf(engine, function.OfTrace));
    if (!stimulus.Found) return Invalid;
    if (!stimulus.Rebuilt) {
        stimulus.Rebuilt = true;
        stimulus.Samples = stimulus.Records.StoredSamples();
    }
    SetUnit(function, Texts::FromField(stimulus.Records.Channel->ChDacUnit));
    if (stimulus.Samples.empty()) return Invalid;
    return Measure::ValueAt(stimulus.Samples, time / stimulus.Records.Stimulation->SsSampleInterval);
}

double PeakValue(Engine& engine, OnlineFunction& function, Stretch& stretch) {
    const int kind = function.OfKind;
    const Measure::PeakKind search =
        kind == OnlineKinds::Maximum || kind == OnlineKinds::MaxTime   ? Measure::PeakKind::Maximum
        : kind == OnlineKinds::Minimum || kind == OnlineKinds::MinTime ? Measure::PeakKind::Minimum
                                                                       : Measure::PeakKind::Larger;
    const Measure::Peak& peak = stretch.Peak(search, function.OfNoPeakFit != 0);
    switch (kind) {
    case OnlineKinds::PeakTime:
    case OnlineKinds::MinTime:
    case OnlineKinds::MaxTime:
        return (peak.Position - static_cast<double>(stretch.SegmentStart)) * stretch.Trace->TrXInterval;
    case OnlineKinds::VPeak: return ValueElsewhere(engine, function, peak.Position, *stretch.Trace);
    default: return peak.Value;
    }
}

double CrossingValue(Engine& engine, OnlineFunction& function, Stretch& stretch) {
    const bool isTime = function.OfKind == OnlineKinds::ThreshTime;
    // Where the extremes are not known, the search alone is quicker.
    const double position = Measure::FindCrossing(stretch.Part(), isTime ? function.OfConstant : 0.0,
                                                  static_cast<std::size_t>(std::max<int>(function.OfArgA, 1)),
                                                  stretch.KnownExtremes ? &*stretch.KnownExtremes : nullptr);
    if (!(position >= 0.0 && position <= static_cast<double>(stretch.Range.Count()))) return Invalid;
    const auto left = static_cast<double>(stretch.Range.Left);
    if (!isTime) return ValueElsewhere(engine, function, left + position, *stretch.Trace);
    return (left - static_cast<double>(stretch.SegmentStart) + position) * stretch.StimulusInterval;
}

// Of a measured value; kinds that read elsewhere say theirs themselves.
void TakeUnit(OnlineFunction& function, const VennicTrace& trace) {
    const std::string x(Texts::FromField(trace.TrXUnit)), y(Texts::FromField(trace.TrYUnit));
    switch (function.OfKind) {
    case OnlineKinds::PeakTime:
    case OnlineKinds::MinTime:
    case OnlineKinds::MaxTime:
    case OnlineKinds::ThreshTime: return SetUnit(function, x);
    case OnlineKinds::Integral:
    case OnlineKinds::AnodicQ:
    case OnlineKinds::CathodicQ: return SetUnit(function, y + x);
    case OnlineKinds::Slope: return SetUnit(function, y + "/" + x);
    default: return SetUnit(function, y);
    }
}

}

double MeasureTrace(Engine& engine, OnlineFunction& function) {
    Stretch* const found = StretchFor(engine, function);
    if (!found) return Invalid;
    Stretch& stretch = *found;
    TakeUnit(function, *stretch.Trace);
    const std::span<const float> part = stretch.Part();
    const double interval = stretch.Trace->TrXInterval;
    const double correction =
        function.OfArgB == WithEndCorrection ? Measure::EndCorrection(part) * interval : 0.0;
    switch (function.OfKind) {
    case OnlineKinds::Mean:
    case OnlineKinds::TotMean:
        return VennicTree::IsVirtual(*stretch.Trace) ? Measure::GatedMean(part)
                                                     : stretch.Sum() / static_cast<double>(part.size());
    case OnlineKinds::Integral: return stretch.Sum() * interval - correction;
    case OnlineKinds::Variance: return Measure::Variance(part.size(), stretch.Moments());
    case OnlineKinds::Slope: return Measure::SlopePerSample(part.size(), stretch.Moments()) / interval;
    case OnlineKinds::AnodicQ: return LaneSums::SumAbove(part) * interval - correction;
    case OnlineKinds::CathodicQ: return -LaneSums::SumBelow(part) * interval - correction;
    case OnlineKinds::Reversal:
    case OnlineKinds::ThreshTime: return CrossingValue(engine, function, stretch);
    default: return PeakValue(engine, function, stretch);
    }
}

double StimulusValue(Engine& engine, OnlineFunction& function) {
    const StimulusOfSweep& stimulus = StimulusFor(engine, ChannelOf(engine, function.OfTrace));
    if (!stimulus.Found) return Invalid;
    const StimChannel& channel = *stimulus.Records.Channel;
    if (function.OfKind == OnlineKinds::LockInHz) {
        SetUnit(function, "Hz");
        return channel.ChSquareParams[0] > 0.0 ? 1.0 / channel.ChSquareParams[0] : Invalid;
    }
    if (stimulus.Table.empty()) return Invalid;
    const std::int64_t wanted = std::int64_t{channel.ChRelY} + function.OfYSegOffset + engine.SegmentOffset;
    const auto index = SegmentIndex(stimulus, wanted);
    const StimGen::SegmentRow& row = stimulus.Table[index];
    const std::string unit(Texts::FromField(channel.ChDacUnit));
    const double start = static_cast<double>(row.FirstPoint) * stimulus.Records.Stimulation->SsSampleInterval;
    switch (function.OfKind) {
    case OnlineKinds::Amplitude: SetUnit(function, unit); return row.Voltage;
    case OnlineKinds::ScanRate: {
        SetUnit(function, unit + "/s");
        const bool isRamp = stimulus.Records.Segments[index]->SgClass ==
                            static_cast<std::uint8_t>(StimTree::SegmentClass::Ramp);
        const double before =
            index > 0 ? stimulus.Table[index - 1].Voltage : StimGen::HoldingFor(stimulus.Records.Source());
        return isRamp && row.Duration > 0.0 ? (row.Voltage - before) / row.Duration : 0.0;
    }
    default: SetUnit(function, "s"); break;
    }
    if (function.OfKind == OnlineKinds::Duration) return row.Duration;
    if (function.OfKind == OnlineKinds::SegTimeRel) return start;
    const auto& root = *static_cast<const VennicRoot*>(Tree::Root(engine.Session.Vennic.Handle));
    return engine.Sweep->SwTime - root.RoStartTime + start;
}

}
