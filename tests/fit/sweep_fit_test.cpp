#include "fit/analysis_table.h"
#include "fit/sweep_fit.h"

#include "support/data_session.h"

namespace {

constexpr double Interval = 1e-4;
constexpr int Baseline = 100, Pulse = 600; // points; behind the baseline a segment that is not stored

double TauOf(int sweep) {
    return 0.004 + 0.001 * sweep;
}

class SweepFitting : public testing::Test {
protected:
    SweepFitting() {
        Engine.Params.FitType = SweepFitType::Exponential;
        Select(1);
    }
    void Select(int sweep) { GetRelatives(Session, Tree::Child(Session.CurSeries, sweep)); }
    int Records() const { return Tree::ChildCount(Session.CurASeries); }
    const AnalysisValue& Cell(int record, int column, int sweep) const {
        const void* const entry = Tree::Child(Tree::Child(Session.CurASeries, record), column);
        return *Tree::ChildAs<AnalysisValue>(entry, sweep);
    }
    Support::TempFolder Folder;
    Support::OpenedData Data{
        Folder.Write("cell.dat", Support::ReadWhole(Support::DataFile("fit/relaxations.dat"))),
        OpenMode::Analysis};
    DataSession& Session = Data.Session;
    SweepFit::Engine Engine{Session};
};

constexpr int Amp0Column = 1, TauColumn = 3;

}

TEST_F(SweepFitting, TheRangeLiesInTheStoredSegmentOfYValues) {
    const struct {
        const char* What;
        int SegOffset;
        double Left, Right;
        std::vector<double> Range; // first point and points, times of segment start and first x in ms
    } cases[] = {
        {"the relevant segment, behind one that is not stored", 0, 0.0, 1.0, {100, 600, 10, 0}},
        {"bounds inside", 0, 0.25, 0.5, {250, 150, 10, 15}},
        {"a left bound in the segment before", 0, -0.1, 0.1, {40, 120, 10, -6}},
        {"a right bound beyond the trace", 1, 0.0, 1.5, {700, 200, 70, 0}},
        {"an offset beyond the last segment", 9, 0.0, 1.0, {700, 200, 70, 0}},
        {"an offset before the first segment", -9, 0.0, 1.0, {0, 100, 0, 0}},
    };
    for (const auto& c : cases) {
        Engine.Params.FitSegOffset = c.SegOffset;
        Engine.Params.FitLeftBound = c.Left;
        Engine.Params.FitRightBound = c.Right;
        ASSERT_TRUE(SweepFit::PrepareData(Engine)) << c.What;
        const SweepFit::Work& work = Engine.Work;
        const double got[] = {static_cast<double>(work.FirstPoint), static_cast<double>(work.RangePoints),
                              work.SegmentStart * 1e3, work.FirstX * 1e3};
        for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(got[i], c.Range[i], 1e-9) << c.What << " " << i;
    }
    Engine.Params.FitSegOffset = 0;
    Engine.Params.FitRightBound = 1.0;
    Session.CurTrace->TrXInterval = 2 * Interval; // a compressed trace keeps its times
    Session.CurTrace->TrDataPoints /= 2;
    ASSERT_TRUE(SweepFit::PrepareData(Engine));
    EXPECT_TRUE(Engine.Work.FirstPoint == Baseline / 2 && Engine.Work.RangePoints == Pulse / 2);
    EXPECT_NEAR(Engine.Work.SegmentStart, 0.01, 1e-12);
}

TEST_F(SweepFitting, TimeZeroFollowsItsSourceForExponentialsOnlyWhichAreThinnedLikeGating) {
    Engine.Params.FitLeftBound = 0.5; // the range starts at 0.04 s
    Engine.Params.MaxNoOfFittedPoints = 50;
    using enum Fit::ExpTimeSource;
    Fit::ExpRecord& record = Engine.Records.Exponential;
    const struct {
        SweepFitType Type;
        Fit::ExpTimeSource Source;
        double Time0, FirstX;
        std::size_t Points;
    } cases[] = {{SweepFitType::Exponential, CursorPosition, 0.0, 0.0, 50},
                 {SweepFitType::Exponential, GivenTime0, 0.02, 0.02, 50},
                 {SweepFitType::Gaussian, GivenTime0, 0.02, 0.03, 300},
                 {SweepFitType::HodgkinHuxley, GivenTime0, 0.02, 0.03, 50},
                 {SweepFitType::Polynomial, GivenTime0, 0.02, 0.03, 300},
                 {SweepFitType::Exponential, GivenTime0, 5.0, 0.0, 50}}; // behind the range: to its start
    for (const auto& c : cases) {
        Engine.Params.FitType = c.Type;
        record.TimeSource = c.Source;
        record.GivenTime0 = c.Time0;
        ASSERT_TRUE(SweepFit::PrepareData(Engine));
        EXPECT_NEAR(Engine.Work.FirstX, c.FirstX, 1e-12);
        EXPECT_EQ(Engine.Work.FitDataX.size(), c.Points);
        EXPECT_EQ(Engine.Work.RangePoints, Pulse / 2);
    }
    EXPECT_NEAR(record.GivenTime0, 0.04, 1e-12);
}

TEST_F(SweepFitting, AutoFitFillsTheTableFromTheSelectedSweepOn) {
    Select(2);
    std::vector<int> fitted;
    Engine.Finished = [&](const SweepFit::Report& report) { fitted.push_back(Tree::IndexOf(report.Sweep)); };
    ASSERT_TRUE(SweepFit::AutoFitCommand(Engine));
    EXPECT_EQ(fitted, (std::vector<int>{2, 3, 4}));
    ASSERT_EQ(Records(), 1);
    const auto* const record = Tree::ChildAs<AnalysisRecord>(Session.CurASeries, 1);
    EXPECT_EQ(record->EntryCount, 3);
    const auto* const column = Tree::ChildAs<AnalysisEntry>(record, TauColumn);
    EXPECT_EQ(Texts::FromField(column->Name), "tau1");
    EXPECT_EQ(Texts::FromField(column->Unit), "s");
    EXPECT_EQ(Cell(1, TauColumn, 1).State, FitParamState::Off);
    for (int sweep = 2; sweep <= 4; ++sweep) {
        EXPECT_EQ(Cell(1, TauColumn, sweep).State, FitParamState::Fit);
        EXPECT_NEAR(Cell(1, TauColumn, sweep).Value, TauOf(sweep - 1), 1e-6);
        EXPECT_NEAR(Cell(1, Amp0Column, sweep).Value, 2e-9, 1e-12);
    }
}

TEST_F(SweepFitting, ANewSetupOpensANewRecordAndOverwriteTakesTheLastOne) {
    ASSERT_TRUE(SweepFit::FitCommand(Engine));
    Select(2);
    ASSERT_TRUE(SweepFit::FitCommand(Engine));
    EXPECT_EQ(Records(), 1); // the same setup goes on in the same table
    Engine.Params.NewAnalysisMode = SweepFit::AnalysisMode::Append;
    Engine.Records.Exponential.YZero.Store = 1; // one more column
    ASSERT_TRUE(SweepFit::FitCommand(Engine));
    EXPECT_EQ(Records(), 2);
    EXPECT_EQ(Cell(1, TauColumn, 1).State, FitParamState::Fit); // the first stays as it was
    Engine.Params.FitType = SweepFitType::Polynomial;
    Engine.Params.NewAnalysisMode = SweepFit::AnalysisMode::Overwrite;
    ASSERT_TRUE(SweepFit::FitCommand(Engine));
    EXPECT_EQ(AnalysisTable::AnalysisName(Engine), "2 of 2: Polynomial");
    for (int i = 0; i < 2; ++i) AnalysisTable::BackAnalysis(Engine);
    EXPECT_EQ(AnalysisTable::AnalysisName(Engine), "1 of 2: Exponential");
    AnalysisTable::DeleteCurrentAnalysis(Engine);
    EXPECT_EQ(AnalysisTable::AnalysisName(Engine), "1 of 1: Polynomial");
    EXPECT_TRUE(Session.FitNewSetup);
}

TEST_F(SweepFitting, SkipEmptiesTheRowAndShowFitLeavesItAlone) {
    ASSERT_TRUE(SweepFit::FitCommand(Engine));
    const double fitted = Cell(1, TauColumn, 1).Value;
    Engine.Records.Exponential.Terms[0].Tau.Value = 0.1;
    ASSERT_TRUE(SweepFit::ShowFitCommand(Engine));
    EXPECT_EQ(Cell(1, TauColumn, 1).Value, fitted);
    EXPECT_EQ(Engine.Records.Exponential.Terms[0].Tau.Value, 0.1); // nothing was moved
    EXPECT_EQ(Engine.Params.Control.MaxIterations, 200);
    Engine.Params.ManualFit = true;
    ASSERT_TRUE(SweepFit::ShowFitCommand(Engine));
    EXPECT_EQ(Cell(1, TauColumn, 1).Value, 0.1); // manual mode stores without fitting
    ASSERT_TRUE(SweepFit::SkipCommand(Engine));
    EXPECT_EQ(Cell(1, TauColumn, 1).State, FitParamState::Off);
    Session.FitNewSetup = true;
    Engine.Params.ManualFit = false;
    ASSERT_TRUE(SweepFit::ShowFitCommand(Engine)); // in a new setup it stores after all
    EXPECT_EQ(Cell(1, TauColumn, 1).Value, 0.1);
}

TEST_F(SweepFitting, StopEndsTheRunAndKeepsWhatWasFitted) {
    int asked = 0;
    Engine.Params.Control.MaxIterations = 40;
    std::vector<Fit::FitTermination> endings;
    Engine.Poll = [&] { return ++asked > 60 ? SweepFit::Request::Stop : SweepFit::Request::None; };
    Engine.Finished = [&](const SweepFit::Report& report) {
        endings.push_back(report.Outcome.FitTermination);
    };
    ASSERT_TRUE(SweepFit::AutoFitCommand(Engine));
    ASSERT_EQ(endings.size(), 2u);
    EXPECT_EQ(endings.front(), Fit::FitTermination::MaxIterations);
    EXPECT_EQ(endings.back(), Fit::FitTermination::Break);
    EXPECT_EQ(Cell(1, TauColumn, 2).State, FitParamState::Fit);
    EXPECT_EQ(Cell(1, TauColumn, 3).State, FitParamState::Off);
}

TEST_F(SweepFitting, RefusalsComeInWordsAndLeaveNoRecord) {
    const struct {
        const char* Words;
        void (*Spoil)(SweepFit::Engine& engine);
    } cases[] = {
        {"Illegal pulse length", [](auto& e) { e.Params.FitRightBound = 0.0; }},
        {"Segment 2 is not stored in the trace.", [](auto& e) { e.Params.FitSegOffset = -1; }},
        {"This trace does not exist.", [](auto& e) { e.Params.FitTrace = 2; }},
        {"cannot be run here.", [](auto& e) { e.Params.FitType = SweepFitType::Measure; }},
        {"Please select Sweep in the data tree.",
         [](auto& e) { GetRelatives(e.Session, e.Session.CurSeries); }},
        {"This sweep has no stimulus segment to take the range from.",
         [](auto& e) { e.Session.CurSweep->SwStimCount = 7; }},
    };
    const SweepFit::FitParams sound = Engine.Params;
    for (const auto& one : cases) {
        Engine.Params = sound;
        Select(1);
        one.Spoil(Engine);
        EXPECT_FALSE(SweepFit::FitCommand(Engine));
        EXPECT_NE(Data.Said.Alerts.find(one.Words), std::string::npos) << Data.Said.Alerts;
    }
    EXPECT_EQ(Records(), 0);
}
