// Fits of waves: what is read off the curve, what is derived, stored and taken back.
#include "series/curve_results.h"
#include "series/series_fit.h"
#include "series/series_result.h"
#include "support/data_session.h"
#include "support/waves.h"
#include "vectors.h"

namespace {

using nlohmann::json;

struct Bench {
    explicit Bench(SeriesFitType type = SeriesFitType::Polynomial) : Fit(Store) {
        Fit.FitType = type;
        Texts::ToField(Store.PreviewX.Unit, "V");
        Texts::ToField(Store.PreviewY.Unit, "A");
    }
    void Points(double first, double last, int count, const std::function<double(double)>& f) {
        std::vector<Support::Point> points;
        for (int i = 0; i < count; ++i) {
            const double x = first + i * (last - first) / (count - 1);
            points.push_back({x, f(x)});
        }
        Support::SetPreview(Store, points);
    }
    const FitParam& Param(const char* name) {
        return *::Fit::FindParam(SeriesFit::SelectedFit(Fit), name)->Param;
    }

    Messages::Recorder Said;
    Support::OpenStore Store;
    SeriesFit::Engine Fit;
};

bool Near(double a, double b, double relative = 1E-9) {
    return std::fabs(a - b) <= relative * std::max(1.0, std::fabs(b));
}

TEST(CurveResults, EveryCaseAgrees) {
    int cases = 0;
    for (const json& c : Vectors::Cases("simplex_fits")) {
        if (c["in"]["kind"] != "curve") continue;
        SCOPED_TRACE(c["id"].get<std::string>() + ": " + c["note"].get<std::string>());
        ++cases;
        const std::vector<double> x = c["in"]["x"], y = c["in"]["y"];
        const CurveResults::Peak peak = CurveResults::PeakOf(x, y);
        const std::pair<const char*, Fit::Result> results[] = {{"XPeak", peak.X},
                                                               {"YPeak", peak.Y},
                                                               {"XZero", CurveResults::ZeroOf(x, y)},
                                                               {"Integral", CurveResults::IntegralOf(x, y)}};
        for (const auto& [name, result] : results) {
            FitParam param;
            CurveResults::Take(param, result);
            EXPECT_PRED3(Vectors::Near, param.Value, c["out"][name][0].get<double>(), 1E-12) << name;
            EXPECT_EQ(static_cast<int>(param.State), c["out"][name][1].get<int>()) << name;
        }
    }
    EXPECT_EQ(cases, 4);
    const std::vector<double> x = {5, 6, 7, 8}, tie = {0, -2, 2, 0};
    EXPECT_EQ(CurveResults::PeakOf(x, tie).Y.Value, -2); // as large: the lowest
    EXPECT_FALSE(CurveResults::PeakOf({}, {}).X.Valid || CurveResults::ZeroOf({}, {}).Valid);
}

TEST(SeriesFit, APolynomialsPeakAndZeroFollowFromItsCoefficients) {
    constexpr double None = NAN;
    const struct {
        int Order;
        std::function<double(double)> Y;
        double XPeak, YPeak, XZero;
    } cases[] = {
        {1, [](double x) { return 2 * x - 3; }, None, None, 1.5},
        {2, [](double x) { return (x - 1) * (x - 1) - 4; }, 1, -4, 3},
        {2, [](double x) { return (x - 1) * (x - 1) + 4; }, 1, 4, None},
        {3, [](double x) { return x * x * x - 3 * x + 1; }, -1, 3, -1.879},
        {3, [](double x) { return x * x * x + x; }, None, None, 0.03}, // off the curve, laid from behind
        {0, [](double) { return -1.0; }, None, None, None},
    };
    for (const auto& c : cases) {
        Bench bench;
        bench.Fit.Records.Polynomial.Order = static_cast<std::int16_t>(c.Order);
        bench.Points(-3, 4, 30, c.Y);
        ASSERT_TRUE(SeriesFit::FitWave(bench.Fit)) << bench.Said.Alerts;
        const std::pair<const char*, double> results[] = {
            {"XPeak", c.XPeak}, {"YPeak", c.YPeak}, {"XZero", c.XZero}};
        for (const auto& [name, want] : results) {
            const FitParam& got = bench.Param(name);
            EXPECT_EQ(got.State == FitParamState::Off, std::isnan(want)) << c.Order << name;
            // What is read off the curve is as exact as its 200 points are dense.
            const bool offCurve = c.Order == 3 && std::string(name) == "XZero";
            if (std::isnan(want)) continue;
            EXPECT_NEAR(got.Value, want, offCurve ? 0.08 : 1E-8) << c.Order << name;
        }
        EXPECT_TRUE(bench.Store.FitValid);
    }
}

TEST(SeriesFit, FitsTheActiveWaveWithoutItsFlaggedPoints) {
    Bench bench(SeriesFitType::Boltzmann);
    bench.Points(-0.1, 0.02, 25, [](double x) { return 0.1 + 2 / (1 + std::exp((-0.035 - x) / 0.008)); });
    bench.Store.YPreview[7] = 1E6;
    bench.Store.PreviewSkip[7] = 1;
    ASSERT_TRUE(SeriesFit::FitWave(bench.Fit)) << bench.Said.Alerts;
    EXPECT_EQ(bench.Fit.FitDataX.size(), 24U);
    EXPECT_NEAR(bench.Param("Xhalf1").Value, -0.035, 1E-6);
    EXPECT_NEAR(bench.Param("Slope1").Value, 0.008, 1E-6);
    EXPECT_EQ(bench.Fit.FitStatus, "converged");
    EXPECT_EQ(bench.Fit.CurvePoints, 200);
    EXPECT_TRUE(Near(bench.Fit.CurveX[199], 0.02));
    // The residual is that of the best parameters, computed anew.
    double squares = 0;
    for (std::size_t i = 0; i < 24; ++i) {
        double y = 0;
        ASSERT_TRUE(Fit::Curve(SeriesFit::SelectedFit(bench.Fit), {&bench.Fit.FitDataX[i], 1}, {&y, 1}));
        squares += (bench.Fit.FitDataY[i] - y) * (bench.Fit.FitDataY[i] - y);
    }
    EXPECT_PRED3(Vectors::Near, bench.Param("Residual").Value, std::sqrt(squares / 23), 1E-12);
}

TEST(SeriesFit, BothRegressionsAreDrawnAndTheFittedLineIsTheCurve) {
    Bench bench(SeriesFitType::TwoRegressions);
    std::string drawn;
    const std::uint8_t& line = bench.Fit.Records.TwoRegressions.FirstLine;
    bench.Fit.Draw = [&](bool overlay) { drawn += (overlay ? "overlay" : "curve") + std::to_string(line); };
    bench.Points(0, 4, 5, [](double x) { return -x + 7; });
    bench.Fit.Records.TwoRegressions.FirstLine = 0;
    ASSERT_TRUE(SeriesFit::FitWave(bench.Fit));
    EXPECT_TRUE(drawn.ends_with("overlay1curve0")) << drawn;
    EXPECT_NEAR(bench.Fit.CurveY[0], 7, 1E-9);
}

TEST(SeriesFit, ARefusalLeavesNoFitOrTheOldValuesStored) {
    Support::OpenedData data(Support::Recording("plain.dat"), OpenMode::Analysis);
    GetRelatives(data.Session, data.Find({1, 1}));
    Bench bench;
    bench.Fit.Session = &data.Session;
    bench.Fit.Records.Polynomial.Order = 1;
    bench.Points(0, 1, 2, [](double x) { return x; });
    EXPECT_TRUE(SeriesFit::FitWave(bench.Fit));
    EXPECT_NEAR(bench.Param("Residual").Value, 0, 1E-12); // divided by 1
    bench.Store.PreviewSkip[0] = 1;
    EXPECT_FALSE(SeriesFit::FitWave(bench.Fit) || bench.Store.FitValid);
    bench.Store.PreviewSkip[0] = 0;
    bench.Fit.Records.Polynomial.Order = 12;
    EXPECT_FALSE(SeriesFit::FitWave(bench.Fit));
    EXPECT_EQ(bench.Said.Alerts,
              "Insufficient data in fit wave\n Order of polynomial too small or too big \n");
    EXPECT_TRUE(bench.Store.FitValid);
    EXPECT_EQ(data.Session.CurASeries->ResultValues[0].Value, 12);
}

TEST(SeriesFit, ExponentialsTakeTheirResultsOffTheCurve) {
    Bench bench(SeriesFitType::Exponential);
    bench.Points(0, 0.01, 50, [](double x) { return 2 - 5 * std::exp(-x / 0.002); });
    ASSERT_TRUE(SeriesFit::FitWave(bench.Fit)) << bench.Said.Alerts;
    EXPECT_NEAR(bench.Param("YZero").Value, -3, 1E-5);
    EXPECT_NEAR(bench.Param("XZero").Value, 0.002 * std::log(2.5), 1E-4);
    EXPECT_NEAR(bench.Param("Integral").Value, 0.02 - 0.01 * (1 - std::exp(-5)), 1E-6);
}

TEST(SeriesFit, ShowFitShowsTheValuesAsTheyStand) {
    Bench bench(SeriesFitType::DoseResponse);
    bench.Points(0.1, 10, 20, [](double x) { return 1 / (1 + x); });
    bench.Fit.Records.DoseResponse.Amp.Value = 3;
    EXPECT_TRUE(SeriesFit::ShowFit(bench.Fit));
    EXPECT_EQ(bench.Param("Amp").Value, 3);
    EXPECT_EQ(bench.Param("Residual").Value, 0);
    bench.Fit.ManualFit = true;
    EXPECT_TRUE(SeriesFit::ShowFit(bench.Fit));
    EXPECT_GT(bench.Param("Residual").Value, 0.1);
    // The curve over the points that count only.
    Setup::Settings.FitParams.FitResultRange = 1;
    Setup::Settings.FitParams.FitResultPoints = 10;
    bench.Store.PreviewSkip[0] = 1;
    EXPECT_TRUE(SeriesFit::ShowFit(bench.Fit));
    EXPECT_EQ(bench.Fit.CurvePoints, 10);
    EXPECT_EQ(bench.Fit.CurveX[0], bench.Store.XPreview[1]);
}

TEST(SeriesFit, RecordsAreSavedAndRestoredTypeByType) {
    Bench bench(SeriesFitType::Boltzmann);
    Fit::SeriesRecords& records = bench.Fit.Records;
    records.Boltzmann.Terms[0].Power = 4;
    SeriesFit::SaveFitFunc(bench.Fit);
    SeriesFit::InitFitFunc(bench.Fit);
    EXPECT_EQ(records.Boltzmann.Terms[0].Power, 1);
    SeriesFit::LoadFitFunc(bench.Fit);
    EXPECT_EQ(records.Boltzmann.Terms[0].Power, 4);
    // The two exponentials share a record, each with a copy of its own.
    for (const auto& [type, value] :
         {std::pair{SeriesFitType::Exponential, 1.0}, {SeriesFitType::OneExponential, 2.0}}) {
        bench.Fit.FitType = type;
        records.Exponential.Amp0.Value = value;
        SeriesFit::SaveFitFunc(bench.Fit);
    }
    bench.Fit.FitType = SeriesFitType::Exponential;
    SeriesFit::LoadFitFunc(bench.Fit);
    EXPECT_EQ(records.Exponential.Amp0.Value, 1);
    EXPECT_EQ(records.Exponential.Rising, 0);
}

// All values different, so that rows that change places show.
void Number(const Fit::Selected& selected) {
    double value = 10;
    for (const Fit::ParamEntry& entry : Fit::Params(selected)) {
        entry.Param->Value = value += 1.5;
        entry.Param->State = static_cast<FitParamState>(static_cast<int>(value) % 3);
        entry.Param->Store = static_cast<std::uint8_t>(static_cast<int>(value) % 2);
    }
    for (const Fit::SettingEntry& setting : Fit::Settings(selected))
        (void)Fit::SetByName(selected, setting.Name, setting.Name == "Order" ? 7 : 1);
}

TEST(SeriesResult, GoesIntoTheAnalysisFileAndBack) {
    for (int type = 0; type < SeriesFitTypes; ++type) {
        SCOPED_TRACE(type);
        if (type == static_cast<int>(SeriesFitType::ParsedEquation)) continue; // has no result of its own
        Tree::Handle* tree = AnalysisTree::Define("Test.HE");
        void* const root = Tree::Append(tree, nullptr);
        auto* series = static_cast<AnalysisSeries*>(Tree::Append(tree, Tree::Append(tree, root)));
        std::vector<SeriesFit::ResultRow> rows;
        {
            Bench bench(static_cast<SeriesFitType>(type));
            Number(SeriesFit::SelectedFit(bench.Fit));
            rows = SeriesFit::ResultRows(bench.Fit);
            SeriesFit::StoreResult(bench.Fit, *series);
        }
        if (type == static_cast<int>(SeriesFitType::Boltzmann)) {
            EXPECT_EQ(Texts::FromField(series->ResultNames[1]), "n1");
            EXPECT_EQ(Texts::FromField(series->ResultNames[9]), "Residual");
        }
        const Support::TempFolder folder;
        ASSERT_EQ(Tree::Store(folder.At("a.ana"), tree, true), 0);
        Tree::FileInfo info;
        ASSERT_EQ(Tree::Load(folder.At("a.ana"), tree, info), 0);
        series = static_cast<AnalysisSeries*>(Tree::Child(Tree::Child(Tree::Root(tree), 1), 1));
        Bench other;
        ASSERT_TRUE(SeriesFit::GetResults(other.Fit, series)) << other.Said.Alerts;
        EXPECT_EQ(static_cast<int>(other.Fit.FitType), type);
        const std::vector<SeriesFit::ResultRow> back = SeriesFit::ResultRows(other.Fit);
        ASSERT_EQ(back.size(), rows.size());
        for (std::size_t i = 0; i < rows.size(); ++i) {
            EXPECT_EQ(back[i].Value.Value, rows[i].Value.Value) << rows[i].Name;
            EXPECT_EQ(back[i].Value.State, rows[i].Value.State) << rows[i].Name;
            EXPECT_EQ(back[i].Value.Store, rows[i].Value.Store) << rows[i].Name;
        }
        Tree::Dispose(tree);
    }
}

TEST(SeriesResult, WhatCannotBeTakenBackLeavesTheRecords) {
    Bench bench(SeriesFitType::Boltzmann);
    AnalysisSeries series{};
    EXPECT_FALSE(SeriesFit::GetResults(bench.Fit, nullptr));
    EXPECT_FALSE(SeriesFit::GetResults(bench.Fit, &series)); // never stored
    SeriesFit::StoreResult(bench.Fit, series);
    series.ResultValues[1].Value = 1E9; // a power that no record can hold
    series.ResultValues[0].Value = 5;
    EXPECT_FALSE(SeriesFit::GetResults(bench.Fit, &series));
    series.FitType = 11;
    EXPECT_FALSE(SeriesFit::GetResults(bench.Fit, &series));
    EXPECT_TRUE(bench.Param("Offset").Value == 0 && bench.Fit.FitType == SeriesFitType::Boltzmann);
    series.FitType = static_cast<std::int16_t>(SeriesFitType::Boltzmann);
    series.ResultValues[1].Value = 2;
    series.ResultValues[2].State = static_cast<FitParamState>(77);
    EXPECT_TRUE(SeriesFit::GetResults(bench.Fit, &series));
    EXPECT_EQ(bench.Param("Amp1").State, FitParamState::Off);
}

}
