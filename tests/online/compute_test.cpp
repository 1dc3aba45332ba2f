// Online computing over recordings: each kind against what the samples, records and stimulus say.
#include "online/compute.h"

#include "base/text.h"
#include "data/traces.h"
#include "online/equation_words.h"
#include "online/kinds.h"
#include "online/notebook_lines.h"
#include "online/online_edit.h"
#include "support/data_session.h"
#include "vectors.h"

#include <gtest/gtest.h>

#include <numeric>

namespace {

using OnlineResults::Invalid;

class OnlinePass : public testing::Test {
protected:
    OnlinePass() : Data(Support::Recording("steps.dat")), Engine(Data.Session) {
        if (!Data.IsOpen || !OnlineTree::New(Analysis) || !OnlineResults::Allocate(Engine.Table))
            std::abort();
    }
    OnlineFunction& Add(int kind, int trace = 1) {
        OnlineMethod* const method = Method();
        const int position = Tree::ChildCount(method) + 1;
        if (!OnlineEdit::InsertFunction(Analysis, method, position)) std::abort();
        OnlineFunction& function = *OnlineTree::FunctionAt(method, position);
        function.OfKind = static_cast<std::uint8_t>(kind);
        function.OfTrace = static_cast<std::int16_t>(trace);
        return function;
    }
    OnlineMethod* Method() { return OnlineTree::CurrentMethod(Analysis); }
    OnlineFunction& At(int index) { return *OnlineTree::FunctionAt(Method(), index); }
    VennicSweep& Sweep(const std::vector<int>& path) { return *static_cast<VennicSweep*>(Data.Find(path)); }
    // The results of all functions for the sweep.
    const std::vector<double>& Run(const std::vector<int>& path) {
        OnlineCompute::Pass(Engine, *Method(), Sweep(path));
        return Engine.Results;
    }
    // The samples of a trace, with the corrections of the settings.
    std::vector<float> Samples(const std::vector<int>& path) {
        VennicTrace* const trace = Data.Trace(path);
        EXPECT_TRUE(Traces::LoadAndCorrect(Data.Session, Data.SweepOf(trace), trace, Data.Session.DataHeap));
        const std::span<const float> loaded = Traces::Loaded(*trace);
        std::vector<float> copy(loaded.begin(), loaded.end());
        Traces::ReleaseTrace(trace);
        return copy;
    }

    Support::OpenedData Data;
    OnlineAnalysis Analysis;
    OnlineCompute::Engine Engine;
};

// The IV series: three stored segments, of which the second is the relevant one.
TEST_F(OnlinePass, MeasuresTheSegmentBetweenTheBounds) {
    for (const int kind : {10, 11, 12, 13, 15, 16, 8, 9, 7, 76, 75, 69, 77, 10}) Add(kind);
    for (int i = 1; i <= Tree::ChildCount(Method()); ++i) {
        At(i).OfNoPeakFit = 1;
        At(i).OfLeftBound = 0.1;
        At(i).OfRightBound = 0.601;
    }
    At(12).OfLeftBound = 0.0; // the whole trace
    At(12).OfRightBound = 1.0;
    At(14).OfXSegOffset = 1;
    const std::vector<double> got = Run({1, 1, 9});

    const std::vector<float> y = Samples({1, 1, 9, 1});
    const VennicTrace& trace = *Data.Trace({1, 1, 9, 1});
    SweepStimulus stimulus;
    ASSERT_TRUE(FindStimulus(Data.Session, Sweep({1, 1, 9}), 1, stimulus));
    const auto table = StimGen::SegmentTable(stimulus.SweepNumber, stimulus.Source());
    const double dx = trace.TrXInterval;
    const auto part = [&](std::size_t segment, double leftBound, double rightBound) {
        const double points = table[segment].Duration / dx;
        const auto start = static_cast<double>(table[segment].StoredFirst);
        return std::vector<float>(y.begin() + std::lround(start + points * leftBound),
                                  y.begin() +
                                      static_cast<std::ptrdiff_t>(start + points * rightBound + 1e-9));
    };
    const std::vector<float> x = part(1, 0.1, 0.601);
    ASSERT_GT(x.size(), 100U);
    double sum = 0, squares = 0, above = 0, below = 0;
    for (const float sample : x) {
        sum += sample;
        squares += static_cast<double>(sample) * sample;
        (sample > 0 ? above : below) += sample;
    }
    const auto n = static_cast<double>(x.size());
    double slope = 0, spread = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const double away = static_cast<double>(i) - (n - 1) / 2;
        slope += away * x[i];
        spread += away * away;
    }
    const auto least = std::min_element(x.begin(), x.end()), most = std::max_element(x.begin(), x.end());
    const double first = table[1].Duration * 0.1; // s behind the segment's start
    const double whole = std::accumulate(y.begin(), y.end(), 0.0) / static_cast<double>(y.size());
    const std::vector<float> tail = part(2, 0.1, 0.601);
    const double want[] = {sum / n,
                           sum * dx,
                           (squares - sum * sum / n) / (n - 1),
                           slope / spread / dx,
                           above * dx,
                           -below * dx,
                           *most,
                           *least,
                           std::fabs(*most) >= std::fabs(*least) ? *most : *least,
                           first + static_cast<double>(most - x.begin()) * dx,
                           first + static_cast<double>(least - x.begin()) * dx,
                           whole};
    for (std::size_t i = 0; i < std::size(want); ++i)
        EXPECT_NEAR(got[i], want[i], 1e-9 * std::fabs(want[i])) << OnlineKinds::NameOf(At(int(i) + 1).OfKind);
    EXPECT_TRUE(Vectors::Near(
        got[13], std::accumulate(tail.begin(), tail.end(), 0.0) / static_cast<double>(tail.size()), 1e-9));
    static constexpr const char* Units[] = {"A", "As", "A", "A/s", "As", "As", "A", "A", "A", "s", "s", "A"};
    for (int i = 1; i <= 12; ++i) EXPECT_EQ(Texts::FromField(At(i).OfUnit), Units[i - 1]) << i;
    EXPECT_FALSE(Data.Trace({1, 1, 9, 1})->Samples); // given back
}

TEST_F(OnlinePass, EndCorrectionAndThreshold) {
    for (const int kind : {11, 11, 77, 66}) Add(kind);
    At(2).OfArgB = 1;
    At(3).OfConstant = 5e-10;
    At(3).OfArgA = 3;
    At(4).OfArgA = 3;
    At(4).OfArgB = 0; // the stimulus at the crossing
    const std::vector<double> got = Run({1, 1, 9});
    const std::vector<float> y = Samples({1, 1, 9, 1});
    EXPECT_NE(got[0], got[1]);
    EXPECT_GT(got[2], 0.0);
    EXPECT_LT(got[2], 0.02);
    EXPECT_EQ(got[3], 0.01F); // within the step
    At(3).OfConstant = 1.0;
    EXPECT_TRUE(std::isnan(Run({1, 1, 9})[2]));
}

TEST_F(OnlinePass, ReadsRecordsAndTheStimulus) {
    for (const int kind : {0, 1, 2, 24, 52, 4, 5, 6, 54, 26, 17, 18, 55, 56, 57, 19, 60, 62, 21, 68, 3})
        Add(kind, kind == 6 ? 0 : 1);
    const std::vector<double> got = Run({1, 1, 3});
    const VennicSweep& sweep = Sweep({1, 1, 3});
    const auto& series = *static_cast<VennicSeries*>(Data.Find({1, 1}));
    const auto& root = *static_cast<VennicRoot*>(Data.Find({}));
    const VennicTrace& trace = *Data.Trace({1, 1, 3, 1});
    const double start = got[8];
    const double want[] = {double(sweep.SwSweepCount),
                           sweep.SwTime - root.RoStartTime,
                           sweep.SwTimer,
                           sweep.SwTime - series.SeTime,
                           3.0,
                           -0.05,
                           0.012,
                           0.0,
                           start,
                           sweep.SwTime - root.RoStartTime + start,
                           trace.TrCSlow,
                           1.0 / trace.TrGSeries,
                           trace.TrCellPotential,
                           trace.TrSealResistance,
                           trace.TrRsValue,
                           sweep.SwUserParams[0],
                           sweep.SwTemperature,
                           double(trace.TrInternalSolution)};
    for (std::size_t i = 0; i < std::size(want); ++i)
        EXPECT_TRUE(Vectors::Near(got[i], want[i], 1e-12)) << i << " " << got[i] << " " << want[i];
    EXPECT_TRUE(std::isnan(got[18]) && std::isnan(got[19])); // lock-in values that nothing has recorded
    EXPECT_TRUE(got[20] >= 0 && got[20] < 86400.1);

    SweepStimulus stimulus;
    ASSERT_TRUE(FindStimulus(Data.Session, Sweep({1, 3, 1}), 1, stimulus));
    const_cast<StimSegment*>(stimulus.Segments[1])->SgClass = 1; // -90 to -40 mV within 40 ms
    EXPECT_NEAR(Run({1, 3, 1})[7], 1.25, 1e-12);
}

TEST_F(OnlinePass, ComputesWithEarlierResultsOnly) {
    struct {
        int Kind;
        double A, B, Want;
    } const rows[] = {{29, 2, 3, 5},
                      {30, 2, 3, -1},
                      {31, 2, 3, 6},
                      {32, 3, 2, 1.5},
                      {33, -4, 0, 4},
                      {34, 1000, 0, 3},
                      {35, 3, 0, 9},
                      {36, 4, 0, 0.25},
                      {37, 100, 0, 0.5},
                      {38, 2, 0, 0.25},
                      {65, 2, 4, 1},
                      {65, 1, 4, 0},
                      {65, 40, 4, Invalid},
                      {73, 1, 0, std::atan(1.0)},
                      {74, 1, 0, 1 / std::atan(1.0)}};
    Add(OnlineKinds::Constant);
    Add(OnlineKinds::Constant);
    Add(OnlineKinds::Constant);
    for (const auto& row : rows) {
        At(1).OfConstant = row.A;
        At(2).OfConstant = row.B;
        At(3).OfKind = static_cast<std::uint8_t>(row.Kind);
        At(3).OfArgA = 1;
        At(3).OfArgB = 2;
        const double got = Run({1, 1, 1})[2];
        EXPECT_TRUE(std::isnan(row.Want) ? std::isnan(got) : std::fabs(got - row.Want) < 1e-15) << row.Kind;
    }
    At(3).OfKind = 29;
    for (const int operand : {0, 3, 4, -1}) { // none, itself, beyond, senseless
        At(3).OfArgB = static_cast<std::int16_t>(operand);
        EXPECT_TRUE(std::isnan(Run({1, 1, 1})[2])) << operand;
    }
    At(3).OfKind = 39; // an axis of graphs
    EXPECT_TRUE(std::isnan(Run({1, 1, 1})[2]));
    At(3).OfKind = 200;
    EXPECT_TRUE(std::isnan(Run({1, 1, 1})[2]));
}

TEST_F(OnlinePass, EquationsReadResultsAndValues) {
    Add(OnlineKinds::Constant).OfConstant = 2.5;
    At(1).OfValueIndex = 7;
    Add(OnlineKinds::Equation);
    struct {
        const char* Text;
        double Want;
        const char* Said;
    } const rows[] = {{"F[1]*2+v<7>", 7.5, ""},
                      {"F[3]", Invalid, "Incorrect function index"},
                      {"F[0]", Invalid, "Incorrect function index"},
                      {"V[32]", Invalid, "Incorrect function index"},
                      {"P[3]+1", 1.0, ""},
                      {"P[32]", Invalid, "Incorrect function index"},
                      {"ICON[a]", Invalid, "Incorrect function index"},
                      {"AMPL", Invalid, "Unknown token"},
                      {"x", Invalid, "Unknown token"},
                      {"(1", Invalid, "Error brackets"}};
    for (const auto& row : rows) {
        Texts::ToField(At(2).OfEquation, row.Text);
        Data.Said.Notes.clear();
        const double got = Run({1, 1, 1})[1];
        EXPECT_TRUE(Vectors::Near(got, row.Want, 0)) << row.Text;
        if (*row.Said)
            EXPECT_NE(Data.Said.Notes.find(row.Said), std::string::npos) << Data.Said.Notes;
        else
            EXPECT_EQ(Data.Said.Notes, "");
        Data.Said.Notes.clear();
        (void)Run({1, 1, 2});
        EXPECT_EQ(Data.Said.Notes, "") << "said once";
    }
    Engine.UseAmplitude = true;
    Engine.Amplitude = 0.25;
    Texts::ToField(At(2).OfEquation, "AMPL*4");
    EXPECT_EQ(Run({1, 1, 1})[1], 1.0);
    Texts::ToField(At(2).OfEquation, "AMPL[1]");
    EXPECT_TRUE(std::isnan(Run({1, 1, 1})[1]));
    Engine.ProtocolValue = [](int index, double& value) { return (value = index * 10.0) != 0.0; };
    EquationWords::Icon = [](std::string_view item, double& value) {
        value = 5;
        return item == "a b";
    };
    Texts::ToField(At(2).OfEquation, "P[3]+ICON[a b]");
    EXPECT_EQ(Run({1, 1, 1})[1], 35.0);
    EquationWords::Icon = {};
    Texts::ToField(At(2).OfEquation, "F[1]+F[3]"); // compiled before there were three
    (void)Run({1, 1, 1});
    Add(OnlineKinds::Constant).OfConstant = 1.0;
    EXPECT_TRUE(std::isnan(Run({1, 1, 1})[1])); // of a later function
    EXPECT_EQ(Engine.Results[2], 1.0);
}

TEST_F(OnlinePass, WhatIsNotThereIsInvalidAndStopsNothing) {
    for (const int kind : {10, 10, 4, 10, 10, 28}) Add(kind);
    At(1).OfTrace = 9;
    At(2).OfLeftBound = 0.6; // no sample between
    At(2).OfRightBound = 0.6;
    At(4).OfLeftBound = 50.0; // beyond the trace
    At(4).OfRightBound = 60.0;
    At(6).OfConstant = 1.0;
    const std::vector<double> got =
        Run({1, 2, 1}); // the prepulse, which is the relevant segment, is not stored
    EXPECT_TRUE(std::isnan(got[0]) && std::isnan(got[1]) && std::isnan(got[3]) && std::isnan(got[4]));
    EXPECT_FALSE(std::isnan(got[2]));
    EXPECT_EQ(got[5], 1.0);
    At(5).OfXSegOffset = 1; // the test pulse
    EXPECT_FALSE(std::isnan(Run({1, 2, 1})[4]));
    Sweep({1, 2, 1}).SwStimCount = 99; // no stimulus at all
    const std::vector<double> without = Run({1, 2, 1});
    EXPECT_TRUE(std::isnan(without[2]) && std::isnan(without[4]));
    At(5).OfKind = OnlineKinds::TotMean;
    EXPECT_FALSE(std::isnan(Run({1, 2, 1})[4]));
}

TEST(OnlineTable, RowsAreDroppedOrWrap) {
    for (const auto& one : Vectors::Cases("online")) {
        const auto& in = one["in"];
        if (in["fn"] != "row") continue;
        const int row = OnlineResults::RowOf(in["sweep"], in["rows"], in["mode"]);
        EXPECT_EQ(row, one["out"]["row"].is_null() ? -1 : one["out"]["row"].get<int>()) << one["id"];
    }
    Setup::Settings = {};
    Setup::Settings.Online.OnlineSweeps = 2;
    Setup::Settings.Online.OnlineResults = 2;
    OnlineResults::Table table;
    ASSERT_TRUE(OnlineResults::Allocate(table));
    OnlineResults::BeginRow(table, 2);
    for (const double value : {1.0, 2.0, 3.0})
        OnlineResults::StoreResult(table, value, static_cast<int>(value) + 29);
    EXPECT_EQ(OnlineResults::RowAt(table, 1)[1], 2.0);
    EXPECT_TRUE(std::isnan(OnlineResults::RowAt(table, 0)[0]));
    EXPECT_EQ(Setup::Settings.Protocol.Values[31], 3.0); // 3.0 is kept as a value, though no column is left
    OnlineResults::BeginRow(table, 3);
    OnlineResults::StoreResult(table, 9.0, 33);
    EXPECT_EQ(OnlineResults::RowAt(table, 1)[0], 1.0); // dropped
    EXPECT_TRUE(OnlineResults::RowAt(table, 2).empty());
    Setup::Settings = {};
}

TEST_F(OnlinePass, WritesNotebookLinesAndListsAMethod) {
    Add(OnlineKinds::Constant).OfConstant = 0.0123456;
    Add(OnlineKinds::Constant).OfConstant = 2.0;
    Add(OnlineKinds::AOverB);
    Texts::ToField(At(1).OfName, "c");
    for (int i = 1; i <= 2; ++i) At(i).OfNotebook = 1;
    Texts::ToField(At(1).OfUnit, "V");
    At(3).OfArgA = 1;
    At(3).OfArgB = 4;
    At(3).OfValueIndex = 2;
    Setup::Settings.Export.ASCIISeparator = 1;
    Setup::Settings.Program.NotebookDigits = 4;
    Data.Said.Notes.clear();
    (void)Run({1, 1, 2});
    (void)Run({1, 1, 3});
    EXPECT_EQ(Data.Said.Notes, "  Sweep,c[V],Constant\n      2, 12.35m, 2.000\n      3, 12.35m, 2.000\n");
    Setup::Settings.Program.ScientUnits = true;
    Setup::Settings.Export.ASCIISeparator = 2;
    Data.Said.Notes.clear();
    (void)Run({1, 1, 2});
    EXPECT_EQ(Data.Said.Notes, "  Sweep\tc[V]\tConstant\n      2\t 1.235E-02\t 2.000E+00\n");
    EXPECT_EQ(NotebookLines::Listing(*Method())[2],
              "   3  a / b = c /  ERROR: right argument > function index!   -> V[2]");
}

}
