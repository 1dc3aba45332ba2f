#include "app/demo_set.h"

#include "app/demo_signals.h"
#include "base/text.h"
#include "data/new_data_set.h"

#include <string_view>
#include <vector>

namespace DemoSet {

namespace {

using DemoSignals::Random;
using DemoSignals::Step;

struct SegmentPlan {
    double Level;
    double Increment; // from sweep to sweep
    double Seconds;
    bool AtHolding = false;
};

struct SeriesPlan {
    const char* Label;
    const char* Comment;
    int Sweeps;
    double Interval; // s
    double Holding;
    int RelevantSegment;
    const char* StimUnit;
    const char* DataUnit;
    int RecordingMode;
    double Factor;    // of the stored 16-bit samples
    double Bandwidth; // Hz
    std::vector<SegmentPlan> Segments;
};

struct Builder {
    NewDataSet& Set;
    Random Noise;
    double Time = 0; // s from the start of the experiment
};

std::vector<Step> StepsOf(const SeriesPlan& plan, int sweep) {
    std::vector<Step> steps;
    for (const SegmentPlan& segment : plan.Segments)
        steps.push_back(
            {segment.AtHolding ? plan.Holding : segment.Level + sweep * segment.Increment, segment.Seconds});
    return steps;
}

bool AddSegment(Builder& builder, void* channel, const SegmentPlan& plan) {
    auto* const segment = static_cast<StimSegment*>(Tree::Append(builder.Set.Stim, channel));
    if (!segment) return false;
    segment->SgStoreKind = 1;
    segment->SgVoltage = plan.Level;
    segment->SgVoltageSource = plan.AtHolding ? 1 : 0;
    segment->SgDeltaVFactor = 1.0;
    segment->SgDeltaVIncrement = plan.Increment;
    segment->SgDuration = plan.Seconds;
    segment->SgDeltaTFactor = 1.0;
    return true;
}

// The index of the new stimulation, 0 on failure.
int AddStimulation(Builder& builder, const SeriesPlan& plan, int leaks) {
    auto* const stim =
        static_cast<StimStimulation*>(Tree::Append(builder.Set.Stim, builder.Set.StimulusRoot));
    auto* const channel = stim ? static_cast<StimChannel*>(Tree::Append(builder.Set.Stim, stim)) : nullptr;
    if (!channel) return 0;
    Texts::ToField(stim->SsEntryName, plan.Label);
    stim->SsDataStartSegment = 1;
    stim->SsSampleInterval = plan.Interval;
    stim->SsSweepInterval = 1.0;
    stim->SsNumberSweeps = plan.Sweeps;
    stim->SsNumberLeaks = leaks;
    stim->SsAverages = 1;
    channel->ChLinkedChannel = 1;
    channel->ChOwnSegTime = 1;
    channel->ChAmplMode = std::string_view(plan.StimUnit) == "A" ? 1 : 0;
    channel->ChRelX = channel->ChRelY = plan.RelevantSegment;
    channel->ChHolding = plan.Holding;
    channel->ChScaleFactor = 1.0;
    channel->ChLeakActive = leaks > 0;
    channel->ChLeakStore = leaks > 0 ? 1 : 0;
    channel->ChLeakSize = 0.25;
    Texts::ToField(channel->ChAdcUnit, plan.DataUnit);
    Texts::ToField(channel->ChDacUnit, plan.StimUnit);
    for (const SegmentPlan& segment : plan.Segments)
        if (!AddSegment(builder, channel, segment)) return 0;
    return Tree::IndexOf(stim);
}

VennicSeries* AddSeries(Builder& builder, VennicGroup* group, const SeriesPlan& plan) {
    VennicSeries* const series = VennicTree::NewSeries(builder.Set.Vennic, group, 0);
    if (!series) return nullptr;
    Texts::ToField(series->SeLabel, plan.Label);
    Texts::ToField(series->SeComment, plan.Comment);
    Texts::ToField(series->SeUsername, "Demonstration");
    series->SeNumberSweeps = plan.Sweeps;
    series->SeTime = builder.Set.Root->RoStartTime + builder.Time;
    return series;
}

VennicSweep* AddSweep(Builder& builder, VennicSeries* series, int stimulation) {
    VennicSweep* const sweep = VennicTree::NewSweep(builder.Set.Vennic, series, 0);
    if (!sweep) return nullptr;
    sweep->SwStimCount = stimulation;
    sweep->SwTime = builder.Set.Root->RoStartTime + builder.Time;
    sweep->SwTimer = builder.Time;
    sweep->SwTemperature = 22.0;
    builder.Time += 1.0;
    return sweep;
}

struct TracePlan {
    const char* Label;
    int Kind;
    double Zero = 0;
    int LeakCount = 0;
    int LeakTraces = 0;
};

bool AddTrace(Builder& builder, VennicSweep* sweep, const SeriesPlan& plan, const TracePlan& plot,
              const std::vector<float>& samples) {
    VennicTrace* const trace = VennicTree::NewTrace(builder.Set.Vennic, sweep, 0);
    if (!trace) return false;
    Texts::ToField(trace->TrLabel, plot.Label);
    Texts::ToField(trace->TrYUnit, plan.DataUnit);
    trace->TrDataKind = static_cast<std::int16_t>(plot.Kind);
    trace->TrRecordingMode = static_cast<std::uint8_t>(plan.RecordingMode);
    trace->TrDataFactor = plan.Factor;
    trace->TrYRange = plan.Factor * 32768.0;
    trace->TrXInterval = plan.Interval;
    trace->TrBandwidth = plan.Bandwidth;
    trace->TrZeroData = plot.Zero;
    trace->TrLeakCount = plot.LeakCount;
    trace->TrLeakTraces = plot.LeakTraces;
    return AppendSamples(builder.Set, *trace, samples);
}

void Add(std::vector<float>& to, const std::vector<float>& what) {
    for (std::size_t i = 0; i < to.size(); ++i) to[i] += what[i];
}

double MeanOf(const std::vector<float>& samples, std::size_t points) {
    double sum = 0;
    for (std::size_t i = 0; i < points; ++i) sum += samples[i];
    return sum / static_cast<double>(points);
}

bool AddPotassiumSteps(Builder& builder, VennicGroup* group) {
    const SeriesPlan plan{"K steps", "delayed K current, P/4 leak",
                          8,         5e-5,
                          -0.08,     2,
                          "V",       "A",
                          3,         1e-12,
                          8000,      {{0, 0, 0.01, true}, {-0.01, 0.01, 0.05}, {-0.05, 0, 0.02}}};
    constexpr int Leaks = 4;
    const int stimulation = AddStimulation(builder, plan, Leaks);
    VennicSeries* const series = AddSeries(builder, group, plan);
    if (stimulation == 0 || !series) return false;
    for (int i = 0; i < plan.Sweeps; ++i) {
        VennicSweep* const sweep = AddSweep(builder, series, stimulation);
        const std::vector<Step> steps = StepsOf(plan, i);
        std::vector<float> leak = DemoSignals::PassiveCurrent(steps, plan.Holding, plan.Interval);
        std::vector<float> current = DemoSignals::PotassiumCurrent(steps, plan.Holding, plan.Interval);
        Add(current, leak);
        DemoSignals::AddNoise(current, builder.Noise, 8e-12);
        DemoSignals::AddNoise(leak, builder.Noise, 4e-12);
        constexpr std::size_t Baseline = 150;
        const TracePlan main{"Imon-1", DataKind::CurrentMonitor, MeanOf(current, Baseline), 2, Leaks};
        const TracePlan averaged{"Leak", DataKind::Leak | DataKind::CurrentMonitor, MeanOf(leak, Baseline)};
        if (!sweep || !AddTrace(builder, sweep, plan, main, current) ||
            !AddTrace(builder, sweep, plan, averaged, leak))
            return false;
    }
    return true;
}

bool AddCurrentSteps(Builder& builder, VennicGroup* group) {
    const SeriesPlan plan{"CC steps", "from hyperpolarisation to firing",
                          7,          5e-5,
                          0.0,        2,
                          "A",        "V",
                          4,          5e-6,
                          10000,      {{0, 0, 0.05, true}, {-6e-11, 5e-11, 0.2}, {0, 0, 0.05, true}}};
    const int stimulation = AddStimulation(builder, plan, 0);
    VennicSeries* const series = AddSeries(builder, group, plan);
    if (stimulation == 0 || !series) return false;
    for (int i = 0; i < plan.Sweeps; ++i) {
        VennicSweep* const sweep = AddSweep(builder, series, stimulation);
        std::vector<float> potential = DemoSignals::NeuronPotential(StepsOf(plan, i), plan.Interval);
        DemoSignals::AddNoise(potential, builder.Noise, 5e-5);
        if (!sweep || !AddTrace(builder, sweep, plan, {"Vmon-1", DataKind::VoltageMonitor}, potential))
            return false;
    }
    return true;
}

bool AddChannel(Builder& builder, VennicGroup* group) {
    const SeriesPlan plan{
        "Channel",        "one channel, filtered at 2 kHz", 5, 5e-5, -0.06, 1, "V", "A", 1, 1e-15, 2000,
        {{-0.06, 0, 0.5}}};
    const int stimulation = AddStimulation(builder, plan, 0);
    VennicSeries* const series = AddSeries(builder, group, plan);
    if (stimulation == 0 || !series) return false;
    for (int i = 0; i < plan.Sweeps; ++i) {
        VennicSweep* const sweep = AddSweep(builder, series, stimulation);
        const std::size_t points = DemoSignals::PointsOf(StepsOf(plan, i), plan.Interval);
        std::vector<float> current =
            DemoSignals::ChannelCurrent(builder.Noise, points, plan.Interval, -2.4e-12, 0.006, 0.012, 2000);
        DemoSignals::AddNoise(current, builder.Noise, 2.5e-13);
        if (!sweep || !AddTrace(builder, sweep, plan, {"Imon-1", DataKind::CurrentMonitor}, current))
            return false;
    }
    return true;
}

}

bool Write(const std::string& path, std::uint64_t seed, const std::string& version) {
    NewDataSet set;
    if (!BeginDataSet(set, path, version)) return false;
    Texts::ToField(set.Root->RoText, "Simulated demonstration data");
    Builder builder{set, Random{seed, 0, false}};
    VennicGroup* const cell = VennicTree::NewGroup(set.Vennic, set.Root, 0);
    VennicGroup* const patch = VennicTree::NewGroup(set.Vennic, set.Root, 0);
    if (!cell || !patch) return false;
    Texts::ToField(cell->GrText, "whole cell");
    Texts::ToField(patch->GrText, "cell-attached patch");
    return AddPotassiumSteps(builder, cell) && AddCurrentSteps(builder, cell) && AddChannel(builder, patch) &&
           FinishDataSet(set);
}

}
