// Fits along the segments of a sweep, the leak taken off ahead of a fit, and online functions as columns.
#include "data/sweep_stimulus.h"
#include "data/traces.h"
#include "online/online_edit.h"
#include "support/new_cell.h"

namespace {

using Support::ExpectNear;
using Support::Samples;
using SweepFit::CycleAnswer;
using Values = std::vector<double>;
using enum SweepFit::CycleAnswer;

constexpr int Points = 50; // of each of eight segments, 1 ms apart; the second is the relevant one
constexpr int Tau = 3;     // column

double TauOf(int sweep, int cycle) {
    return 0.004 + 0.002 * cycle + 0.001 * sweep;
}

// 1 + 4 exp(-t / tau) in segments 2, 4 and 6, elsewhere 0.
Samples Responses(int sweep) {
    Samples samples;
    for (int segment = 1; segment <= 8; ++segment)
        for (int i = 0; i < Points; ++i)
            samples.push_back(
                segment % 2 != 0 || segment == 8
                    ? 0.0F
                    : static_cast<float>(1.0 + 4.0 * std::exp(-i * 1e-3 / TauOf(sweep, segment / 2))));
    return samples;
}

struct Trains : Support::NewCell {
    Trains() : NewCell(Plan()) {
        Engine.Params.FitCyclic = true;
        Engine.Params.FitCyclicNumber = 3;
        Engine.Params.FitType = SweepFitType::Exponential;
        Engine.Finished = [this](const SweepFit::Report& report) {
            Fitted += std::to_string(Tree::IndexOf(report.Sweep)) + ":" + std::to_string(report.Cycle) + " ";
        };
    }
    static Support::CellPlan Plan() {
        Support::CellPlan plan{.Sweeps = {{Responses(1)}, {Responses(2)}}, .Relevant = 2};
        for (int i = 0; i < 8; ++i) plan.Segments.push_back({-0.08 + 0.01 * i, Points});
        return plan;
    }
    // The user gives these answers one after the other, then O.K. throughout.
    void Answer(std::vector<CycleAnswer> answers) {
        Asked = 0;
        Fitted.clear();
        Engine.CyclePrompt = [this, answers](SweepFit::Engine&, int cycle, int count) {
            EXPECT_EQ(count, Engine.CycleCount);
            EXPECT_EQ(Engine.CycleSegOffset, 2 * (cycle - 1));
            const auto i = static_cast<std::size_t>(Asked++);
            return i < answers.size() ? answers[i] : Ok;
        };
    }
    int Asked = 0;
    std::string Fitted; // "1:2 ": sweep 1, cycle 2
};

}

TEST(Cycles, AreCountedAsFarAsTheSegmentsGo) {
    const struct {
        int Segments, Relevant, Offset, Number, Skip, Count;
    } cases[] = {
        {8, 2, 0, 10, 2, 3}, // 7 segments are not enough for 10
        {8, 2, 0, 0, 2, 3},     {8, 2, 0, 3, 2, 3},          {8, 2, 0, 4, 2, 4}, // 7 > 3 * 2
        {8, 2, 1, 4, 2, 3},     {8, 2, 2, 0, 2, 2},          {8, 9, 0, 0, 1, 0}, {8, 20, 0, 0, 1, 0},
        {8, 1, 0, 1, 32767, 1}, {8, 1, -32767, 0, 1, 32767}, {8, 1, 0, 3, 0, 0},
    };
    for (const auto& c : cases)
        EXPECT_EQ(SweepFit::CycleCountOf(c.Segments, c.Relevant, c.Offset, c.Number, c.Skip), c.Count)
            << c.Relevant << " " << c.Offset << " " << c.Number << " " << c.Skip;
}

TEST(Cycles, FillASubRowEachAndTheRowShowsTheLast) {
    Trains cell;
    ASSERT_TRUE(SweepFit::AutoFitCommand(cell.Engine)) << cell.Said.Alerts;
    EXPECT_EQ(cell.Fitted, "1:1 1:2 1:3 2:1 2:2 2:3 ");
    for (int sweep = 1; sweep <= 2; ++sweep) {
        ExpectNear(cell.Below(Tau, sweep), {TauOf(sweep, 1), TauOf(sweep, 2), TauOf(sweep, 3)}, 1e-6);
        EXPECT_EQ(cell.Row(Tau, sweep).Value, cell.Below(Tau, sweep).back());
    }
    EXPECT_EQ(cell.Session.CurARecord->Cyclic, 1);
    EXPECT_EQ(cell.Session.CurARecord->Cycles, 3);
    EXPECT_EQ(cell.Session.CurARecord->CycleSegSkip, 2);
    EXPECT_EQ(cell.Engine.CycleSegOffset, 0);

    SweepFit::FitParams& params = cell.Engine.Params;
    params.NewAnalysisMode = SweepFit::AnalysisMode::Append;
    const auto records = [&](int number, int skip) {
        params.FitCyclicNumber = number;
        params.FitCyclicSegSkip = skip;
        EXPECT_TRUE(cell.Fit(SweepFitType::Exponential));
        return cell.Records();
    };
    EXPECT_EQ(records(3, 2), 1); // the same setup
    EXPECT_EQ(records(2, 2), 2);
    EXPECT_EQ(records(2, 4), 3); // segments 2 and 6
    ExpectNear(cell.Below(Tau), {TauOf(1, 1), TauOf(1, 3)}, 1e-6);
    EXPECT_EQ(records(1, 4), 4);
    EXPECT_TRUE(cell.Below(Tau).empty()); // a single cycle is the row itself
    EXPECT_NEAR(cell.Row(Tau).Value, TauOf(1, 1), 1e-6);
    params.FitSegOffset = 20;
    cell.Fitted.clear();
    EXPECT_EQ(records(0, 4), 4); // no segment for a cycle
    EXPECT_EQ(cell.Fitted, "");
}

TEST(Cycles, FollowTheAnswersOfTheUser) {
    const struct {
        std::vector<CycleAnswer> Answers;
        const char* Fitted;
        int Asked;
        std::vector<int> States; // none: an auto fit of both sweeps
    } cases[] = {
        {{Ok, Repeat, Repeat}, "1:1 1:2 1:2 1:2 1:3 ", 5, {0, 0, 0}},
        {{Back}, "1:1 1:1 1:2 1:3 ", 4, {0, 0, 0}},
        {{Ok, Ok, Back, Back}, "1:1 1:2 1:3 1:2 1:1 1:2 1:3 ", 7, {0, 0, 0}},
        {{Ok, Skip}, "1:1 1:2 1:3 ", 3, {0, 2, 0}},
        {{Ok, Ok, Skip}, "1:1 1:2 1:3 ", 3, {0, 0, 2}},
        {{Ok, Auto}, "1:1 1:2 1:3 ", 2, {0, 0, 0}},
        {{Ok, Break}, "1:1 1:2 ", 2, {0, 0, 2}},
        {{Stop}, "1:1 ", 1, {0, 2, 2}},
        {{Cancel}, "1:1 ", 1, {0, 2, 2}},
        {{DoAll}, "1:1 1:2 1:3 2:1 2:2 2:3 ", 1, {}},
        {{Auto, Auto}, "1:1 1:2 1:3 2:1 2:2 2:3 ", 2, {}},
        {{Break}, "1:1 2:1 2:2 2:3 ", 4, {}},
        {{Ok, Stop}, "1:1 1:2 ", 2, {}},
    };
    for (const auto& one : cases) {
        Trains cell;
        cell.Answer(one.Answers);
        ASSERT_TRUE(one.States.empty() ? SweepFit::AutoFitCommand(cell.Engine)
                                       : cell.Fit(SweepFitType::Exponential));
        EXPECT_EQ(cell.Fitted, one.Fitted);
        EXPECT_EQ(cell.Asked, one.Asked) << one.Fitted;
        EXPECT_TRUE(one.States.empty() || cell.StatesBelow(Tau) == one.States) << one.Fitted;
        cell.Answer({}); // the next run asks again
        ASSERT_TRUE(cell.Fit(SweepFitType::Exponential));
        EXPECT_EQ(cell.Asked, 3);
    }
}

// Each sample less (V - reversal) * conductance, V from the stimulus and 0 behind its end.
TEST(LeakCorrections, TakeALineOffTheFitAlone) {
    Support::CellPlan plan{.Segments = {{-0.06, 10}, {0.03, 20}}, .Relevant = 2, .Zero = -3e-10};
    Samples samples;
    for (int i = 0; i < 36; ++i) samples.push_back(static_cast<float>(1e-9 * std::sin(i)));
    plan.Sweeps = {{samples}};
    Support::NewCell cell(plan);
    SweepFit::FitParams& params = cell.Engine.Params;
    params.FitType = SweepFitType::Polynomial;
    params.FitLeftBound = -0.5;
    params.FitRightBound = 2.0;
    const struct {
        bool On, Auto;
        double Reversal, Conductance, Effective;
    } cases[] = {
        {false, false, -0.07, 5e-9, 0.0},
        {true, false, -0.07, 5e-9, 5e-9},
        {true, true, -0.02, 5e-9, -3e-10 / (-0.08 + 0.02)},
        {true, true, -0.08, 5e-9, -INFINITY}, // the current at the reversal potential is no leak
    };
    for (const auto& one : cases) {
        params.LinLeakOn = one.On;
        params.LinLeakAutoCond = one.Auto;
        params.LinLeakReversal = one.Reversal;
        params.LinLeakConductance = one.Conductance;
        ASSERT_TRUE(SweepFit::PrepareData(cell.Engine)) << cell.Said.Alerts;
        ASSERT_EQ(cell.Engine.Work.FitDataY.size(), 36U);
        for (std::size_t i = 0; i < 36; ++i) {
            const double v = i < 10 ? static_cast<double>(-0.06F) : i < 30 ? static_cast<double>(0.03F) : 0.0;
            const float leak = one.On ? static_cast<float>((v - one.Reversal) * one.Effective) : 0.0F;
            EXPECT_EQ(static_cast<float>(cell.Engine.Work.FitDataY[i]), samples[i] - leak) << i;
        }
    }
    VennicTrace* const trace = cell.Trace({1, 1, 1, 1});
    ASSERT_TRUE(Traces::LoadAndCorrect(cell.Session, cell.SweepOf(trace), trace, cell.Session.DataHeap));
    const auto loaded = Traces::Loaded(*trace);
    EXPECT_TRUE(std::equal(samples.begin(), samples.end(), loaded.begin(), loaded.end()));
    Traces::ReleaseTrace(trace);
}

namespace {

// Functions of an online method: mean, and time of the maximum, over parts of the relevant segment.
struct OnlineTrains : Trains {
    OnlineTrains() {
        if (!OnlineTree::New(Analysis) || !OnlineResults::Allocate(Online.Table)) std::abort();
        Engine.Online = {&Online, OnlineTree::CurrentMethod(Analysis)};
        Engine.Params.FitCyclic = false;
        Add(10, "plateau", 0.5, 1.0);
        Add(10, "not stored", 0.0, 0.5).OfNotebook = 0;
        Add(76, "", 0.25, 0.75);
    }
    OnlineFunction& Add(int kind, const char* name, double left, double right) {
        OnlineMethod* const method = Engine.Online.Method;
        const int position = Tree::ChildCount(method) + 1;
        if (!OnlineEdit::InsertFunction(Analysis, method, position)) std::abort();
        OnlineFunction& function = *OnlineTree::FunctionAt(method, position);
        function.OfKind = static_cast<std::uint8_t>(kind);
        Texts::ToField(function.OfName, name);
        function.OfTrace = function.OfNotebook = function.OfNoPeakFit = 1;
        function.OfLeftBound = left;
        function.OfRightBound = right;
        return function;
    }
    OnlineFunction& At(int index) { return *OnlineTree::FunctionAt(Engine.Online.Method, index); }
    OnlineAnalysis Analysis;
    OnlineCompute::Engine Online{Session};
};

double MeanOf(const Samples& samples, int from, int to) {
    double sum = 0;
    for (int i = from; i < to; ++i) sum += samples[static_cast<std::size_t>(i)];
    return sum / (to - from);
}

}

TEST(OnlineColumns, RideAlongWithTheFit) {
    OnlineTrains cell;
    ASSERT_TRUE(cell.Fit(SweepFitType::Exponential, 2)) << cell.Said.Alerts;
    EXPECT_EQ(cell.Columns(), "amp0 A|amp1 A|tau1 s|plateau A|Max_t s|");
    EXPECT_NEAR(cell.Row(4, 2).Value, MeanOf(Responses(2), 75, 100), 1e-9);
    EXPECT_NEAR(cell.Row(5, 2).Value, 0.013, 0.0005); // the first point of its range
    EXPECT_EQ(cell.Row(4, 1).State, FitParamState::Off);
    EXPECT_NEAR(cell.Row(Tau, 2).Value, TauOf(2, 1), 1e-6); // the fit is what it is without them
    ASSERT_TRUE(SweepFit::SkipCommand(cell.Engine));
    EXPECT_EQ(cell.Row(Tau, 2).State, FitParamState::Off);

    // What makes another record of it.
    cell.Engine.Params.NewAnalysisMode = SweepFit::AnalysisMode::Append;
    const auto records = [&] {
        EXPECT_TRUE(cell.Fit(cell.Engine.Params.FitType));
        return cell.Records();
    };
    EXPECT_EQ(records(), 1);
    Texts::ToField(cell.At(3).OfName, "late"); // another name of a function does not
    EXPECT_EQ(records(), 1);
    cell.At(2).OfNotebook = 1;
    EXPECT_EQ(records(), 2);
    Texts::ToField(cell.Engine.Online.Method->OmName, "other");
    EXPECT_EQ(records(), 3);
    cell.Engine.Params.FitType = SweepFitType::OnlineOnly;
    EXPECT_EQ(records(), 4);
    EXPECT_EQ(cell.Columns(), "plateau A|not stored A|late s|");
    EXPECT_NEAR(cell.Row(2).Value, MeanOf(Responses(1), 50, 75), 1e-9);
    for (int i = 1; i <= 3; ++i) cell.At(i).OfNotebook = 0;
    EXPECT_FALSE(cell.Fit(SweepFitType::OnlineOnly));
    EXPECT_EQ(cell.Said.Alerts, "The online analysis has no function to store.\n");
}

TEST(OnlineColumns, FollowTheCycles) {
    OnlineTrains cell;
    cell.Engine.Params.FitCyclic = true;
    ASSERT_TRUE(cell.Fit(SweepFitType::Exponential)) << cell.Said.Alerts;
    const Samples y = Responses(1);
    ExpectNear(cell.Below(4), {MeanOf(y, 75, 100), MeanOf(y, 175, 200), MeanOf(y, 275, 300)}, 1e-9);
    cell.Engine.Params.FitCyclicNumber = 1;
    ASSERT_TRUE(cell.Fit(SweepFitType::Exponential));
    EXPECT_TRUE(cell.Below(Tau).empty());
    ExpectNear(cell.Below(4), {MeanOf(y, 75, 100)}, 1e-9); // these have a cycle even when it is the only one
}

TEST(OnlineColumns, LendTheirCursorsToTheFit) {
    using enum SweepFit::CursorSource;
    OnlineTrains cell;
    cell.Engine.Params.FitLeftBound = 0.1;
    cell.Engine.Params.FitRightBound = 0.9;
    const auto range = [&](SweepFit::CursorSource source) {
        cell.Engine.Params.FitCursorSource = source;
        EXPECT_TRUE(SweepFit::PrepareData(cell.Engine));
        return std::pair{cell.Engine.Work.FirstPoint - Points, cell.Engine.Work.RangePoints};
    };
    EXPECT_EQ(range(ThisDialog), std::pair(5, 40));
    EXPECT_EQ(range(FirstOnline), std::pair(25, 25));
    EXPECT_EQ(range(LastOnline), std::pair(13, 25)); // 12.5 and 37.5, rounded away from zero
    cell.Engine.Online.Method = nullptr;
    EXPECT_EQ(range(FirstOnline), std::pair(0, 50)); // the whole segment
}
