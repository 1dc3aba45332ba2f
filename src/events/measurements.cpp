#include "events/measurements.h"

#include "base/messages.h"
#include "base/text.h"
#include "data/sweep_stimulus.h"
#include "data/traces.h"
#include "events/columns.h"
#include "events/event_run.h"
#include "events/histogram.h"
#include "events/power_spectrum.h"
#include "events/rise_time.h"
#include "events/trace_copy.h"
#include "fit/fit_range.h"
#include "math/lane_sums.h"
#include "math/measure.h"

#include <algorithm>
#include <cmath>

namespace Measurements {

namespace {

bool Refuse(std::string_view text) {
    Messages::Alert(text);
    return false;
}

void Set(FitParam& param, double value) {
    param.Value = value;
    param.State = FitParamState::Fit;
}
void SwitchOff(FitParam& param) {
    param.Value = 0.0;
    param.State = FitParamState::Off;
}

// Of the fitted trace's channel; false without one.
bool FindStimulusOf(const SweepFit::Engine& engine, SweepStimulus& stimulus) {
    const DataSession& session = engine.Session;
    const auto* const trace = Tree::ChildAs<VennicTrace>(session.CurSweep, engine.Params.FitTrace);
    return trace &&
           FindStimulus(session, *session.CurSweep, ChannelFor(session, *session.CurSweep, *trace), stimulus);
}

template <std::size_t Size>
void TakeStimulusUnit(const SweepFit::Engine& engine, char (&unit)[Size]) {
    SweepStimulus stimulus;
    std::ranges::fill(unit, '\0');
    if (FindStimulusOf(engine, stimulus)) Texts::ToField(unit, Texts::FromField(stimulus.Channel->ChDacUnit));
}

// Rise time

bool FindBaseline(const SweepFit::Work& work, Fit::RiseRecord& record, double& baseline) {
    baseline = record.Baseline.State == FitParamState::Hold ? record.Baseline.Value : 0.0;
    if (record.Baseline.State != FitParamState::Fit) return true;
    std::int64_t first = 0, end = 0;
    if (!FitRange::PointsBetween(work, record.BaseLeft, record.BaseRight, first, end))
        return Refuse(" Error in init of RiseTimeFit ");
    baseline = Measure::Mean(
        work.Samples.subspan(static_cast<std::size_t>(first), static_cast<std::size_t>(end - first)));
    record.Baseline.Value = baseline;
    return true;
}

bool RunRiseTime(SweepFit::Engine& engine) {
    const SweepFit::Work& work = engine.Work;
    Fit::RiseRecord& record = engine.Records.RiseTime;
    double baseline = 0.0;
    if (!FindBaseline(work, record, baseline)) return false;
    if (record.LowLevel > record.HighLevel) std::swap(record.LowLevel, record.HighLevel);
    const RiseTime::Result result =
        RiseTime::Measure(work.Range(), work.XInterval, baseline, {record.LowLevel, record.HighLevel});
    Set(record.XValue1, work.FirstX + result.Rise[0].Time);
    Set(record.dXValue1, result.Rise[1].Time - result.Rise[0].Time);
    Set(record.Slope1, (result.High - result.Low) / record.dXValue1.Value);
    SwitchOff(record.XValue2);
    SwitchOff(record.dXValue2);
    SwitchOff(record.Slope2);
    if (result.Fall[0].Reached) Set(record.XValue2, work.FirstX + result.Fall[0].Time);
    if (result.Fall[1].Reached) {
        Set(record.dXValue2, result.Fall[1].Time - result.Fall[0].Time);
        Set(record.Slope2, (result.Low - result.High) / record.dXValue2.Value);
    }
    return true;
}

// Values under cursors

double SampleAt(const SweepFit::Work& work, double x) {
    return Measure::ValueAt(work.Range(), (x - work.FirstX) / work.XInterval);
}

// The cursors that stand in the record.
bool CursorsOfRecord(SweepFit::Engine& engine) {
    const SweepFit::Work& work = engine.Work;
    Fit::MeasureRecord& record = engine.Records.Measure;
    const double x = record.XValue.Value, dx = record.dXValue.Value;
    const double end = work.FirstX + (work.RangePoints - 1) * work.XInterval;
    const double slack = 1e-6 * work.XInterval;
    if (!(std::min(x, x + dx) >= work.FirstX - slack && std::max(x, x + dx) <= end + slack))
        return Refuse("A cursor lies outside of the range.");
    record.YValue.Value = SampleAt(work, x);
    record.dYValue.Value = SampleAt(work, x + dx) - record.YValue.Value;
    return true;
}

bool MakeEvents(SweepFit::Engine& engine, Fit::MeasureRecord& record) {
    EventColumns::Columns columns;
    if (!EventColumns::Find(engine, Tree::IndexOf(engine.Session.CurSweep), columns)) return false;
    for (EventColumns::Column& column : columns.List)
        if (!EventColumns::Append(columns.Tree, column, column.Param->Value)) return false;
    record.EventCount = EventColumns::Count(columns);
    return true;
}

bool RunMeasure(SweepFit::Engine& engine) {
    const SweepFit::Work& work = engine.Work;
    Fit::MeasureRecord& record = engine.Records.Measure;
    if (!(engine.MeasureTool ? engine.MeasureTool(engine) : CursorsOfRecord(engine))) return false;
    SweepStimulus stimulus;
    const std::vector<float> voltage =
        FindStimulusOf(engine, stimulus) ? stimulus.StoredSamples() : std::vector<float>();
    for (FitParam* const param : {&record.XValue, &record.YValue, &record.dXValue, &record.dYValue})
        param->State = FitParamState::Fit;
    if (voltage.empty())
        SwitchOff(record.StimValue);
    else
        Set(record.StimValue, Measure::ValueAt(voltage, (work.SegmentStart + record.XValue.Value) /
                                                            stimulus.Stimulation->SsSampleInterval));
    return record.MakeEvents == 0 || MakeEvents(engine, record);
}

// Trace copy

const VennicTrace* SecondTrace(const SweepFit::Engine& engine) {
    return Tree::ChildAs<VennicTrace>(engine.Session.CurSweep, engine.Records.TraceCopy.Copy2ndTrace);
}

void PrepareTraceCopy(SweepFit::Engine& engine) {
    Fit::CopyRecord& record = engine.Records.TraceCopy;
    TakeStimulusUnit(engine, record.StimUnit);
    const VennicTrace* const second = SecondTrace(engine);
    Texts::ToField(record.SecondName,
                   second ? "ValueTrace" + std::to_string(record.Copy2ndTrace) : "No2ndTrace");
    Texts::ToField(record.SecondUnit, second ? Texts::FromField(second->TrYUnit) : std::string_view());
}

std::vector<double> StimulusMeans(const SweepFit::Engine& engine, std::size_t blocks) {
    const SweepFit::Work& work = engine.Work;
    const std::int32_t size = engine.Records.TraceCopy.CopyCompress;
    std::vector<float> values(blocks * static_cast<std::size_t>(size), 0.0F);
    SweepStimulus stimulus;
    if (FindStimulusOf(engine, stimulus)) {
        const std::vector<float> voltage = stimulus.StoredSamples();
        const double ratio = work.XInterval / stimulus.Stimulation->SsSampleInterval;
        for (std::size_t i = 0; i < values.size(); ++i) {
            const double at = (static_cast<double>(work.FirstPoint) + static_cast<double>(i)) * ratio + 0.5;
            if (at >= 0.0 && at < static_cast<double>(voltage.size()))
                values[i] = voltage[static_cast<std::size_t>(at)];
        }
    }
    return TraceCopy::BlockMeans(values, size, blocks);
}

// Empty when the sweep has no such trace, or it does not load.
std::vector<double> SecondMeans(SweepFit::Engine& engine, std::size_t blocks) {
    DataSession& session = engine.Session;
    auto* const trace = const_cast<VennicTrace*>(SecondTrace(engine));
    if (!trace) return {};
    const bool same = trace == engine.Work.Trace; // its samples are needed by others
    if (!same && !Traces::LoadAndCorrect(session, session.CurSweep, trace, session.DataHeap)) return {};
    const std::span<const float> samples = Traces::Loaded(*trace);
    const auto first = std::min(static_cast<std::size_t>(engine.Work.FirstPoint), samples.size());
    std::vector<double> means =
        TraceCopy::BlockMeans(samples.subspan(first), engine.Records.TraceCopy.CopyCompress, blocks);
    if (!same) Traces::ReleaseTrace(trace);
    return means;
}

bool FillColumn(EventColumns::Columns& columns, const FitParam& param, const std::vector<double>& values) {
    EventColumns::Column* const column = EventColumns::ColumnOf(columns, param);
    if (!column || values.empty()) return true;
    EventColumns::Clear(columns.Tree, *column);
    for (const double value : values)
        if (!EventColumns::Append(columns.Tree, *column, value)) return false;
    EventColumns::SetRow(*column, values.back());
    return true;
}

bool RunTraceCopy(SweepFit::Engine& engine) {
    const SweepFit::Work& work = engine.Work;
    Fit::CopyRecord& record = engine.Records.TraceCopy;
    const std::size_t blocks = TraceCopy::BlockCount(work.Range().size(), record.CopyCompress);
    if (blocks == 0) return true;
    if (blocks > TraceCopy::MostBlocks) return Refuse("Maximal number of events exceeded.");
    EventColumns::Columns columns;
    if (!EventColumns::Find(engine, Tree::IndexOf(engine.Session.CurSweep), columns)) return false;
    std::vector<double> times =
        TraceCopy::BlockTimes(work.FirstX, work.XInterval, record.CopyCompress, blocks);
    for (double& time : times) time += work.SegmentStart;
    if (!FillColumn(columns, record.Time, times) ||
        !FillColumn(columns, record.YValue, TraceCopy::BlockMeans(work.Range(), record.CopyCompress, blocks)))
        return false;
    if (record.StimValue.Store != 0 && !FillColumn(columns, record.StimValue, StimulusMeans(engine, blocks)))
        return false;
    if (record.ValueTrace.Store != 0 && !FillColumn(columns, record.ValueTrace, SecondMeans(engine, blocks)))
        return false;
    record.CopyNBins = static_cast<std::int32_t>(blocks);
    return true;
}

// Histogram and spectrum: two columns, which are filled anew or added to.

struct TwoColumns {
    EventColumns::Columns All;
    EventColumns::Column *X = nullptr, *Y = nullptr; // none where it is not stored
    bool Fresh = true;
};

// accumulate: into the row of the first sweep. bins: of what is to be added.
bool FindTwo(SweepFit::Engine& engine, bool accumulate, std::size_t bins, const FitParam& x,
             const FitParam& y, TwoColumns& two) {
    const int sweep = Tree::IndexOf(engine.Session.CurSweep);
    if (!EventColumns::Find(engine, accumulate ? 1 : sweep, two.All)) return false;
    two.X = EventColumns::ColumnOf(two.All, x);
    two.Y = EventColumns::ColumnOf(two.All, y);
    two.Fresh =
        !accumulate || sweep == 1 || !two.Y || static_cast<std::size_t>(Tree::ChildCount(two.Y->Row)) != bins;
    return true;
}

bool Fill(const TwoColumns& two, EventColumns::Column* column, std::span<const double> values) {
    if (!column) return true;
    EventColumns::Clear(two.All.Tree, *column);
    for (const double value : values)
        if (!EventColumns::Append(two.All.Tree, *column, value)) return false;
    return true;
}

bool RunHistogram(SweepFit::Engine& engine) {
    Fit::HistRecord& record = engine.Records.AmplHistogram;
    const auto bins = static_cast<std::size_t>(std::max(record.HistNBins, 0));
    TwoColumns two;
    if (!FindTwo(engine, record.HistFirstSw != 0, bins, record.Amplitude, record.Count, two)) return false;
    Histogram::Counts counts;
    counts.Bins.assign(bins, 0.0);
    if (two.Fresh) {
        std::vector<double> centres(bins);
        for (std::size_t b = 0; b < bins; ++b)
            centres[b] = Histogram::Centre(b, record.HistLeft, record.HistBinSize);
        if (!Fill(two, two.X, centres) || !Fill(two, two.Y, counts.Bins)) return false;
    } else {
        for (std::size_t b = 0; b < bins; ++b)
            counts.Bins[b] = EventColumns::EventAt(*two.Y, static_cast<int>(b) + 1)->Value;
        counts.Left = two.X ? two.X->Row->Value : 0.0;
        counts.Right = two.Y->Row->Value;
    }
    Histogram::Add(counts, engine.Work.Range(), record.HistLeft, record.HistBinSize);
    for (std::size_t b = 0; two.Y && b < bins; ++b)
        EventColumns::EventAt(*two.Y, static_cast<int>(b) + 1)->Value = counts.Bins[b];
    if (two.X) EventColumns::SetRow(*two.X, counts.Left);
    if (two.Y) EventColumns::SetRow(*two.Y, counts.Right);
    record.HistInside = static_cast<std::int32_t>(std::min(counts.Total(), 2147483647.0));
    record.TooLow = static_cast<std::int32_t>(std::min(counts.Left, 2147483647.0));
    record.TooHigh = static_cast<std::int32_t>(std::min(counts.Right, 2147483647.0));
    return true;
}

bool RunSpectrum(SweepFit::Engine& engine) {
    Fit::TraceSpectrumRecord& record = engine.Records.TraceSpectrum;
    const SweepFit::Work& work = engine.Work;
    if (!PowerSpectrum::IsPossible(record.SpecNPoint))
        return Refuse("The number of points of a spectrum must be a power of two up to 512.");
    const std::size_t block = 2 * static_cast<std::size_t>(record.SpecNPoint);
    if (block > work.Range().size()) return Refuse("Not enough points in cursor range");
    const auto goOn = [&engine](double) {
        if (!engine.Poll || engine.Poll() == SweepFit::Request::None) return true;
        engine.Stop = true;
        return false;
    };
    const PowerSpectrum::Spectrum spectrum = PowerSpectrum::Compute(
        work.Range(), work.XInterval, record.SpecNPoint, record.SpecNBins, record.SpecSubDC != 0, goOn);
    if (engine.Stop) return false;
    TwoColumns two;
    if (!FindTwo(engine, record.SpecFirstSw != 0, spectrum.Densities.size(), record.Frequency,
                 record.SpecDens, two))
        return false;
    double blocks = static_cast<double>(spectrum.Blocks);
    std::vector<double> densities = spectrum.Densities;
    if (!two.Fresh) {
        for (std::size_t j = 0; j < densities.size(); ++j)
            densities[j] = EventColumns::EventAt(*two.Y, static_cast<int>(j) + 1)->Value;
        const double former = two.Y->Row->Value;
        PowerSpectrum::Merge(densities, std::llround(former), spectrum);
        blocks += former;
    } else if (!Fill(two, two.X, spectrum.Frequencies)) {
        return false;
    }
    if (!Fill(two, two.Y, densities)) return false;
    if (two.X) EventColumns::SetRow(*two.X, 0.0);
    if (two.Y) EventColumns::SetRow(*two.Y, blocks);
    return true;
}

// Events

bool RunEvents(SweepFit::Engine& engine) {
    EventRun::Run run;
    return EventRun::Open(run, engine) && EventRun::ToEnd(run);
}

template <auto Record>
Fit::DataRange RangeOf(const Fit::SweepRecords& records) {
    return (records.*Record).Range;
}

}

void Install(SweepFit::Engine& engine) {
    using R = Fit::SweepRecords;
    const auto set = [&engine](SweepFitType type, const SweepFit::Measurement& measurement) {
        engine.Measurements[static_cast<std::size_t>(type)] = measurement;
    };
    set(SweepFitType::RiseTime, {.Run = RunRiseTime});
    set(SweepFitType::Measure,
        {.Prepare = [](SweepFit::Engine& fit) { TakeStimulusUnit(fit, fit.Records.Measure.StimUnit); },
         .Run = RunMeasure});
    set(SweepFitType::TraceCopy,
        {.Prepare = PrepareTraceCopy, .Run = RunTraceCopy, .Range = RangeOf<&R::TraceCopy>});
    set(SweepFitType::AmplHistogram, {.Run = RunHistogram, .Range = RangeOf<&R::AmplHistogram>});
    set(SweepFitType::PowerSpectrum, {.Run = RunSpectrum, .Range = RangeOf<&R::TraceSpectrum>});
    set(SweepFitType::SingleChannel, {.Run = RunEvents, .Range = RangeOf<&R::SingleChannel>});
    set(SweepFitType::ActionPotential, {.Run = RunEvents, .Range = RangeOf<&R::ActionPotential>});
}

}
