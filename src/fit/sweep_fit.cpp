#include "fit/sweep_fit.h"

#include "base/messages.h"
#include "data/sweep_stimulus.h"
#include "fit/analysis_table.h"
#include "fit/fit_range.h"
#include "setup/settings.h"

#include <algorithm>
#include <limits>

namespace SweepFit {

namespace {

constexpr int SweepLevel = 3;

bool Refuse(std::string_view text) {
    Messages::Alert(text);
    return false;
}

Fit::Selected SelectedFit(Engine& engine) {
    return Fit::Select(engine.Records, engine.Params.FitType);
}

// Computes the online method for the sweep, once for a pass: the units of its results name new columns.
void RunOnline(Engine& engine) {
    if (!engine.Online.Method || !engine.Online.Engine) return;
    engine.Online.Engine->SegmentOffset = engine.CycleSegOffset;
    OnlineCompute::Pass(*engine.Online.Engine, *engine.Online.Method, *engine.Session.CurSweep);
    engine.Online.Engine->SegmentOffset = 0;
}

void TakeRequests(Engine& engine) {
    const Request request = engine.Poll ? engine.Poll() : Request::None;
    if (request == Request::Stop) engine.Stop = true;
    if (request == Request::Break) engine.Break = true;
}

bool FitBreak(Engine& engine) {
    TakeRequests(engine);
    return engine.Stop || engine.Break;
}

bool RunModel(Engine& engine, const Fit::Selected& selected, Fit::Outcome& outcome) {
    const Work& work = engine.Work;
    const Fit::Grid grid{static_cast<std::size_t>(work.RangePoints), work.XInterval, work.FirstX};
    const Fit::Data data{work.FitDataX, work.FitDataY, grid, work.XUnit, work.YUnit};
    engine.Params.Control.BreakProc = [&engine] { return FitBreak(engine); };
    outcome = Fit::Run(selected, data, engine.Params.Control);
    engine.Params.Control.BreakProc = {};
    return outcome.Ok || Refuse(outcome.Message);
}

enum class Pass : std::uint8_t { Run, Show, ShowAndStore, Skip };

const Measurement& MeasurementOf(const Engine& engine) {
    return engine.Measurements[static_cast<std::size_t>(engine.Params.FitType)];
}

// Fits, or measures; nothing for the online columns alone.
bool RunType(Engine& engine, const Fit::Selected& selected, Fit::Outcome& outcome) {
    if (!selected) return true;
    if (Fit::IsModel(*selected.Model)) return RunModel(engine, selected, outcome);
    outcome.Ok = true;
    return MeasurementOf(engine).Run(engine);
}

// What is measured as a list of events stores it itself.
bool StoresItself(SweepFitType type) {
    return type >= SweepFitType::TraceCopy;
}

bool CanRun(const Engine& engine, const Fit::Selected& selected) {
    if (engine.Params.FitType == SweepFitType::OnlineOnly) {
        if (!engine.Online.Stored().empty()) return true;
        return Refuse("The online analysis has no function to store.");
    }
    if (selected && (Fit::IsModel(*selected.Model) || MeasurementOf(engine).Run)) return true;
    return Refuse("The fit type \"" + std::string(NameOf(engine.Params.FitType).Short) +
                  "\" cannot be run here.");
}

bool RunPass(Engine& engine, Pass pass, int cycle) {
    DataSession& session = engine.Session;
    if (session.SelectedLevel != SweepLevel) return Refuse("Please select Sweep in the data tree.");
    const Fit::Selected selected = SelectedFit(engine);
    if (static_cast<int>(engine.Params.FitType) >= SweepFitTypes) {
        Messages::Note("Unknown Fit Type");
        return false;
    }
    if (!CanRun(engine, selected)) return false;
    if (StoresItself(engine.Params.FitType)) {
        engine.Params.FitCyclic = false;
        if (pass == Pass::Show) pass = Pass::ShowAndStore;
    }
    if (!AnalysisTable::FitToAnalysisPosition(engine)) return false;
    AnalysisTable::GotoAnalysis(engine, Tree::ChildCount(session.CurASeries));

    // The columns of a new record bear the units of the trace, so the trace comes first.
    const auto* const trace = Tree::ChildAs<VennicTrace>(session.CurSweep, engine.Params.FitTrace);
    if (!trace) return Refuse("This trace does not exist.");
    FitRange::TakeUnits(*trace, engine.Params, engine.Work);
    // Ahead of the range: online functions load the same traces, and give their samples back.
    if (pass != Pass::Skip) RunOnline(engine);
    if (selected && pass != Pass::Skip && !PrepareData(engine)) return false;
    if (MeasurementOf(engine).Prepare) MeasurementOf(engine).Prepare(engine);
    const std::vector<Fit::ParamEntry> params = Fit::Params(selected);
    if (pass != Pass::Show) ++session.AnalysisRevision;
    if (AnalysisTable::NeedsNewRecord(engine, params)) {
        if (!AnalysisTable::NewRecord(engine, params)) return false;
        if (pass == Pass::Show) pass = Pass::ShowAndStore;
    }
    if (pass == Pass::Skip) {
        if (!AnalysisTable::EmptyRow(engine, params)) return false;
        if (engine.Params.FitCyclic) AnalysisTable::CopyToCycle(engine, cycle);
        return true;
    }

    Report report;
    report.Sweep = session.CurSweep;
    report.Cycle = cycle;
    if (!RunType(engine, selected, report.Outcome)) return false;
    // What was only shown did not end in any way.
    if (pass != Pass::Run) report.Outcome.FitTermination = Fit::FitTermination::None;
    if (pass != Pass::Show) {
        report.Stored = StoresItself(engine.Params.FitType) || AnalysisTable::StoreRow(engine, params);
        if (!report.Stored) return Refuse("The analysis table has no row for this sweep.");
        AnalysisTable::StoreOnline(engine);
        if (engine.Params.FitCyclic) AnalysisTable::CopyToCycle(engine, cycle);
    }
    if (engine.Finished) engine.Finished(report);
    return true;
}

bool SweepFitPass(Engine& engine, Pass pass, int cycle = 1) {
    const bool done = RunPass(engine, pass, cycle);
    FitRange::Release(engine.Work);
    return done;
}

// 0 without a stimulus.
int CountCycles(const Engine& engine) {
    const DataSession& session = engine.Session;
    const auto* const trace = Tree::ChildAs<VennicTrace>(session.CurSweep, engine.Params.FitTrace);
    SweepStimulus stimulus;
    if (!trace ||
        !FindStimulus(session, *session.CurSweep, ChannelFor(session, *session.CurSweep, *trace), stimulus))
        return 0;
    return CycleCountOf(static_cast<int>(stimulus.Segments.size()), stimulus.Channel->ChRelY,
                        engine.Params.FitSegOffset, engine.Params.FitCyclicNumber,
                        engine.Params.FitCyclicSegSkip);
}

// One fit behind the other along the segments. False when one fails.
bool RunCycles(Engine& engine) {
    const int skip = engine.Params.FitCyclicSegSkip;
    engine.CycleAuto = false;
    engine.CycleSegOffset = 0;
    bool fitted = true;
    for (int cycle = 1; cycle <= engine.CycleCount && !engine.Stop;) {
        engine.Break = false;
        fitted = SweepFitPass(engine, Pass::Run, cycle);
        if (!fitted) break;
        const bool asks = engine.CyclePrompt && !engine.CycleAuto && !engine.CycleDoAll;
        int step = 1;
        switch (asks ? engine.CyclePrompt(engine, cycle, engine.CycleCount) : CycleAnswer::Ok) {
        case CycleAnswer::Break: engine.Break = true; break;
        case CycleAnswer::Stop:
        case CycleAnswer::Cancel: engine.Stop = true; break;
        case CycleAnswer::Ok: break;
        case CycleAnswer::Repeat: step = 0; break;
        case CycleAnswer::Skip: fitted = SweepFitPass(engine, Pass::Skip, cycle); break;
        case CycleAnswer::Back: step = cycle > 1 ? -1 : 0; break;
        case CycleAnswer::DoAll: engine.CycleDoAll = true; [[fallthrough]];
        case CycleAnswer::Auto: engine.CycleAuto = true; break;
        }
        if (!fitted || engine.Break) break;
        cycle += step;
        engine.CycleSegOffset += step * skip;
    }
    engine.CycleSegOffset = 0;
    return fitted;
}

bool TraceIsUsable(const Engine& engine) {
    const auto* const trace = Tree::ChildAs<VennicTrace>(engine.Session.CurSweep, engine.Params.FitTrace);
    if (!trace) return Refuse("This trace does not exist.");
    if (trace->TrDataPoints > Setup::Settings.MaxSamplePoints)
        return Refuse("Too many data points in trace. This trace may have continuous data. "
                      "Analysis curently not supported.");
    return true;
}

}

std::vector<int> OnlineColumns::Stored() const {
    std::vector<int> positions;
    for (int i = 1; i <= Tree::ChildCount(Method); ++i)
        if (Tree::ChildAs<OnlineFunction>(Method, i)->OfNotebook) positions.push_back(i);
    return positions;
}

Bounds EffectiveBounds(const Engine& engine) {
    const FitParams& params = engine.Params;
    if (params.FitCursorSource == CursorSource::ThisDialog)
        return {params.FitLeftBound, params.FitRightBound};
    const int last = Tree::ChildCount(engine.Online.Method);
    const auto* const function = Tree::ChildAs<OnlineFunction>(
        engine.Online.Method, params.FitCursorSource == CursorSource::FirstOnline ? 1 : last);
    return function ? Bounds{function->OfLeftBound, function->OfRightBound} : Bounds{};
}

int CycleCountOf(int segments, int relevant, int offset, int number, int skip) {
    if (skip < 1) return 0;
    const std::int64_t left = std::int64_t{segments} - (std::int64_t{relevant} + offset) + 1;
    if (number != 0 && left > (std::int64_t{number} - 1) * skip) return number;
    return static_cast<int>(
        std::clamp<std::int64_t>(left / skip, 0, std::numeric_limits<std::int16_t>::max()));
}

bool PrepareData(Engine& engine) {
    const Fit::Selected selected = SelectedFit(engine);
    const Measurement& measurement = MeasurementOf(engine);
    const bool whole = measurement.Range && measurement.Range(engine.Records) == Fit::DataRange::FullSweep;
    if (FitRange::Prepare({.Session = engine.Session,
                           .Selected = selected,
                           .Params = engine.Params,
                           .Bounds = EffectiveBounds(engine),
                           .SegmentOffset = engine.CycleSegOffset,
                           .WholeTrace = whole},
                          engine.Work))
        return true;
    const bool isMeasured = selected && !Fit::IsModel(*selected.Model);
    return Refuse(isMeasured ? selected.Model->SetupMessage : "Error during time array setup in SweepFit");
}

bool FitCommand(Engine& engine) {
    if (engine.Session.SelectedLevel != SweepLevel) return Refuse("Please select Sweep in the data tree.");
    if (!TraceIsUsable(engine)) return false;
    engine.Break = engine.Stop = false;
    Messages::Status("fitting " + VennicTree::GetTreePosition(engine.Session.CurSweep));
    engine.FitStarted = true;
    engine.CycleCount = engine.Params.FitCyclic ? CountCycles(engine) : 0;
    const bool cyclic = engine.Params.FitCyclic && !StoresItself(engine.Params.FitType);
    if (cyclic && engine.CycleCount == 0) Messages::Note("The sweep has no segment for a cycle.");
    const bool fitted = cyclic ? RunCycles(engine) : SweepFitPass(engine, Pass::Run);
    engine.FitStarted = false;
    Messages::Status("");
    return fitted;
}

bool AutoFitCommand(Engine& engine) {
    DataSession& session = engine.Session;
    if (session.SelectedLevel != SweepLevel) return Refuse("Please select Sweep in the data tree.");
    const VennicSeries* const series = session.CurSeries;
    engine.AutoFitRunning = true;
    engine.CycleDoAll = false;
    bool fitted = FitCommand(engine);
    while (fitted && session.CurSeries == series && !engine.Stop) {
        void* const next = Tree::Child(series, Tree::IndexOf(session.CurSweep) + 1);
        if (!next) break;
        TakeRequests(engine);
        if (engine.Stop) break;
        GetRelatives(session, next);
        fitted = FitCommand(engine);
    }
    engine.AutoFitRunning = engine.CycleDoAll = false;
    return fitted;
}

bool SkipCommand(Engine& engine) {
    return SweepFitPass(engine, Pass::Skip);
}

bool ShowFitCommand(Engine& engine) {
    Fit::FitControl& control = engine.Params.Control;
    const std::int32_t maxIterations = control.MaxIterations;
    const std::uint8_t obeyed = control.StopMaxIteration;
    control.MaxIterations = 0;
    control.StopMaxIteration = 1;
    const bool shown = SweepFitPass(engine, engine.Params.ManualFit ? Pass::ShowAndStore : Pass::Show);
    control.MaxIterations = maxIterations;
    control.StopMaxIteration = obeyed;
    control.FitTermination = Fit::FitTermination::None;
    return shown;
}

}
