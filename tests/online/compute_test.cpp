// Online computing over recordings: each kind against what the samples, records and stimulus say.
#include "online/compute.h"

#include "data/traces.h"
#include "math/lane_sums.h"
#include "math/measure.h"
#include "online/equation_words.h"
#include "online/kinds.h"
#include "online/notebook_lines.h"
#include "online/online_edit.h"
#include "support/data_session.h"
#include "vectors.h"

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
    for (const int kind : {10, 11, 12, 13, 15, 16, 8, 9, 7, 76, 75, 69, 77, 10}) Add(kind).OfNoPeakFit = 1;
    for (int i = 1; i <= Tree::ChildCount(Method()); ++i) {
        At(i).OfLeftBound = i == 12 ? 0.0 : 0.1; // the whole trace
        At(i).OfRightBound = i == 12 ? 1.0 : 0.601;
    }
    At(14).OfXSegOffset = 1;
    const std::vector<double> got = Run({1, 1, 9});

    const std::vector<float> y = Samples({1, 1, 9, 1});
    SweepStimulus stimulus;
    ASSERT_TRUE(FindStimulus(Data.Session, Sweep({1, 1, 9}), 1, stimulus));
    const auto table = StimGen::SegmentTable(stimulus.SweepNumber, stimulus.Source());
    const double dx = Data.Trace({1, 1, 9, 1})->TrXInterval;
    const auto part = [&](std::size_t segment) {
        const double points = table[segment].Duration / dx;
        const auto start = static_cast<double>(table[segment].StoredFirst);
        const auto left = std::lround(start + points * 0.1);
        return std::span(y).subspan(
            static_cast<std::size_t>(left),
            static_cast<std::size_t>(static_cast<long>(start + points * 0.601 + 1e-9) - left));
    };
    const auto mean = [](std::span<const float> all) { return LaneSums::Sum(all) / double(all.size()); };
    const std::span<const float> x = part(1);
    ASSERT_GT(x.size(), 100U);
    const auto [least, most] = std::minmax_element(x.begin(), x.end());
    const double first = table[1].Duration * 0.1; // s behind the segment's start
    const double want[] = {mean(x),
                           LaneSums::Sum(x) * dx,
                           Measure::Variance(x),
                           Measure::SlopePerSample(x) / dx,
                           LaneSums::SumAbove(x) * dx,
                           -LaneSums::SumBelow(x) * dx,
                           *most,
                           *least,
                           std::fabs(*most) >= std::fabs(*least) ? *most : *least,
                           first + static_cast<double>(most - x.begin()) * dx,
                           first + static_cast<double>(least - x.begin()) * dx,
                           mean(y)};
    static constexpr const char* Units[] = {"A", "As", "A", "A/s", "As", "As", "A", "A", "A", "s", "s", "A"};
    for (std::size_t i = 0; i < std::size(want); ++i) {
        EXPECT_NEAR(got[i], want[i], 1e-9 * std::fabs(want[i])) << OnlineKinds::NameOf(At(int(i) + 1).OfKind);
        EXPECT_EQ(Texts::FromField(At(int(i) + 1).OfUnit), Units[i]) << i;
    }
    EXPECT_TRUE(Vectors::Near(got[13], mean(part(2)), 1e-9));
    EXPECT_FALSE(Data.Trace({1, 1, 9, 1})->Samples); // given back
}

TEST_F(OnlinePass, EndCorrectionAndThreshold) {
    for (const int kind : {11, 11, 77, 66}) Add(kind);
    At(2).OfArgB = 1;
    At(3).OfConstant = 5e-10;
    At(3).OfArgA = At(4).OfArgA = 3;
    At(4).OfArgB = 0; // the stimulus at the crossing
    const std::vector<double> got = Run({1, 1, 9});
    EXPECT_NE(got[0], got[1]);
    EXPECT_TRUE(got[2] > 0.0 && got[2] < 0.02);
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
    for (const std::uint8_t kind : {std::uint8_t{39}, std::uint8_t{200}}) { // an axis of graphs, none
        At(3).OfKind = kind;
        EXPECT_TRUE(std::isnan(Run({1, 1, 1})[2]));
    }
}

TEST_F(OnlinePass, EquationsReadResultsAndValues) {
    Add(OnlineKinds::Constant).OfConstant = 2.5;
    At(1).OfValueIndex = 7;
    Add(OnlineKinds::Equation);
    constexpr const char* Index = "Incorrect function index";
    struct {
        const char* Text;
        double Want;
        const char* Said;
    } const rows[] = {{"F[1]*2+v<7>+V[31]", 7.5, ""},
                      {"F[3]", Invalid, Index},
                      {"F[0]", Invalid, Index},
                      {"V[32]", Invalid, Index},
                      {"V", Invalid, Index},
                      {"V[1.5]", Invalid, Index},
                      {"P[3]+1", 1.0, ""},
                      {"P[32]", Invalid, Index},
                      {"ICON[a]", Invalid, Index},
                      {"ICON", Invalid, Index},
                      {"AMPL", Invalid, "Unknown token"}};
    for (const auto& row : rows) {
        Texts::ToField(At(2).OfEquation, row.Text);
        for (const char* const said : {row.Said, ""}) { // once
            Data.Said.Notes.clear();
            EXPECT_TRUE(Vectors::Near(Run({1, 1, 1})[1], row.Want, 0)) << row.Text;
            EXPECT_EQ(Data.Said.Notes.find(said) != std::string::npos, true) << Data.Said.Notes;
            EXPECT_EQ(Data.Said.Notes.empty(), *said == '\0') << row.Text;
        }
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
    Add(OnlineKinds::AOverB).OfArgB = 4;
    At(3).OfArgA = 1;
    At(3).OfValueIndex = 2;
    Texts::ToField(At(1).OfName, "c");
    Texts::ToField(At(1).OfUnit, "V");
    for (int i = 1; i <= 2; ++i) At(i).OfNotebook = 1;
    Setup::Settings.Program.NotebookDigits = 4;
    for (const bool scientific : {false, true}) {
        Setup::Settings.Export.ASCIISeparator = scientific ? 2 : 1;
        Setup::Settings.Program.ScientUnits = scientific;
        Data.Said.Notes.clear();
        for (const int sweep : {2, 3}) (void)Run({1, 1, sweep});
        EXPECT_EQ(Data.Said.Notes,
                  scientific ? "  Sweep\tc[V]\tConstant\n      2\t 1.235E-02\t 2.000E+00\n"
                               "      3\t 1.235E-02\t 2.000E+00\n"
                             : "  Sweep,c[V],Constant\n      2, 12.35m, 2.000\n      3, 12.35m, 2.000\n");
    }
    EXPECT_EQ(NotebookLines::Listing(*Method())[2],
              "   3  a / b = c /  ERROR: right argument > function index!   -> V[2]");
}

}
