#include "app/fit_job.h"

#include "app/command_line.h"
#include "app/interrupt.h"
#include "app/json.h"
#include "base/messages.h"
#include "data/analysis_file.h"
#include "data/recovery_copy.h"
#include "data/sweep_stimulus.h"
#include "events/measurements.h"
#include "fit/formula.h"
#include "fit/parsed_equation.h"
#include "fit/sweep_fit.h"
#include "online/kinds.h"
#include "online/online_file.h"
#include "setup/settings.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>

namespace {

// What is kept of a sweep's pass: the records go on to the next one.
struct Row {
    std::string Target;
    Fit::Outcome Outcome;
    int RangePoints = 0, FitPoints = 0;
    double FirstX = 0, SegmentStart = 0;
    struct Value {
        std::string Name, Unit;
        FitParam Param;
        bool Derived = false;
    };
    std::vector<Value> Values;
    std::vector<Row> Cycles; // of a cyclic analysis
    std::vector<Value> OnlineValues;
    std::vector<std::string> EventColumns;
    std::vector<std::vector<FitParam>> Events; // one a column each
};

std::string Folded(std::string_view name) {
    std::string folded;
    for (const char c : name)
        if (c != ' ' && c != '-' && c != '&' && c != '_' && c != '.')
            folded += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return folded;
}

// By the short or long name, without regard to case, blanks and hyphens: "hodgkinhuxley", "1-exponential".
std::optional<SweepFitType> TypeNamed(std::string_view name) {
    const std::string wanted = Folded(name);
    for (int i = 0; i < SweepFitTypes; ++i) {
        const FitTypeName names = NameOf(static_cast<SweepFitType>(i));
        if (wanted == Folded(names.Short) || wanted == Folded(names.Long))
            return static_cast<SweepFitType>(i);
    }
    return std::nullopt;
}

std::string NamesOfTypes() {
    std::string list;
    for (int i = 0; i < SweepFitTypes; ++i)
        list += (list.empty() ? "" : ", ") + std::string(NameOf(static_cast<SweepFitType>(i)).Short);
    return list;
}

// "25,75": percent of the segment.
bool ReadBounds(const std::string& text, SweepFit::FitParams& params) {
    const std::size_t comma = text.find(',');
    if (comma == std::string::npos) return false;
    double left = 0, right = 0;
    if (!CommandLine::ReadNumber(std::string_view(text).substr(0, comma), left) ||
        !CommandLine::ReadNumber(std::string_view(text).substr(comma + 1), right))
        return false;
    constexpr double Limit = 1000; // percent
    if (!(left >= -Limit && right <= Limit && left < right)) return false;
    params.FitLeftBound = left / 100.0;
    params.FitRightBound = right / 100.0;
    return true;
}

// "Tau1=0.002", "Tau1=0.002:hold", "Tau1=:off" (which keeps the value).
bool SetParam(const Fit::Selected& selected, const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos) return false;
    const std::string name = text.substr(0, equals);
    std::string valueText = text.substr(equals + 1);
    std::optional<FitParamState> state;
    if (const std::size_t colon = valueText.find(':'); colon != std::string::npos) {
        const std::string word = valueText.substr(colon + 1);
        if (Texts::SameFolded(word, "fit"))
            state = FitParamState::Fit;
        else if (Texts::SameFolded(word, "hold"))
            state = FitParamState::Hold;
        else if (Texts::SameFolded(word, "off"))
            state = FitParamState::Off;
        else
            return false;
        valueText.resize(colon);
    }
    double value = 0;
    if (valueText.empty()) {
        const std::optional<Fit::ParamEntry> entry = Fit::FindParam(selected, name);
        if (!entry || !state) return false;
        value = entry->Param->Value;
    } else if (!CommandLine::ReadNumber(valueText, value)) {
        return false;
    }
    return Fit::SetByName(selected, name, value, state);
}

std::string NamesOfParams(const Fit::Selected& selected) {
    std::string list;
    for (const std::string_view text : Fit::TextFields(selected))
        list += (list.empty() ? "" : ", ") + std::string(text);
    for (const Fit::SettingEntry& setting : Fit::Settings(selected))
        list += (list.empty() ? "" : ", ") + std::string(setting.Name);
    for (const Fit::ParamEntry& param : Fit::Params(selected))
        if (!param.Derived && !param.Column.empty())
            list += (list.empty() ? "" : ", ") + std::string(param.Name);
    return list;
}

// "Equation=c[1]*x". Texts go before values: an equation decides which coefficients there are.
bool IsText(const Fit::Selected& selected, const std::string& text) {
    const std::string_view name = std::string_view(text).substr(0, text.find('='));
    return std::ranges::any_of(Fit::TextFields(selected),
                               [name](std::string_view field) { return Texts::SameFolded(field, name); });
}

bool SetText(const Fit::Selected& selected, const std::string& text) {
    const std::size_t equals = text.find('=');
    return equals != std::string::npos &&
           Fit::SetTextByName(selected, text.substr(0, equals), text.substr(equals + 1));
}

// All of --param, then what an equation has to say to it. Done, or WrongUse.
int TakeParams(const FitJob& job, const Fit::Selected& selected, SweepFit::Engine& engine) {
    for (const std::string& text : job.Params)
        if (IsText(selected, text) && !SetText(selected, text))
            return CommandLine::Misused("\"" + text + "\" does not fit into its field.");
    const bool isEquation = engine.Params.FitType == SweepFitType::ParsedEquation;
    if (isEquation) Fit::NormaliseStates(engine.Records.Parsed);
    for (const std::string& text : job.Params)
        if (!IsText(selected, text) && !SetParam(selected, text))
            return CommandLine::Misused("\"" + text + "\" sets no parameter: NAME=VALUE[:fit|hold|off] of " +
                                        NamesOfParams(selected) + ".");
    Equation::Error error;
    if (isEquation && !Fit::PreparseEquation(&engine.Records.Parsed, error))
        return CommandLine::Misused(Fit::PreparseMessage(error));
    return CommandLine::Done;
}

// A type that stores nothing by itself stores what it fits, for else there would be nothing in the file.
void StoreSomething(const Fit::Selected& selected) {
    const std::vector<Fit::ParamEntry> params = Fit::Params(selected);
    const auto stored = [](const Fit::ParamEntry& entry) {
        return !entry.Column.empty() && entry.Param->Store != 0;
    };
    if (std::ranges::any_of(params, stored)) return;
    for (const Fit::ParamEntry& entry : params)
        if (!entry.Derived && entry.Param->State != FitParamState::Off) entry.Param->Store = 1;
}

// "-0.07,1E-9", "-0.07,auto", "auto" (about 0 V).
bool TakeLeakCorrection(const std::string& text, SweepFit::FitParams& params) {
    if (text.empty()) return true;
    const std::size_t comma = text.find(',');
    const std::string conductance = text.substr(comma == std::string::npos ? 0 : comma + 1);
    params.LinLeakOn = true;
    params.LinLeakAutoCond = Texts::SameFolded(conductance, "auto");
    if (comma == std::string::npos) return params.LinLeakAutoCond;
    return CommandLine::ReadNumber(std::string_view(text).substr(0, comma), params.LinLeakReversal) &&
           (params.LinLeakAutoCond || CommandLine::ReadNumber(conductance, params.LinLeakConductance));
}

bool TakeRange(const std::string& text, const Fit::Selected& selected) {
    return text.empty() || Fit::SetByName(selected, "Range", text == "full" ? 0.0 : 1.0);
}

// Everything of the command line that can be judged before a file is opened. Done, or WrongUse.
int TakeSettings(const FitJob& job, SweepFit::Engine& engine) {
    SweepFit::FitParams& params = engine.Params;
    const std::optional<SweepFitType> type = TypeNamed(job.Type);
    if (!type)
        return CommandLine::Misused("The type \"" + job.Type +
                                    "\" cannot be fitted. Types: " + NamesOfTypes() + ".");
    params.FitType = *type;
    params.FitTrace = job.Trace;
    params.NewAnalysisMode =
        job.Overwrite ? SweepFit::AnalysisMode::Overwrite : SweepFit::AnalysisMode::Append;
    if (!job.Bounds.empty() && !ReadBounds(job.Bounds, params))
        return CommandLine::Misused(
            "Bounds are two percentages of the segment within -1000 and 1000, the left "
            "below the right, such as 10,90.");
    params.Control.MaxIterations = job.MaxIterations.value_or(params.Control.MaxIterations);
    params.Control.StepSize = job.Step.value_or(params.Control.StepSize);
    params.Control.Epsilon = job.Epsilon.value_or(params.Control.Epsilon);
    params.MaxNoOfFittedPoints = job.MaxPoints.value_or(params.MaxNoOfFittedPoints);

    params.FitCyclic = job.Cycles.has_value();
    params.FitCyclicNumber = job.Cycles.value_or(1);
    params.FitCyclicSegSkip = job.CycleSkip;
    if (!TakeLeakCorrection(job.LeakCorrection, params))
        return CommandLine::Misused(
            "A leak correction is REVERSAL,CONDUCTANCE in V and S, or REVERSAL,auto.");

    const Fit::Selected selected = Fit::Select(engine.Records, *type);
    if (!TakeRange(job.Range, selected))
        return CommandLine::Misused("The type \"" + job.Type + "\" always takes the range of the cursors.");
    if (!selected) return CommandLine::Done;
    const int taken = TakeParams(job, selected, engine);
    if (job.Store) StoreSomething(selected);
    return taken;
}

// The online method whose functions ride along; the analysis keeps it.
bool TakeOnline(const FitJob& job, OnlineAnalysis& analysis, OnlineCompute::Engine& online,
                SweepFit::Engine& engine) {
    if (job.Methods.empty()) return true;
    if (!OnlineTree::Load(analysis, job.Methods, true)) return false;
    engine.Online.Method = job.Method.empty() ? OnlineTree::CurrentMethod(analysis)
                                              : OnlineTree::MethodByName(analysis, job.Method);
    if (!engine.Online.Method) {
        Messages::Alert("There is no method \"" + job.Method + "\" in the file.");
        return false;
    }
    engine.Online.Engine = &online;
    return OnlineResults::Allocate(online.Table);
}

// The offset that leads to a segment by its number; the driver itself counts from the relevant one.
bool TakeSegment(SweepFit::Engine& engine, int segment) {
    if (segment == 0) return true;
    const DataSession& session = engine.Session;
    const auto* const trace = Tree::ChildAs<VennicTrace>(session.CurSweep, engine.Params.FitTrace);
    SweepStimulus stimulus;
    if (!trace ||
        !FindStimulus(session, *session.CurSweep, ChannelFor(session, *session.CurSweep, *trace), stimulus))
        return true; // the driver says what is missing
    const int count = static_cast<int>(stimulus.Segments.size());
    if (segment > count) {
        Messages::Alert("There is no segment " + std::to_string(segment) + " (" + std::to_string(count) +
                        " there).");
        return false;
    }
    engine.Params.FitSegOffset = segment - stimulus.Channel->ChRelY;
    return true;
}

// Whether all sweeps add up in the row of the first one.
bool AddsUp(const SweepFit::Engine& engine) {
    return (engine.Params.FitType == SweepFitType::AmplHistogram &&
            engine.Records.AmplHistogram.HistFirstSw != 0) ||
           (engine.Params.FitType == SweepFitType::PowerSpectrum &&
            engine.Records.TraceSpectrum.SpecFirstSw != 0);
}

// The events of the sweep as they lie in the analysis, below its row, or that of the first sweep.
void KeepEvents(const SweepFit::Engine& engine, Row& row) {
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

Row KeepRow(SweepFit::Engine& engine, const SweepFit::Report& report) {
    const SweepFit::Work& work = engine.Work;
    Row row;
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
    for (const Fit::ParamEntry& entry : Fit::Params(Fit::Select(engine.Records, engine.Params.FitType)))
        row.Values.push_back({std::string(entry.Column.empty() ? entry.Name : entry.Column),
                              Fit::UnitText(entry, work.XUnit, work.YUnit), *entry.Param, entry.Derived});
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

// A cycle of a sweep goes into the sweep's row, which shows the last one.
void AddRow(const SweepFit::Engine& engine, Row row, std::vector<Row>& rows) {
    if (!engine.Params.FitCyclic) {
        rows.push_back(std::move(row));
        return;
    }
    std::vector<Row> cycles;
    if (!rows.empty() && rows.back().Target == row.Target) {
        cycles = std::move(rows.back().Cycles);
        rows.pop_back();
    }
    cycles.push_back(row);
    row.Cycles = std::move(cycles);
    rows.push_back(std::move(row));
}

std::string FormulaText(SweepFit::Engine& engine) {
    if (engine.Params.FitType == SweepFitType::OnlineOnly) return {};
    return Fit::PlainText(Fit::FormulaOf(Fit::Select(engine.Records, engine.Params.FitType)));
}

Json::Value ParametersOf(const std::vector<Row::Value>& values) {
    Json::Value list = Json::Value::array();
    for (const Row::Value& value : values)
        list.push_back({{"Name", value.Name},
                        {"Value", Json::Number(value.Param.Value)},
                        {"State", static_cast<int>(value.Param.State)},
                        {"Store", value.Param.Store},
                        {"Unit", Json::String(value.Unit)}});
    return list;
}

// One object an event: its columns by name, and their states.
Json::Value EventsOf(const Row& row) {
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

Json::Value ResultOf(const Row& row) {
    Json::Value result;
    result["Iterations"] =
        row.Outcome.Iterations ? Json::Value(*row.Outcome.Iterations) : Json::Value(nullptr);
    result["FitTermination"] = static_cast<int>(row.Outcome.FitTermination);
    result["LastResidual"] = Json::Number(row.Outcome.LastResidual);
    result["Residual"] = Json::Number(row.Outcome.Residual);
    result["RangePoints"] = row.RangePoints;
    result["FitPoints"] = row.FitPoints;
    result["FirstX"] = Json::Number(row.FirstX);
    result["SegmentStart"] = Json::Number(row.SegmentStart);
    result["Parameters"] = ParametersOf(row.Values);
    return result;
}

bool PrintJson(SweepFit::Engine& engine, const std::vector<Row>& rows) {
    Json::Value document;
    document["Type"] = NameOf(engine.Params.FitType).Short;
    document["Formula"] = FormulaText(engine);
    document["Sweeps"] = Json::Value::array();
    for (const Row& row : rows) {
        Json::Value sweep;
        sweep["Target"] = row.Target;
        sweep.update(ResultOf(row));
        sweep["Cycles"] = Json::Value::array();
        for (const Row& cycle : row.Cycles) sweep["Cycles"].push_back(ResultOf(cycle));
        sweep["Events"] = EventsOf(row);
        if (engine.Online.Method) sweep["Online"] = ParametersOf(row.OnlineValues);
        document["Sweeps"].push_back(std::move(sweep));
    }
    return Json::Print(document);
}

// A column is worth its place when it goes into the analysis, is fitted or was worked out by the fit, and a
// sweep has a value.
bool IsShown(const std::vector<Row>& rows, std::size_t column) {
    const Row::Value& first = rows.front().Values[column];
    const bool isResidual = column + 1 == rows.front().Values.size();
    const bool fitted = first.Param.State == FitParamState::Fit;
    if (first.Param.Store == 0 && !fitted && !first.Derived && !isResidual) return false;
    for (const Row& row : rows)
        if (row.Values[column].Param.State != FitParamState::Off) return true;
    return false;
}

constexpr int Width = 14;

void PrintHead(const Row::Value& value) {
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

void PrintRow(const std::string& name, const Row& row, const std::vector<std::size_t>& columns) {
    const std::string iterations = row.Outcome.Iterations ? std::to_string(*row.Outcome.Iterations) : "-";
    std::printf("%-10s %6s %-10s", name.c_str(), iterations.c_str(), Fit::NameOf(row.Outcome.FitTermination));
    for (const std::size_t i : columns) PrintCell(row.Values[i].Param);
    for (const Row::Value& value : row.OnlineValues) PrintCell(value.Param);
    std::printf("\n");
}

// A line an event, behind the rows of the sweeps.
void PrintEvents(const std::vector<Row>& rows) {
    bool headed = false;
    for (const Row& row : rows) {
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

bool PrintTable(SweepFit::Engine& engine, const std::vector<Row>& rows) {
    if (rows.empty()) return true;
    if (const std::string formula = FormulaText(engine); !formula.empty())
        std::printf("%s\n\n", formula.c_str());
    std::vector<std::size_t> columns;
    for (std::size_t i = 0; i < rows.front().Values.size(); ++i)
        if (IsShown(rows, i)) columns.push_back(i);
    std::printf("%-10s %6s %-10s", "Sweep", "Iter.", "Ending");
    for (const std::size_t i : columns) PrintHead(rows.front().Values[i]);
    for (const Row::Value& value : rows.front().OnlineValues) PrintHead(value);
    std::printf("\n");
    for (const Row& row : rows) {
        int cycle = 0;
        for (const Row& one : row.Cycles) PrintRow(row.Target + ":" + std::to_string(++cycle), one, columns);
        if (row.Cycles.empty()) PrintRow(row.Target, row, columns);
    }
    PrintEvents(rows);
    return std::fflush(stdout) == 0;
}

// Tells on a terminal how far a long fit has come, a few times a second.
struct Progress {
    using Clock = std::chrono::steady_clock;
    const DataSession& Session;
    const VennicSweep* Sweep = nullptr;
    long Evaluations = 0;
    Clock::time_point Shown = Clock::now();

    void Count() {
        if (Session.CurSweep != Sweep) Evaluations = 0;
        Sweep = Session.CurSweep;
        ++Evaluations;
        constexpr auto Pause = std::chrono::milliseconds(250);
        if (Clock::now() - Shown < Pause) return;
        Shown = Clock::now();
        Messages::Status("fitting " + VennicTree::GetTreePosition(Sweep) + ", evaluation " +
                         std::to_string(Evaluations));
    }
};

bool ShowSeries(SweepFit::Engine& engine) {
    bool shown = true;
    for (void* sweep = engine.Session.CurSweep; shown && sweep;
         sweep = Tree::Child(Tree::Parent(sweep), Tree::IndexOf(sweep) + 1)) {
        GetRelatives(engine.Session, sweep);
        shown = SweepFit::ShowFitCommand(engine);
    }
    return shown;
}

bool RunFits(const FitJob& job, SweepFit::Engine& engine, bool wholeSeries) {
    if (job.Show) return wholeSeries ? ShowSeries(engine) : SweepFit::ShowFitCommand(engine);
    return wholeSeries ? SweepFit::AutoFitCommand(engine) : SweepFit::FitCommand(engine);
}

}

int RunFitJob(const FitJob& job) {
    CommandLine::Target target;
    if (!CommandLine::ParseTarget(job.Target, 2, 3, target))
        return CommandLine::Misused("A series or sweep is named by group.series or group.series.sweep.");
    SweepFit::Engine engine(CommandLine::Session());
    Measurements::Install(engine);
    const int taken = TakeSettings(job, engine);
    if (taken != CommandLine::Done) return taken;
    const OpenMode mode = job.Store ? OpenMode::Analysis : OpenMode::Read;
    if (!CommandLine::Open(job.File, mode)) return CommandLine::Failed;
    void* record = CommandLine::Find(target);
    if (!record) return CommandLine::Failed;
    const bool wholeSeries = target.Positions.size() == 2;
    if (wholeSeries) record = Tree::Child(record, 1);
    if (!record) {
        Messages::Alert("The series has no sweep.");
        return CommandLine::Failed;
    }
    GetRelatives(engine.Session, record);
    if (!TakeSegment(engine, job.Segment)) return CommandLine::Failed;
    OnlineAnalysis methods;
    OnlineCompute::Engine online(engine.Session);
    if (!TakeOnline(job, methods, online, engine)) return CommandLine::Failed;
    Setup::Settings.NoLeakSubtraction = job.NoLeak;
    Setup::Settings.SubtractZero = job.Zero;
    Setup::Settings.TraceFilterFactor.fill(job.FilterHz);

    std::vector<Row> rows;
    engine.Finished = [&](const SweepFit::Report& report) {
        AddRow(engine, KeepRow(engine, report), rows);
        if (job.Store) RecoveryCopy::Keep(engine.Session);
    };
    Progress progress{engine.Session};
    engine.Poll = [&progress] {
        progress.Count();
        return Interrupt::Requested() ? SweepFit::Request::Stop : SweepFit::Request::None;
    };
    const Interrupt::Guard interruptible;
    bool done = RunFits(job, engine, wholeSeries);
    Messages::Status("");

    if (job.Store && !rows.empty() && !AnalysisFile::SaveAnalysis(engine.Session)) done = false;
    if (!(job.AsJson ? PrintJson(engine, rows) : PrintTable(engine, rows))) done = false;
    if (Interrupt::Requested()) {
        Messages::Alert("Stopped by the user; sweeps fitted: " + std::to_string(rows.size()) + ".");
        done = false;
    }
    return done ? CommandLine::Done : CommandLine::Failed;
}
