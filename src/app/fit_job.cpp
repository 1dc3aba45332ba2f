#include "app/fit_job.h"

#include "app/command_line.h"
#include "app/fit_words.h"
#include "app/interrupt.h"
#include "app/json.h"
#include "base/messages.h"
#include "data/analysis_file.h"
#include "data/recovery_copy.h"
#include "data/sweep_stimulus.h"
#include "fit/formula.h"
#include "fit/sweep_fit.h"
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
    std::vector<FitWords::Result> Values;
};

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

// Everything of the command line that can be judged before a file is opened. Done, or WrongUse.
int TakeSettings(const FitJob& job, SweepFit::Engine& engine) {
    SweepFit::FitParams& params = engine.Params;
    const std::optional<SweepFitType> type = FitWords::SweepType(job.Type);
    if (!type || !Fit::Select(engine.Records, *type))
        return CommandLine::Misused("The type \"" + job.Type + "\" cannot be fitted. Types: " +
                                    FitWords::NamesOfModels(engine.Records) + ".");
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

    const Fit::Selected selected = Fit::Select(engine.Records, *type);
    const int taken = FitWords::SetParams(selected, job.Params);
    if (job.Store) StoreSomething(selected);
    return taken;
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
    row.Values =
        FitWords::Results(Fit::Select(engine.Records, engine.Params.FitType), work.XUnit, work.YUnit);
    return row;
}

std::string FormulaText(SweepFit::Engine& engine) {
    return Fit::PlainText(Fit::FormulaOf(Fit::Select(engine.Records, engine.Params.FitType)));
}

bool PrintJson(SweepFit::Engine& engine, const std::vector<Row>& rows) {
    Json::Value document;
    document["Type"] = NameOf(engine.Params.FitType).Short;
    document["Formula"] = FormulaText(engine);
    document["Sweeps"] = Json::Value::array();
    for (const Row& row : rows) {
        Json::Value sweep;
        sweep["Target"] = row.Target;
        FitWords::AddOutcome(sweep, row.Outcome);
        sweep["RangePoints"] = row.RangePoints;
        sweep["FitPoints"] = row.FitPoints;
        sweep["FirstX"] = Json::Number(row.FirstX);
        sweep["SegmentStart"] = Json::Number(row.SegmentStart);
        FitWords::AddResults(sweep, row.Values);
        sweep["Cycles"] = Json::Value::array();
        sweep["Events"] = Json::Value::array();
        document["Sweeps"].push_back(std::move(sweep));
    }
    return Json::Print(document);
}

// A column is worth its place when it goes into the analysis, is fitted or was worked out by the fit, and a
// sweep has a value.
bool IsShown(const std::vector<Row>& rows, std::size_t column) {
    const FitWords::Result& first = rows.front().Values[column];
    const bool isResidual = column + 1 == rows.front().Values.size();
    const bool fitted = first.Param.State == FitParamState::Fit;
    if (first.Param.Store == 0 && !fitted && !first.Derived && !isResidual) return false;
    for (const Row& row : rows)
        if (row.Values[column].Param.State != FitParamState::Off) return true;
    return false;
}

bool PrintTable(SweepFit::Engine& engine, const std::vector<Row>& rows) {
    if (rows.empty()) return true;
    std::printf("%s\n\n", FormulaText(engine).c_str());
    constexpr int Width = 14;
    std::vector<std::size_t> columns;
    for (std::size_t i = 0; i < rows.front().Values.size(); ++i)
        if (IsShown(rows, i)) columns.push_back(i);
    std::printf("%-10s %6s %-10s", "Sweep", "Iter.", "Ending");
    for (const std::size_t i : columns) {
        const FitWords::Result& value = rows.front().Values[i];
        const std::string head = value.Unit.empty() ? value.Name : value.Name + "/" + value.Unit;
        std::printf(" %*s", Width, head.c_str());
    }
    std::printf("\n");
    for (const Row& row : rows) {
        const std::string iterations = row.Outcome.Iterations ? std::to_string(*row.Outcome.Iterations) : "-";
        std::printf("%-10s %6s %-10s", row.Target.c_str(), iterations.c_str(),
                    Fit::NameOf(row.Outcome.FitTermination));
        for (const std::size_t i : columns) {
            const FitParam& param = row.Values[i].Param;
            if (param.State == FitParamState::Off)
                std::printf(" %*s", Width, "-");
            else
                std::printf(" %*.6g%s", Width - (param.State == FitParamState::Hold ? 1 : 0), param.Value,
                            param.State == FitParamState::Hold ? "h" : "");
        }
        std::printf("\n");
    }
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
    Setup::Settings.NoLeakSubtraction = job.NoLeak;
    Setup::Settings.SubtractZero = job.Zero;
    Setup::Settings.TraceFilterFactor.fill(job.FilterHz);

    std::vector<Row> rows;
    engine.Finished = [&](const SweepFit::Report& report) {
        rows.push_back(KeepRow(engine, report));
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
