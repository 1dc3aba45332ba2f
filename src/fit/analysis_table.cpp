#include "fit/analysis_table.h"

#include "base/messages.h"
#include "base/text.h"
#include "base/time_scale.h"
#include "online/kinds.h"

#include <algorithm>

namespace AnalysisTable {

using SweepFit::Engine;

namespace {

bool IsStored(const Fit::ParamEntry& entry) {
    return !entry.Column.empty() && entry.Param->Store != 0;
}

int StoredCount(const std::vector<Fit::ParamEntry>& params) {
    return static_cast<int>(std::count_if(params.begin(), params.end(), IsStored));
}

// What the results of the record come from.
void Describe(const Engine& engine, AnalysisRecord& record) {
    const SweepFit::FitParams& params = engine.Params;
    const SweepFit::Bounds bounds = SweepFit::EffectiveBounds(engine);
    record.Time = TimeScale::Now();
    record.FitType = static_cast<std::int16_t>(params.FitType);
    record.Trace = static_cast<std::int16_t>(params.FitTrace);
    record.SegOffset = static_cast<std::int16_t>(params.FitSegOffset & 0xFFFF);
    record.LeftBound = bounds.Left;
    record.RightBound = bounds.Right;
    record.Cyclic = params.FitCyclic ? 1 : 0;
    record.Cycles = static_cast<std::int16_t>(params.FitCyclic ? engine.CycleCount : 0);
    record.CycleSegSkip = static_cast<std::int16_t>(params.FitCyclicSegSkip);
    if (params.FitType == SweepFitType::ParsedEquation)
        Texts::ToField(record.Text, Texts::FromField(engine.Records.Parsed.Equation));
}

// A column of a record: a row for each sweep of the series, a sub-row for each cycle, all empty.
bool AppendEntry(Engine& engine, AnalysisRecord& record, std::string_view name, std::string_view unit,
                 int cycles) {
    Tree::Handle* const tree = engine.Session.Analysis.Handle;
    auto* const entry = static_cast<AnalysisEntry*>(Tree::Append(tree, &record));
    if (!entry) return false;
    Texts::ToField(entry->Name, name);
    Texts::ToField(entry->Unit, unit);
    for (int i = Tree::ChildCount(engine.Session.CurSeries); i > 0; --i) {
        auto* const value = static_cast<AnalysisValue*>(Tree::Append(tree, entry));
        if (!value) return false;
        value->State = FitParamState::Off;
        for (int cycle = 0; cycle < cycles; ++cycle) {
            auto* const below = static_cast<AnalysisCycleValue*>(Tree::Append(tree, value));
            if (!below) return false;
            below->State = FitParamState::Off;
        }
    }
    return true;
}

// The table of a record: a column for each stored result, then one for each online function that is stored.
bool AppendEntries(Engine& engine, AnalysisRecord& record, const std::vector<Fit::ParamEntry>& params) {
    const int cycles = engine.Params.FitCyclic ? engine.CycleCount : 0;
    for (const Fit::ParamEntry& param : params) {
        if (!IsStored(param)) continue;
        if (!AppendEntry(engine, record, param.Column,
                         Fit::UnitText(param, engine.Work.XUnit, engine.Work.YUnit), cycles > 1 ? cycles : 0))
            return false;
        ++record.EntryCount;
    }
    if (engine.Online.Method)
        Texts::ToField(record.OnlineName, Texts::FromField(engine.Online.Method->OmName));
    for (const int position : engine.Online.Stored()) {
        const auto& function = *Tree::ChildAs<OnlineFunction>(engine.Online.Method, position);
        if (!AppendEntry(engine, record, OnlineKinds::NameOf(function), Texts::FromField(function.OfUnit),
                         cycles))
            return false;
        ++record.OnlineCount;
    }
    return true;
}

// An online column that is missing, or another method; the first name that differs ends the comparison.
bool OnlineDiffers(const Engine& engine, const AnalysisRecord& record) {
    const std::vector<int> stored = engine.Online.Stored();
    if (!engine.Online.Method) return false;
    if (record.OnlineCount != static_cast<std::int16_t>(stored.size()) ||
        Texts::FromField(record.OnlineName) != Texts::FromField(engine.Online.Method->OmName))
        return true;
    for (std::size_t i = 0; i < stored.size(); ++i) {
        const auto* const entry =
            Tree::ChildAs<AnalysisEntry>(&record, record.EntryCount + static_cast<int>(i) + 1);
        if (!entry) return true;
        const auto& function = *Tree::ChildAs<OnlineFunction>(engine.Online.Method, stored[i]);
        if (Texts::FromField(entry->Name) != OnlineKinds::NameOf(function)) break;
    }
    return false;
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
    GotoAnalysis(engine, engine.AnalysisIndex);
    return true;
}

void GotoAnalysis(Engine& engine, int index) {
    const int count = Tree::ChildCount(engine.Session.CurASeries);
    engine.AnalysisIndex = std::clamp(index, std::min(count, 1), count);
    engine.Session.CurARecord =
        Tree::ChildAs<AnalysisRecord>(engine.Session.CurASeries, engine.AnalysisIndex);
}

void NextAnalysis(Engine& engine) {
    GotoAnalysis(engine, engine.AnalysisIndex + 1);
}

void BackAnalysis(Engine& engine) {
    GotoAnalysis(engine, engine.AnalysisIndex - 1);
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

bool NeedsNewRecord(const Engine& engine, const std::vector<Fit::ParamEntry>& params) {
    const AnalysisRecord* const current = engine.Session.CurARecord;
    if (engine.Session.FitNewSetup || !current) return true;
    if (current->FitType != static_cast<std::int16_t>(engine.Params.FitType) ||
        current->EntryCount != StoredCount(params))
        return true;
    if (engine.Params.FitCyclic)
        return current->Cycles != engine.CycleCount ||
               current->CycleSegSkip != engine.Params.FitCyclicSegSkip;
    return OnlineDiffers(engine, *current);
}

bool NewRecord(Engine& engine, const std::vector<Fit::ParamEntry>& params) {
    DataSession& session = engine.Session;
    Tree::Handle* const tree = session.Analysis.Handle;
    if (session.CurARecord && engine.Params.NewAnalysisMode == SweepFit::AnalysisMode::Overwrite) {
        void* former = session.CurARecord;
        Tree::Delete(tree, former);
    }
    void* appended = Tree::Append(tree, session.CurASeries);
    auto* const record = static_cast<AnalysisRecord*>(appended);
    if (record) Describe(engine, *record);
    if (!record || !AppendEntries(engine, *record, params)) {
        if (record) Tree::Delete(tree, appended);
        Messages::Alert(Tree::LastError());
        return false;
    }
    session.FitNewSetup = false;
    GotoAnalysis(engine, Tree::ChildCount(session.CurASeries));
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

void StoreOnline(const Engine& engine) {
    const AnalysisRecord* const record = engine.Session.CurARecord;
    int column = record->EntryCount;
    for (const int position : engine.Online.Stored()) {
        auto* const value = Tree::ChildAs<AnalysisValue>(Tree::Child(record, ++column),
                                                         Tree::IndexOf(engine.Session.CurSweep));
        if (!value || !engine.Online.Engine) continue;
        value->Value = engine.Online.Engine->Results[static_cast<std::size_t>(position - 1)];
        value->State = FitParamState::Fit;
    }
}

void CopyToCycle(const Engine& engine, int cycle) {
    const AnalysisRecord* const record = engine.Session.CurARecord;
    const int sweep = Tree::IndexOf(engine.Session.CurSweep);
    for (int i = 1; i <= Tree::ChildCount(record); ++i) {
        const auto* const value = Tree::ChildAs<AnalysisValue>(Tree::Child(record, i), sweep);
        auto* const below = Tree::ChildAs<AnalysisCycleValue>(value, cycle);
        if (!below) continue;
        below->Value = value->Value;
        below->State = value->State;
    }
}

}
