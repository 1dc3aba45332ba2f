#include "app/fit_rows.h"

#include "app/command_line.h"
#include "base/text.h"
#include "fit/formula.h"
#include "online/kinds.h"

#include <algorithm>
#include <cstdio>

namespace FitRows {

namespace {

constexpr int Width = 14; // of a table's column

// Whether all sweeps add up in the row of the first one.
bool AddsUp(const SweepFit::Engine& engine) {
    return (engine.Params.FitType == SweepFitType::AmplHistogram &&
            engine.Records.AmplHistogram.HistFirstSw != 0) ||
           (engine.Params.FitType == SweepFitType::PowerSpectrum &&
            engine.Records.TraceSpectrum.SpecFirstSw != 0);
}

// The events of the sweep as they lie in the analysis, below its row, or that of the first sweep.
void KeepEvents(const SweepFit::Engine& engine, FitRow& row) {
    if (engine.Params.FitType < SweepFitType::Measure || engine.Params.FitCyclic) return;
    const AnalysisRecord* const record = engine.Session.CurARecord;
    const int sweep = AddsUp(engine) ? 1 : Tree::IndexOf(engine.Session.CurSweep);
    for (int i = 1; record && i <= record->EntryCount; ++i) {
        const auto* const entry = Tree::ChildAs<AnalysisEntry>(record, i);
        const void* const place = Tree::Child(entry, sweep);
        row.EventColumns.emplace_back(Texts::FromField(entry->Name));
        std::vector<FitParam>& events = row.Events.emplace_back();
        for (int n = 1; n <= Tree::ChildCount(place); ++n) {
            const auto* const event = Tree::ChildAs<AnalysisCycleValue>(place, n);
            FitParam& value = events.emplace_back();
            value.Value = event->Value;
            value.State = event->State;
        }
    }
}

FitRow KeepRow(SweepFit::Engine& engine, const SweepFit::Report& report) {
    const SweepFit::Work& work = engine.Work;
    FitRow row;
    const void* const series = Tree::Parent(report.Sweep);
    CommandLine::Target target;
    target.Positions = {Tree::IndexOf(Tree::Parent(series)), Tree::IndexOf(series),
                        Tree::IndexOf(report.Sweep)};
    row.Target = target.Text();
    row.Outcome = report.Outcome;
    row.RangePoints = work.RangePoints;
    row.FitPoints = work.FitPoints;
    row.FirstX = work.FirstX;
    row.SegmentStart = work.SegmentStart;
    row.Values =
        FitWords::Results(Fit::Select(engine.Records, engine.Params.FitType), work.XUnit, work.YUnit);
    KeepEvents(engine, row);
    for (const int position : engine.Online.Stored()) {
        const auto& function = *Tree::ChildAs<OnlineFunction>(engine.Online.Method, position);
        FitParam value;
        value.Value = engine.Online.Engine->Results[static_cast<std::size_t>(position - 1)];
        value.Store = 1;
        row.OnlineValues.push_back(
            {OnlineKinds::NameOf(function), std::string(Texts::FromField(function.OfUnit)), value, true});
    }
    return row;
}

std::string FormulaText(SweepFit::Engine& engine) {
    if (engine.Params.FitType == SweepFitType::OnlineOnly) return {};
    return Fit::PlainText(Fit::FormulaOf(Fit::Select(engine.Records, engine.Params.FitType)));
}

// One object an event: its columns by name, and their states.
Json::Value EventsOf(const FitRow& row) {
    Json::Value list = Json::Value::array();
    std::size_t count = 0;
    for (const auto& column : row.Events) count = std::max(count, column.size());
    for (std::size_t n = 0; n < count; ++n) {
        Json::Value event = Json::Value::object(), states = Json::Value::array();
        for (std::size_t i = 0; i < row.Events.size(); ++i) {
            const bool there = n < row.Events[i].size();
            event[row.EventColumns[i]] = there ? Json::Number(row.Events[i][n].Value) : Json::Value(nullptr);
            states.push_back(there ? Json::Value(static_cast<int>(row.Events[i][n].State)) : nullptr);
        }
        event["States"] = std::move(states);
        list.push_back(std::move(event));
    }
    return list;
}

Json::Value ResultOf(const FitRow& row) {
    Json::Value result;
    FitWords::AddOutcome(result, row.Outcome);
    result["RangePoints"] = row.RangePoints;
    result["FitPoints"] = row.FitPoints;
    result["FirstX"] = Json::Number(row.FirstX);
    result["SegmentStart"] = Json::Number(row.SegmentStart);
    FitWords::AddResults(result, row.Values);
    return result;
}

// A column is worth its place when it goes into the analysis, is fitted or was worked out by the fit, and a
// sweep has a value.
bool IsShown(const std::vector<FitRow>& rows, std::size_t column) {
    const FitWords::Result& first = rows.front().Values[column];
    const bool isResidual = column + 1 == rows.front().Values.size();
    const bool fitted = first.Param.State == FitParamState::Fit;
    if (first.Param.Store == 0 && !fitted && !first.Derived && !isResidual) return false;
    for (const FitRow& row : rows)
        if (row.Values[column].Param.State != FitParamState::Off) return true;
    return false;
}

void PrintHead(const FitWords::Result& value) {
    const std::string head = value.Unit.empty() ? value.Name : value.Name + "/" + value.Unit;
    std::printf(" %*s", Width, Texts::Utf8(head).c_str());
}

void PrintCell(const FitParam& param) {
    if (param.State == FitParamState::Off)
        std::printf(" %*s", Width, "-");
    else
        std::printf(" %*.6g%s", Width - (param.State == FitParamState::Hold ? 1 : 0), param.Value,
                    param.State == FitParamState::Hold ? "h" : "");
}

void PrintRow(const std::string& name, const FitRow& row, const std::vector<std::size_t>& columns) {
    const std::string iterations = row.Outcome.Iterations ? std::to_string(*row.Outcome.Iterations) : "-";
    std::printf("%-10s %6s %-10s", name.c_str(), iterations.c_str(), Fit::NameOf(row.Outcome.FitTermination));
    for (const std::size_t i : columns) PrintCell(row.Values[i].Param);
    for (const FitWords::Result& value : row.OnlineValues) PrintCell(value.Param);
    std::printf("\n");
}

// A line an event, behind the rows of the sweeps.
void PrintEvents(const std::vector<FitRow>& rows) {
    bool headed = false;
    for (const FitRow& row : rows) {
        std::size_t count = 0;
        for (const auto& column : row.Events) count = std::max(count, column.size());
        if (count == 0) continue;
        if (!headed) {
            std::printf("\n%-10s %6s", "Sweep", "Event");
            for (const std::string& name : row.EventColumns) std::printf(" %*s", Width, name.c_str());
            std::printf("\n");
        }
        headed = true;
        for (std::size_t n = 0; n < count; ++n) {
            std::printf("%-10s %6zu", row.Target.c_str(), n + 1);
            FitParam none;
            none.State = FitParamState::Off;
            for (const auto& column : row.Events) PrintCell(n < column.size() ? column[n] : none);
            std::printf("\n");
        }
    }
}

}

void Add(SweepFit::Engine& engine, const SweepFit::Report& report, std::vector<FitRow>& rows) {
    FitRow row = KeepRow(engine, report);
    if (!engine.Params.FitCyclic) {
        rows.push_back(std::move(row));
        return;
    }
    std::vector<FitRow> cycles;
    if (!rows.empty() && rows.back().Target == row.Target) {
        cycles = std::move(rows.back().Cycles);
        rows.pop_back();
    }
    cycles.push_back(row);
    row.Cycles = std::move(cycles);
    rows.push_back(std::move(row));
}

bool PrintJson(SweepFit::Engine& engine, const std::vector<FitRow>& rows) {
    Json::Value document;
    document["Type"] = NameOf(engine.Params.FitType).Short;
    document["Formula"] = FormulaText(engine);
    document["Sweeps"] = Json::Value::array();
    for (const FitRow& row : rows) {
        Json::Value sweep;
        sweep["Target"] = row.Target;
        sweep.update(ResultOf(row));
        sweep["Cycles"] = Json::Value::array();
        for (const FitRow& cycle : row.Cycles) sweep["Cycles"].push_back(ResultOf(cycle));
        sweep["Events"] = EventsOf(row);
        if (engine.Online.Method) FitWords::AddResults(sweep, row.OnlineValues, "Online");
        document["Sweeps"].push_back(std::move(sweep));
    }
    return Json::Print(document);
}

bool PrintTable(SweepFit::Engine& engine, const std::vector<FitRow>& rows) {
    if (rows.empty()) return true;
    if (const std::string formula = FormulaText(engine); !formula.empty())
        std::printf("%s\n\n", formula.c_str());
    std::vector<std::size_t> columns;
    for (std::size_t i = 0; i < rows.front().Values.size(); ++i)
        if (IsShown(rows, i)) columns.push_back(i);
    std::printf("%-10s %6s %-10s", "Sweep", "Iter.", "Ending");
    for (const std::size_t i : columns) PrintHead(rows.front().Values[i]);
    for (const FitWords::Result& value : rows.front().OnlineValues) PrintHead(value);
    std::printf("\n");
    for (const FitRow& row : rows) {
        int cycle = 0;
        for (const FitRow& one : row.Cycles)
            PrintRow(row.Target + ":" + std::to_string(++cycle), one, columns);
        if (row.Cycles.empty()) PrintRow(row.Target, row, columns);
    }
    PrintEvents(rows);
    return std::fflush(stdout) == 0;
}

}
