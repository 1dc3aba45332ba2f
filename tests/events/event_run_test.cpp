// Events one by one: stepping, rejecting, skipping, and what becomes of the row.
#include "events/event_run.h"

#include "events/measurements.h"
#include "fit/fit_range.h"
#include "support/new_cell.h"
#include "vectors.h"

namespace {

using EventRun::LastState;
using EventRun::StepResult;
using Support::ExpectNear;
using Support::Samples;
using Values = std::vector<double>;

// A cell whose first sweep is ready to be walked through.
struct Walk : Support::NewCell {
    Walk(const Samples& samples, SweepFitType type)
        : NewCell({.Segments = {{0.0, static_cast<int>(samples.size())}}, .Sweeps = {{samples}}}) {
        Measurements::Install(Engine);
        Engine.Records.SingleChannel.SingleHigh = 1.0;
        Engine.Records.SingleChannel.SingleInclFirst = Engine.Records.SingleChannel.SingleInclLast = 1;
        if (!Fit(type)) ADD_FAILURE() << Said.Alerts; // makes the columns
    }
    ~Walk() { FitRange::Release(Engine.Work); }

    void Begin(bool notebook = false) {
        if (!SweepFit::PrepareData(Engine) || !EventRun::Open(Run, Engine, notebook))
            ADD_FAILURE() << Said.Alerts;
    }
    int Steps() {
        int steps = 0;
        while (EventRun::Step(Run) == StepResult::Found) ++steps;
        return steps;
    }
    EventRun::Run Run;
};

// Spikes of these heights, 10 points each, over a threshold of 0.
Samples Spikes(const std::vector<float>& heights) {
    Samples samples;
    for (const float height : heights)
        for (const float y : {-1.0F, -1.0F, -1.0F, 1.0F, height, -1.0F, -2.0F, -1.0F, -1.0F, -1.0F})
            samples.push_back(y);
    return samples;
}

constexpr int MaxY = 6, Interval = 5, Number = 10;    // columns of an action potential
constexpr int Level = 1, Amplitude = 2, Duration = 3; // and of a single channel

}

TEST(EventRuns, ActionPotentialsAreTakenBackOrFlagged) {
    Walk walk(Spikes({5, 6, 7, 8}), SweepFitType::ActionPotential);
    walk.Begin();
    EventRun::Run& run = walk.Run;
    EXPECT_TRUE(walk.Below(MaxY).empty()); // those of the run before are gone
    EXPECT_EQ(walk.Row(MaxY).State, FitParamState::Off);
    EXPECT_FALSE(EventRun::Reject(run)); // nothing there yet
    EXPECT_FALSE(EventRun::Skip(run));
    ASSERT_EQ(EventRun::Step(run), StepResult::Found);
    ASSERT_EQ(EventRun::Step(run), StepResult::Found);
    ExpectNear(walk.Below(MaxY), {5, 6}, 0.0);

    EXPECT_TRUE(EventRun::Reject(run));
    ExpectNear(walk.Below(MaxY), {5}, 0.0);
    EXPECT_EQ(walk.Row(MaxY).Value, 5.0); // that of the event before
    EXPECT_EQ(walk.Said.Notes, "");
    EXPECT_FALSE(EventRun::Reject(run));
    EXPECT_EQ(walk.Said.Notes, "Last Event has been removed already.\n");
    EXPECT_FALSE(EventRun::Skip(run));
    ExpectNear(walk.Below(MaxY), {5}, 0.0);

    ASSERT_EQ(EventRun::Step(run), StepResult::Found);
    EXPECT_NEAR(walk.Below(Interval)[1], 0.020, 0.0005); // from the first one: the second is not there
    EXPECT_TRUE(EventRun::Skip(run));
    EXPECT_EQ(walk.StatesBelow(MaxY), (std::vector<int>{0, 2}));
    EXPECT_FALSE(EventRun::Reject(run));
    EXPECT_FALSE(EventRun::Skip(run));
    EXPECT_EQ(walk.Steps(), 1);
    ExpectNear(walk.Below(MaxY), {5, 7, 8}, 0.0);
    ExpectNear(walk.Below(Number), {1, 2, 3}, 0.0); // a skipped one keeps its place
    EXPECT_EQ(walk.Engine.Records.ActionPotential.Events, 3);
    EXPECT_EQ(EventRun::Step(run), StepResult::End);

    walk.Begin();
    ASSERT_EQ(EventRun::Step(run), StepResult::Found);
    EXPECT_TRUE(EventRun::Reject(run)); // the only one
    EXPECT_EQ(walk.Row(MaxY).State, FitParamState::Off);
    ASSERT_EQ(EventRun::Step(run), StepResult::Found);
    EXPECT_EQ(walk.StatesBelow(Interval), (std::vector<int>{2})); // again the first
}

// An opening, cut by a short closure, then a long one of another size: with the closure taken back, both
// are one.
TEST(EventRuns, ARejectedClosureJoinsTheOpenings) {
    Samples samples(10, 0.0F);
    samples.insert(samples.end(), 6, 1.0F); // event 2
    samples.insert(samples.end(), 1, 0.0F); // event 3
    samples.insert(samples.end(), 3, 1.3F); // event 4
    samples.insert(samples.end(), 5, 0.2F); // event 5
    samples.insert(samples.end(), 4, 1.0F); // event 6
    Walk walk(samples, SweepFitType::SingleChannel);
    ExpectNear(walk.Below(Level), {0, 1, 0, 1, 0, 1}, 0.0);
    const Values durations = walk.Below(Duration);
    const struct {
        int Steps; // then a reject
        Values Levels;
        double Duration, Amplitude; // of the joined event
    } cases[] = {
        {2, {0, 1}, durations[1] + durations[2] + durations[3], (6 * 1.0 + 3 * 1.3) / 9},
        {3, {0, 1, 0}, durations[2] + durations[3] + durations[4], (1 * 0.0 + 5 * 0.2) / 6},
        {4, {0, 1, 0, 1}, durations[3] + durations[4] + durations[5], (3 * 1.3 + 4 * 1.0) / 7},
    };
    for (const auto& one : cases) {
        walk.Begin();
        for (int i = 0; i < one.Steps; ++i) ASSERT_EQ(EventRun::Step(walk.Run), StepResult::Found);
        ASSERT_TRUE(EventRun::Reject(walk.Run));
        ExpectNear(walk.Below(Level), one.Levels, 0.0);
        EXPECT_NEAR(walk.Below(Duration).back(), one.Duration, 1e-12);
        EXPECT_NEAR(walk.Below(Amplitude).back(), one.Amplitude, 1e-6);
        EXPECT_EQ(walk.Row(Duration).Value, walk.Below(Duration).back());
        EXPECT_EQ(walk.Run.State, LastState::Normal);
    }
    // An event of level 0 that has no other behind it is taken back for good.
    walk.Begin();
    for (int i = 0; i < 5; ++i) ASSERT_EQ(EventRun::Step(walk.Run), StepResult::Found);
    EXPECT_TRUE(EventRun::Reject(walk.Run));
    ExpectNear(walk.Below(Level), {0, 1, 0, 1}, 0.0);
    EXPECT_FALSE(EventRun::Reject(walk.Run));
    EXPECT_EQ(walk.Said.Notes, "Last Event has been removed already.\n");
}

// The amplitude of a joined event is that of its first part when the other has no sample left.
TEST(EventRuns, AnOpeningJoinedWithATooShortOneKeepsItsAmplitude) {
    Samples samples(8, 0.0F);
    samples.insert(samples.end(), 7, 1.2F);
    samples.insert(samples.end(), {0.0F, 1.0F, 0.0F, 0.0F, 0.0F, 0.0F, 0.0F});
    Walk walk(samples, SweepFitType::SingleChannel);
    walk.Engine.Records.SingleChannel.SingleDeadTime = 1;
    walk.Begin();
    ASSERT_EQ(EventRun::Step(walk.Run), StepResult::Found);
    ASSERT_EQ(EventRun::Step(walk.Run), StepResult::Found);
    ASSERT_TRUE(EventRun::Reject(walk.Run));
    EXPECT_NEAR(walk.Below(Amplitude)[1], 1.2, 1e-6);
    EXPECT_EQ(walk.StatesBelow(Amplitude)[1], 0);
}

TEST(EventRuns, TheRowHoldsTheLastEventOrTheirMean) {
    for (const auto& one : Vectors::Cases("events_ap")) {
        if (one["in"].value("fn", "") != "running") continue;
        const auto heights = one["in"]["values"].get<std::vector<float>>();
        Walk walk(Spikes(heights), SweepFitType::ActionPotential);
        EXPECT_EQ(walk.Row(MaxY).Value, one["out"]["last"].get<double>());
        walk.Engine.Records.ActionPotential.APNEventInResults = 1;
        ASSERT_TRUE(walk.Fit(SweepFitType::ActionPotential));
        EXPECT_TRUE(Vectors::Near(walk.Row(MaxY).Value, one["out"]["mean"], 1e-12));
    }
    Walk walk(Spikes({2, 4, 9}), SweepFitType::ActionPotential);
    walk.Engine.Records.ActionPotential.APNEventInResults = 1;
    ASSERT_TRUE(walk.Fit(SweepFitType::ActionPotential));
    EXPECT_DOUBLE_EQ(walk.Row(MaxY).Value, 5.0);
    EXPECT_DOUBLE_EQ(walk.Row(Number).Value, 2.0);
}

TEST(EventRuns, AreListedInTheNotebook) {
    Walk walk(Spikes({5, 6}), SweepFitType::ActionPotential);
    using R = Fit::ActionPotentialRecord;
    for (FitParam R::*const param : {&R::Time, &R::Realtime, &R::Interval, &R::MaxdT, &R::MinY, &R::MindT})
        (walk.Engine.Records.ActionPotential.*param).Store = 0;
    ASSERT_TRUE(walk.Fit(SweepFitType::ActionPotential)); // four columns are left
    EXPECT_EQ(walk.Said.Notes, "");
    walk.Begin(true);
    EXPECT_EQ(walk.Steps(), 2);
    EXPECT_EQ(walk.Said.Notes, "Event #,        Dur[s],     Integr[s],       MaxY[A],              \n"
                               "      1,      2.33333m,      4.66667m,       5.00000,       1.00000\n"
                               "      2,      2.35714m,      5.64286m,       6.00000,       2.00000\n");
}

TEST(EventRuns, StopsWhenAskedTo) {
    Walk walk(Spikes(std::vector<float>(600, 3.0F)), SweepFitType::ActionPotential);
    EXPECT_EQ(walk.Below(MaxY).size(), 600U);
    walk.Engine.Poll = [] { return SweepFit::Request::Stop; };
    EXPECT_FALSE(walk.Fit(SweepFitType::ActionPotential));
    EXPECT_LT(walk.Below(MaxY).size(), 600U);
    EXPECT_TRUE(walk.Engine.Stop);
}

TEST(EventRuns, ThePageFollowsTheEvents) {
    int cases = 0;
    for (const auto& one : Vectors::Cases("events_single")) {
        const auto& in = one["in"];
        if (in.value("fn", "") != "page") continue;
        ++cases;
        EXPECT_TRUE(Vectors::Near(EventRun::TrackPage(in["page"], in["length"], in["time"]),
                                  one["out"]["page"], 1e-9))
            << one["id"];
    }
    EXPECT_GE(cases, 3);
    EXPECT_DOUBLE_EQ(EventRun::TrackPage(2.0, 0.1, 0.15), 2.0); // in the middle: stays
    EXPECT_DOUBLE_EQ(EventRun::TrackPage(1.0, 0.1, 0.95), 10.4);
}
