#include "events/event_run.h"

#include "base/messages.h"
#include "base/number_text.h"
#include "online/notebook_lines.h"

#include <algorithm>

namespace EventRun {

namespace {

constexpr int ColumnWidth = 14;

Fit::SingleChannelRecord& SingleOf(const Run& run) {
    return run.Engine->Records.SingleChannel;
}
Fit::ActionPotentialRecord& ActionOf(const Run& run) {
    return run.Engine->Records.ActionPotential;
}

FitParam ValueOf(double value, FitParamState state = FitParamState::Fit) {
    FitParam param;
    param.Value = value;
    param.State = state;
    return param;
}

// The value of an event for a column, by the parameter that the column stores.
FitParam ValueFor(const Run& run, const FitParam& param) {
    if (run.Single) {
        const Fit::SingleChannelRecord& record = SingleOf(run);
        if (&param == &record.Level) return ValueOf(run.LastSingle.Level);
        if (&param == &record.Duration) return ValueOf(run.LastSingle.Duration);
        return ValueOf(run.LastSingle.Amplitude, run.LastSingle.AmplitudeState);
    }
    const Fit::ActionPotentialRecord& record = ActionOf(run);
    const ActionPotential::Event& event = run.LastAction;
    const double sweepTime = run.Engine->Work.SegmentStart + event.UpTime;
    if (&param == &record.Time) return ValueOf(sweepTime);
    if (&param == &record.Realtime) return ValueOf(run.Engine->Session.CurSweep->SwTime + sweepTime);
    if (&param == &record.Duration) return ValueOf(event.Duration);
    if (&param == &record.Integral) return ValueOf(event.Integral);
    if (&param == &record.MaxY) return ValueOf(event.Maximum);
    if (&param == &record.MaxdT) return ValueOf(event.MaximumTime);
    if (&param == &record.MinY) return ValueOf(event.Minimum);
    if (&param == &record.MindT) return ValueOf(event.MinimumTime);
    if (&param == &record.nAPs) return ValueOf(run.Count);
    const bool open = run.Count == 1 && record.APInclFirstInt == 0;
    return ValueOf(event.Interval, open ? FitParamState::Off : FitParamState::Fit);
}

// What the listing calls a column. Some units are those of the other axis than the values: lists that were
// written by former versions have them so, and what reads such lists goes by them.
struct Title {
    std::string_view Column, Text;
    enum class Axis : std::uint8_t { None, X, Y } Unit;
};
constexpr Title Titles[] = {
    {"Level", "Level", Title::Axis::None},  {"Amplitude", "Amp", Title::Axis::Y},
    {"Duration", "Dur", Title::Axis::X},    {"Time", "SwTime", Title::Axis::X},
    {"Realtime", "RTime", Title::Axis::X},  {"Integral", "Integr", Title::Axis::X},
    {"Interval", "Interv", Title::Axis::Y}, {"MaxY", "MaxY", Title::Axis::Y},
    {"MaxdT", "MaxdT", Title::Axis::Y},     {"MinY", "MinY", Title::Axis::Y},
    {"MindT", "MindT", Title::Axis::Y},
};

// Empty for the running number, which leads each line anyway.
std::string TitleOf(const Run& run, const EventColumns::Column& column) {
    const SweepFit::Work& work = run.Engine->Work;
    for (const Title& title : Titles) {
        if (title.Column != column.Name) continue;
        const std::string& unit = title.Unit == Title::Axis::X ? work.XUnit : work.YUnit;
        return std::string(title.Text) + (title.Unit == Title::Axis::None ? "" : "[" + unit + "]");
    }
    return {};
}

std::string RightAligned(std::string_view text) {
    std::string line(text);
    if (line.size() < ColumnWidth) line.insert(0, ColumnWidth - line.size(), ' ');
    return line;
}

void List(Run& run, const std::vector<FitParam>& values) {
    if (!run.Notebook) return;
    const std::string separator(NotebookLines::Separator());
    if (run.HeaderDue) {
        std::string header = "Event #";
        for (const EventColumns::Column& column : run.Columns.List)
            header += separator + RightAligned(TitleOf(run, column));
        Messages::Log(header);
    }
    run.HeaderDue = false;
    std::string line = NumberText::Integer(run.Count, 7);
    for (const FitParam& value : values) line += separator + RightAligned(NotebookLines::Number(value.Value));
    Messages::Log(line);
}

bool StoreLast(Run& run) {
    ++run.Count;
    run.State = LastState::Normal;
    std::vector<FitParam> values;
    for (const EventColumns::Column& column : run.Columns.List)
        values.push_back(ValueFor(run, *column.Param));
    if (!EventColumns::AppendEvent(run.Columns, values, run.Count)) return false;
    List(run, values);
    return true;
}

// The next event that is to be stored.
bool FindNext(Run& run) {
    if (run.Single) {
        const std::int64_t before = run.Single->UnreasonableLevels;
        bool found = false;
        do found = run.Single->Next(run.LastSingle);
        while (found && !run.LastSingle.Stored);
        if (before == 0 && run.Single->UnreasonableLevels > 0)
            Messages::Note("Unreasonable level. Check Low/High level settings.");
        return found;
    }
    run.FormerAction = run.LastAction;
    return run.Action->Next(run.LastAction);
}

void Finish(Run& run) {
    (run.Single ? SingleOf(run).Events : ActionOf(run).Events) = run.Count;
}

// What follows a rejected event, up to the next of its level, becomes one with it.
bool JoinSingle(Run& run) {
    const SingleChannel::Event former = run.LastSingle;
    double duration = former.Duration;
    SingleChannel::Event next;
    do {
        if (!run.Single->Next(next)) return false;
        duration += next.Duration;
    } while (next.Level != former.Level);
    const auto n = static_cast<double>(former.MeanSamples), m = static_cast<double>(next.MeanSamples);
    run.LastSingle = next;
    run.LastSingle.Duration = duration;
    run.LastSingle.MeanSamples = former.MeanSamples + next.MeanSamples;
    if (next.MeanSamples == 0) {
        run.LastSingle.Amplitude = former.Amplitude;
        run.LastSingle.AmplitudeState = former.AmplitudeState;
    } else {
        run.LastSingle.Amplitude = (n * former.Amplitude + m * next.Amplitude) / (n + m);
    }
    return true;
}

}

bool Open(Run& run, SweepFit::Engine& engine, bool notebook) {
    run = {};
    run.Engine = &engine;
    run.Notebook = notebook;
    if (!EventColumns::Find(engine, Tree::IndexOf(engine.Session.CurSweep), run.Columns)) return false;
    EventColumns::Clear(run.Columns);
    for (EventColumns::Column& column : run.Columns.List) {
        column.Row->Value = 0.0;
        column.Row->State = column.Param->State = FitParamState::Off;
    }
    const SweepFit::Work& work = engine.Work;
    if (engine.Params.FitType == SweepFitType::SingleChannel) {
        const Fit::SingleChannelRecord& record = SingleOf(run);
        run.Columns.MeanInResult = record.SCNEventInResults != 0;
        run.Single.emplace(SingleChannel::Settings{.DeadTime = record.SingleDeadTime,
                                                   .Low = record.SingleLow,
                                                   .High = record.SingleHigh,
                                                   .Threshold = record.SingleThres,
                                                   .InclFirst = record.SingleInclFirst != 0,
                                                   .InclLast = record.SingleInclLast != 0},
                           work.Range(), work.XInterval, work.FirstX);
    } else {
        const Fit::ActionPotentialRecord& record = ActionOf(run);
        run.Columns.MeanInResult = record.APNEventInResults != 0;
        run.Action.emplace(work.Range(), record.APThreshold, work.XInterval, work.FirstX);
        run.LastAction.UpTime = work.FirstX;
    }
    return true;
}

StepResult Step(Run& run) {
    if (!FindNext(run)) {
        Finish(run);
        return StepResult::End;
    }
    return StoreLast(run) ? StepResult::Found : StepResult::Failed;
}

bool ToEnd(Run& run) {
    constexpr int AskEvery = 256;
    for (;;) {
        const StepResult result = Step(run);
        if (result != StepResult::Found) return result == StepResult::End;
        if (run.Count % AskEvery == 0 && run.Engine->Poll && run.Engine->Poll() != SweepFit::Request::None) {
            run.Engine->Stop = true;
            Finish(run);
            return false;
        }
    }
}

bool Reject(Run& run) {
    if (run.Count < 1) return false;
    if (run.State != LastState::Normal) {
        Messages::Note("Last Event has been removed already.");
        return false;
    }
    EventColumns::DeleteLast(run.Columns);
    --run.Count;
    if (run.Action) {
        run.LastAction = run.FormerAction;
        run.Action->TakeBack(run.LastAction.UpTime);
        run.State = LastState::Rejected;
        return true;
    }
    if (JoinSingle(run)) return StoreLast(run);
    run.State = LastState::Rejected;
    return true;
}

bool Skip(Run& run) {
    if (run.Count < 1 || run.State != LastState::Normal) return false;
    EventColumns::FlagLast(run.Columns);
    run.State = LastState::Skipped;
    return true;
}

double TrackPage(double page, double length, double time) {
    const double start = (page - 0.1) * length, end = start + 0.9 * length;
    if (start < time && time <= end) return page + 0.8;
    if (time > (page - 1.0) * length && time < end) return page;
    return (time - 0.1 * length) / length + 1.0;
}

}
