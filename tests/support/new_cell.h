// A data set made for a test: one series, its samples given in the test, a stimulus of stored segments on one
// channel, real32 samples, trace 1 in A and trace 2 in V; with the fit driver over it.
#pragma once
#include "base/text.h"
#include "data/new_data_set.h"
#include "fit/sweep_fit.h"
#include "support/data_session.h"

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
};

inline void AddStimulus(NewDataSet& set, const CellPlan& plan) {
    auto* const stim = static_cast<StimStimulation*>(Tree::Append(set.Stim, set.StimulusRoot));
    auto* const channel = static_cast<StimChannel*>(Tree::Append(set.Stim, stim));
    stim->SsDataStartSegment = 1;
    stim->SsSampleInterval = plan.Interval;
    stim->SsNumberSweeps = static_cast<std::int32_t>(plan.Sweeps.size());
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

inline bool WriteCell(const std::string& path, const CellPlan& plan) {
    NewDataSet set;
    if (!BeginDataSet(set, path, "test")) return false;
    AddStimulus(set, plan);
    VennicSeries* const series =
        VennicTree::NewSeries(set.Vennic, VennicTree::NewGroup(set.Vennic, set.Root, 0), 0);
    for (const std::vector<Samples>& traces : plan.Sweeps) {
        VennicSweep* const sweep = VennicTree::NewSweep(set.Vennic, series, 0);
        sweep->SwStimCount = 1;
        sweep->SwTime = set.Root->RoStartTime + 10.0 * Tree::IndexOf(sweep);
        for (const Samples& samples : traces) {
            VennicTrace* const trace = VennicTree::NewTrace(set.Vennic, sweep, 0);
            const bool first = Tree::IndexOf(trace) == 1;
            trace->TrDataFormat = 2;
            trace->TrDataFactor = 1.0;
            trace->TrXInterval = plan.Interval;
            trace->TrZeroData = first ? plan.Zero : 0.0;
            Texts::ToField(trace->TrXUnit, "s");
            Texts::ToField(trace->TrYUnit, first ? "A" : "V");
            if (!AppendSamples(set, *trace, samples)) return false;
        }
    }
    return FinishDataSet(set);
}

// The data set, open for analysis, its first sweep selected.
class NewCell : public OpenedData {
public:
    explicit NewCell(const CellPlan& plan) {
        if (!WriteCell(Path, plan) || !Open(Path, OpenMode::Analysis)) ADD_FAILURE() << Said.Alerts;
        Said.Notes.clear(); // of the opening
        Select(1);
    }
    ~NewCell() { CloseDataFile(Session); }

    void Select(int sweep) { GetRelatives(Session, Find({1, 1, sweep})); }
    bool Fit(SweepFitType type, int sweep = 1) {
        Engine.Params.FitType = type;
        Select(sweep);
        return SweepFit::FitCommand(Engine);
    }
    [[nodiscard]] int Records() const { return Tree::ChildCount(Session.CurASeries); }
    // Of the current record of the series.
    [[nodiscard]] const AnalysisEntry* Column(int column) const {
        return Tree::ChildAs<AnalysisEntry>(Session.CurARecord, column);
    }
    [[nodiscard]] const AnalysisValue& Row(int column, int sweep = 1) const {
        return *Tree::ChildAs<AnalysisValue>(Column(column), sweep);
    }
    // "Duration s|nAPs|": names and units.
    [[nodiscard]] std::string Columns() const {
        std::string list;
        for (int i = 1; i <= Tree::ChildCount(Session.CurARecord); ++i) {
            const std::string unit(Texts::FromField(Column(i)->Unit));
            list += std::string(Texts::FromField(Column(i)->Name)) + (unit.empty() ? "" : " ") + unit + "|";
        }
        return list;
    }
    // What lies below the row: events, or cycles.
    [[nodiscard]] std::vector<double> Below(int column, int sweep = 1) const {
        std::vector<double> values;
        const AnalysisValue* const row = &Row(column, sweep);
        for (int i = 1; i <= Tree::ChildCount(row); ++i)
            values.push_back(Tree::ChildAs<AnalysisCycleValue>(row, i)->Value);
        return values;
    }
    [[nodiscard]] std::vector<int> StatesBelow(int column, int sweep = 1) const {
        std::vector<int> states;
        const AnalysisValue* const row = &Row(column, sweep);
        for (int i = 1; i <= Tree::ChildCount(row); ++i)
            states.push_back(static_cast<int>(Tree::ChildAs<AnalysisCycleValue>(row, i)->State));
        return states;
    }

    const TempFolder Folder{Memory()};
    const std::string Path = Folder.At("cell.dat");
    SweepFit::Engine Engine{Session};
};

inline void ExpectNear(const std::vector<double>& got, const std::vector<double>& wanted, double tolerance,
                       const char* what = "") {
    ASSERT_EQ(got.size(), wanted.size()) << what;
    for (std::size_t i = 0; i < got.size(); ++i)
        EXPECT_NEAR(got[i], wanted[i], tolerance) << what << " " << i;
}

}
