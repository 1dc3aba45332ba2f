// The plan of a small data set that a test, a fuzz target or a benchmark writes: one series, its samples
// given, a stimulus of stored segments on one channel, trace 1 in A and trace 2 in V.
#pragma once
#include "base/text.h"
#include "data/new_data_set.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Support {

using Samples = std::vector<float>;

struct CellPlan {
    struct Segment {
        double Voltage = 0.0; // V
        int Points = 0;
    };
    std::vector<Segment> Segments = {};
    std::vector<std::vector<Samples>> Sweeps = {}; // by sweep and trace
    int Relevant = 1;                              // segment
    double Interval = 1e-3;                        // s
    double Holding = -0.08;                        // V
    double Zero = 0.0;                             // A, of trace 1
    std::uint8_t Format = 2;                       // of the samples: real32
    double Factor = 1.0;
};

inline void AddStimulus(NewDataSet& set, const CellPlan& plan, int sweeps) {
    auto* const stim = static_cast<StimStimulation*>(Tree::Append(set.Stim, set.StimulusRoot));
    auto* const channel = static_cast<StimChannel*>(Tree::Append(set.Stim, stim));
    stim->SsDataStartSegment = 1;
    stim->SsSampleInterval = plan.Interval;
    stim->SsNumberSweeps = sweeps;
    channel->ChLinkedChannel = 1;
    channel->ChOwnSegTime = 1;
    channel->ChRelX = channel->ChRelY = plan.Relevant;
    channel->ChHolding = plan.Holding;
    channel->ChScaleFactor = 1.0;
    Texts::ToField(channel->ChDacUnit, "V");
    for (const CellPlan::Segment& one : plan.Segments) {
        auto* const segment = static_cast<StimSegment*>(Tree::Append(set.Stim, channel));
        segment->SgStoreKind = 1;
        segment->SgVoltage = one.Voltage;
        segment->SgDeltaVFactor = segment->SgDeltaTFactor = 1.0;
        segment->SgDuration = one.Points * plan.Interval;
    }
}

inline bool AddTrace(NewDataSet& set, VennicSweep* sweep, const CellPlan& plan, const Samples& samples) {
    VennicTrace* const trace = VennicTree::NewTrace(set.Vennic, sweep, 0);
    const bool first = Tree::IndexOf(trace) == 1;
    trace->TrDataFormat = plan.Format;
    trace->TrDataFactor = plan.Factor;
    trace->TrXInterval = plan.Interval;
    trace->TrZeroData = first ? plan.Zero : 0.0;
    Texts::ToField(trace->TrXUnit, "s");
    Texts::ToField(trace->TrYUnit, first ? "A" : "V");
    return AppendSamples(set, *trace, samples);
}

// samplesOf(i) gives the traces of sweep i, from 0: a long series need not lie in memory.
template <class SamplesOf>
bool WriteCell(const std::string& path, const CellPlan& plan, int sweeps, SamplesOf samplesOf) {
    NewDataSet set;
    if (!BeginDataSet(set, path, "test")) return false;
    AddStimulus(set, plan, sweeps);
    VennicSeries* const series =
        VennicTree::NewSeries(set.Vennic, VennicTree::NewGroup(set.Vennic, set.Root, 0), 0);
    for (int i = 0; i < sweeps; ++i) {
        VennicSweep* const sweep = VennicTree::NewSweep(set.Vennic, series, 0);
        sweep->SwStimCount = 1;
        sweep->SwTime = set.Root->RoStartTime + 10.0 * (i + 1);
        for (const Samples& samples : samplesOf(i))
            if (!AddTrace(set, sweep, plan, samples)) return false;
    }
    return FinishDataSet(set);
}

inline bool WriteCell(const std::string& path, const CellPlan& plan) {
    return WriteCell(path, plan, static_cast<int>(plan.Sweeps.size()),
                     [&](int i) { return plan.Sweeps[static_cast<std::size_t>(i)]; });
}

}
