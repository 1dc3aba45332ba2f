#include "app/fit_job.h"

#include "app/command_line.h"
#include "app/fit_rows.h"
#include "app/interrupt.h"
#include "base/messages.h"
#include "data/analysis_file.h"
#include "data/recovery_copy.h"
#include "data/sweep_stimulus.h"
#include "events/measurements.h"
#include "fit/sweep_fit.h"
#include "online/online_file.h"
#include "setup/settings.h"

#include <algorithm>
#include <chrono>
#include <optional>

namespace {

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
    const std::optional<SweepFitType> type = FitWords::SweepType(job.Type);
    if (!type)
        return CommandLine::Misused("The type \"" + job.Type +
                                    "\" cannot be fitted. Types: " + FitWords::NamesOfSweepTypes() + ".");
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
    const int taken = FitWords::SetParams(selected, job.Params);
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
    SweepFit::Engine engine(CurrentSession());
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
    job.Corrections.Apply();

    std::vector<FitRow> rows;
    engine.Finished = [&](const SweepFit::Report& report) {
        FitRows::Add(engine, report, rows);
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
    if (!(job.AsJson ? FitRows::PrintJson(engine, rows) : FitRows::PrintTable(engine, rows))) done = false;
    if (Interrupt::Requested()) {
        Messages::Alert("Stopped by the user; sweeps fitted: " + std::to_string(rows.size()) + ".");
        done = false;
    }
    return done ? CommandLine::Done : CommandLine::Failed;
}
