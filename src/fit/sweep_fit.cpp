#include "fit/sweep_fit.h"

#include "base/messages.h"
#include "base/text.h"
#include "base/time_scale.h"
#include "data/analysis_file.h"
#include "fit/fit_range.h"
#include "setup/settings.h"

#include <algorithm>

namespace SweepFit {

namespace {

constexpr int SweepLevel = 3;

bool Refuse(std::string_view text) {
    Messages::Alert(text);
    return false;
}

bool IsStored(const Fit::ParamEntry& entry) {
    return !entry.Column.empty() && entry.Param->Store != 0;
}

int StoredCount(const std::vector<Fit::ParamEntry>& params) {
    return static_cast<int>(std::count_if(params.begin(), params.end(), IsStored));
}

Fit::Selected SelectedFit(Engine& engine) {
    return Fit::Select(engine.Records, engine.Params.FitType);
}

void TakePosition(Engine& engine, int index) {
    const int count = Tree::ChildCount(engine.Session.CurASeries);
    engine.AnalysisIndex = std::clamp(index, std::min(count, 1), count);
    engine.Session.CurARecord =
        Tree::ChildAs<AnalysisRecord>(engine.Session.CurASeries, engine.AnalysisIndex);
}

// The table of a record: a column for each stored result, a row for each sweep of the series, all empty.
bool AppendEntries(Engine& engine, AnalysisRecord& record, const std::vector<Fit::ParamEntry>& params) {
    Tree::Handle* const tree = engine.Session.Analysis.Handle;
    const int sweeps = Tree::ChildCount(engine.Session.CurSeries);
    for (const Fit::ParamEntry& param : params) {
        if (!IsStored(param)) continue;
        auto* const entry = static_cast<AnalysisEntry*>(Tree::Append(tree, &record));
        if (!entry) return false;
        Texts::ToField(entry->Name, param.Column);
        Texts::ToField(entry->Unit, Fit::UnitText(param.Unit, engine.Work.XUnit, engine.Work.YUnit));
        ++record.EntryCount;
        for (int i = 0; i < sweeps; ++i) {
            auto* const value = static_cast<AnalysisValue*>(Tree::Append(tree, entry));
            if (!value) return false;
            value->State = FitParamState::Off;
        }
    }
    return true;
}

bool NewRecord(Engine& engine, const std::vector<Fit::ParamEntry>& params) {
    DataSession& session = engine.Session;
    Tree::Handle* const tree = session.Analysis.Handle;
    if (session.CurARecord && engine.Params.NewAnalysisMode == AnalysisMode::Overwrite) {
        void* former = session.CurARecord;
        Tree::Delete(tree, former);
    }
    void* appended = Tree::Append(tree, session.CurASeries);
    if (!appended) return Refuse(Tree::LastError());
    auto& record = *static_cast<AnalysisRecord*>(appended);
    const Bounds bounds = EffectiveBounds(engine.Params);
    record.Time = TimeScale::Now();
    record.FitType = static_cast<std::int16_t>(engine.Params.FitType);
    record.Trace = static_cast<std::int16_t>(engine.Params.FitTrace);
    record.SegOffset = static_cast<std::int16_t>(engine.Params.FitSegOffset & 0xFFFF);
    record.LeftBound = bounds.Left;
    record.RightBound = bounds.Right;
    if (!AppendEntries(engine, record, params)) {
        Tree::Delete(tree, appended);
        return Refuse(Tree::LastError());
    }
    session.FitNewSetup = false;
    TakePosition(engine, Tree::ChildCount(session.CurASeries));
    return true;
}

bool NeedsNewRecord(const Engine& engine, int storedCount) {
    const AnalysisRecord* const current = engine.Session.CurARecord;
    if (engine.Session.FitNewSetup || !current) return true;
    return current->FitType != static_cast<std::int16_t>(engine.Params.FitType) ||
           current->EntryCount != storedCount;
}

// Runs a procedure over the cells of the sweep's row, one for each stored result in order.
template <class PerCell>
bool ForRow(const Engine& engine, const std::vector<Fit::ParamEntry>& params, PerCell perCell) {
    int column = 0;
    for (const Fit::ParamEntry& param : params) {
        if (!IsStored(param)) continue;
        const void* const entry = Tree::Child(engine.Session.CurARecord, ++column);
        auto* const value = Tree::ChildAs<AnalysisValue>(entry, Tree::IndexOf(engine.Session.CurSweep));
        if (!value) return false;
        perCell(*param.Param, *value);
    }
    return true;
}

bool StoreRow(const Engine& engine, const std::vector<Fit::ParamEntry>& params) {
    return ForRow(engine, params, [](const FitParam& param, AnalysisValue& value) {
        value.Value = param.Value;
        value.State = param.State;
        value.Store = param.Store;
    });
}

bool EmptyRow(const Engine& engine, const std::vector<Fit::ParamEntry>& params) {
    return ForRow(engine, params,
                  [](const FitParam&, AnalysisValue& value) { value.State = FitParamState::Off; });
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

bool SweepFitPass(Engine& engine, Pass pass) {
    DataSession& session = engine.Session;
    if (session.SelectedLevel != SweepLevel) return Refuse("Please select Sweep in the data tree.");
    const Fit::Selected selected = SelectedFit(engine);
    if (static_cast<int>(engine.Params.FitType) >= SweepFitTypes) {
        Messages::Note("Unknown Fit Type");
        return false;
    }
    if (!selected)
        return Refuse("The fit type \"" + std::string(NameOf(engine.Params.FitType).Short) +
                      "\" cannot be run here.");
    if (!FitToAnalysisPosition(engine)) return false;
    TakePosition(engine, Tree::ChildCount(session.CurASeries));

    // The columns of a new record bear the units of the trace, so the trace comes first.
    const auto* const trace = Tree::ChildAs<VennicTrace>(session.CurSweep, engine.Params.FitTrace);
    if (!trace) return Refuse("This trace does not exist.");
    FitRange::TakeUnits(*trace, engine.Params, engine.Work);
    if (pass != Pass::Skip && !PrepareData(engine)) return false;
    const std::vector<Fit::ParamEntry> params = Fit::Params(selected);
    if (pass != Pass::Show) ++session.AnalysisRevision;
    if (NeedsNewRecord(engine, StoredCount(params))) {
        if (!NewRecord(engine, params)) return false;
        if (pass == Pass::Show) pass = Pass::ShowAndStore;
    }
    if (pass == Pass::Skip) return EmptyRow(engine, params);

    Report report;
    report.Sweep = session.CurSweep;
    if (!RunModel(engine, selected, report.Outcome)) return false;
    // What was only shown did not end in any way.
    if (pass != Pass::Run) report.Outcome.FitTermination = Fit::FitTermination::None;
    if (pass != Pass::Show) {
        report.Stored = StoreRow(engine, params);
        if (!report.Stored) return Refuse("The analysis table has no row for this sweep.");
    }
    if (engine.Finished) engine.Finished(report);
    return true;
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

Bounds EffectiveBounds(const FitParams& params) {
    // No online method is at hand here: its cursors are then the whole segment.
    if (params.FitCursorSource != CursorSource::ThisDialog) return {};
    return {params.FitLeftBound, params.FitRightBound};
}

bool PrepareData(Engine& engine) {
    if (FitRange::Prepare(engine.Session, SelectedFit(engine), engine.Params, engine.Work)) return true;
    return Refuse("Error during time array setup in SweepFit");
}

bool FitCommand(Engine& engine) {
    if (engine.Session.SelectedLevel != SweepLevel) return Refuse("Please select Sweep in the data tree.");
    if (!TraceIsUsable(engine)) return false;
    engine.Break = engine.Stop = false;
    Messages::Status("fitting " + VennicTree::GetTreePosition(engine.Session.CurSweep));
    engine.FitStarted = true;
    const bool fitted = SweepFitPass(engine, Pass::Run);
    engine.FitStarted = false;
    Messages::Status("");
    return fitted;
}

bool AutoFitCommand(Engine& engine) {
    DataSession& session = engine.Session;
    if (session.SelectedLevel != SweepLevel) return Refuse("Please select Sweep in the data tree.");
    const VennicSeries* const series = session.CurSeries;
    engine.AutoFitRunning = true;
    bool fitted = FitCommand(engine);
    while (fitted && session.CurSeries == series && !engine.Stop) {
        void* const next = Tree::Child(series, Tree::IndexOf(session.CurSweep) + 1);
        if (!next) break;
        TakeRequests(engine);
        if (engine.Stop) break;
        GetRelatives(session, next);
        fitted = FitCommand(engine);
    }
    engine.AutoFitRunning = false;
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

bool FitToAnalysisPosition(Engine& engine) {
    DataSession& session = engine.Session;
    session.CurARecord = nullptr;
    const int group = Tree::IndexOf(session.CurGroup), series = Tree::IndexOf(session.CurSeries);
    session.CurAGroup = Tree::ChildAs<AnalysisGroup>(Tree::Root(session.Analysis.Handle), group);
    session.CurASeries = Tree::ChildAs<AnalysisSeries>(session.CurAGroup, series);
    if (group < 1 || series < 1 || !session.CurASeries) {
        engine.AnalysisIndex = 0;
        return false;
    }
    TakePosition(engine, engine.AnalysisIndex);
    return true;
}

void NextAnalysis(Engine& engine) {
    GotoAnalysis(engine, engine.AnalysisIndex + 1);
}

void BackAnalysis(Engine& engine) {
    GotoAnalysis(engine, engine.AnalysisIndex - 1);
}

void GotoAnalysis(Engine& engine, int index) {
    TakePosition(engine, index);
}

void DeleteCurrentAnalysis(Engine& engine) {
    void* record = engine.Session.CurARecord;
    if (!record) return;
    Tree::Delete(engine.Session.Analysis.Handle, record);
    engine.Session.FitNewSetup = true;
    (void)FitToAnalysisPosition(engine);
}

std::string AnalysisName(const Engine& engine) {
    const AnalysisRecord* const record = engine.Session.CurARecord;
    if (!record) return "no analysis";
    return std::to_string(engine.AnalysisIndex) + " of " +
           std::to_string(Tree::ChildCount(engine.Session.CurASeries)) + ": " +
           std::string(NameOf(static_cast<SweepFitType>(record->FitType)).Short);
}

}
