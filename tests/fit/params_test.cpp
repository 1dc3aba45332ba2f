// Derived results, reduction, and the contents of the records by name.
#include "fit/fit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

TEST(Params, EveryNameReachesACellOfItsOwn) {
    Fit::SweepRecords sweep = Fit::DefaultSweepRecords();
    Fit::SeriesRecords series = Fit::DefaultSeriesRecords();
    int types = 0;
    for (int i = 0; i < SweepFitTypes + SeriesFitTypes; ++i) {
        const Fit::Selected selected =
            i < SweepFitTypes ? Fit::Select(sweep, static_cast<SweepFitType>(i))
                              : Fit::Select(series, static_cast<SeriesFitType>(i - SweepFitTypes));
        if (!selected) continue;
        ++types;
        std::set<const void*> cells;
        const auto params = Fit::Params(selected);
        for (const auto& entry : params) {
            EXPECT_TRUE(cells.insert(entry.Param).second) << entry.Name;
            EXPECT_EQ(Fit::FindParam(selected, entry.Name)->Param, entry.Param) << entry.Name;
            EXPECT_EQ(Fit::FindParam(selected, entry.Column).has_value(), !entry.Column.empty());
            const auto bySymbol = Fit::FindParam(selected, entry.Symbol);
            EXPECT_EQ(bySymbol.has_value(), !entry.Symbol.empty());
            EXPECT_TRUE(!bySymbol || bySymbol->Param == entry.Param) << entry.Symbol;
        }
        for (const auto& setting : Fit::Settings(selected)) {
            const bool real = setting.Kind == Fit::SettingKind::Real64;
            EXPECT_EQ(Fit::SetByName(selected, setting.Name, 1.5), real) << setting.Name;
            EXPECT_TRUE(Fit::SetByName(selected, setting.Name, 1.0)) << setting.Name;
        }
        for (const auto& setting : Fit::Settings(selected)) EXPECT_EQ(setting.Value, 1.0) << setting.Name;
    }
    EXPECT_EQ(types, 13 + 11);
}

TEST(Params, SettingByNameTakesWhatFitsAndLeavesTheRest) {
    Fit::SweepRecords records = Fit::DefaultSweepRecords();
    const Fit::Selected hh = Fit::Select(records, SweepFitType::HodgkinHuxley);
    EXPECT_TRUE(Fit::SetByName(hh, "taum", 0.002, FitParamState::Hold));
    EXPECT_EQ(records.HodgkinHuxley.TauM.Value, 0.002);
    EXPECT_EQ(records.HodgkinHuxley.TauM.State, FitParamState::Hold);
    EXPECT_TRUE(Fit::SetByName(hh, "a1/a1+a2", 0.5));
    EXPECT_EQ(records.HodgkinHuxley.Ratio12.State, FitParamState::Off);
    EXPECT_TRUE(Fit::SetByName(hh, "POWERM", 3.0));
    EXPECT_EQ(records.HodgkinHuxley.PowerM, 3);
    for (const char* const name : {"TauX", ""}) EXPECT_FALSE(Fit::SetByName(hh, name, 1.0)) << name;
    for (const double value : {NaN, HUGE_VAL}) EXPECT_FALSE(Fit::SetByName(hh, "TauM", value));
    for (const double value : {2.5, 40000.0, -40000.0, NaN})
        EXPECT_FALSE(Fit::SetByName(hh, "PowerM", value)) << value;
    EXPECT_FALSE(Fit::SetByName(hh, "PowerM", 2, FitParamState::Fit));
    EXPECT_EQ(records.HodgkinHuxley.PowerM, 3);

    // Fields of the Gaussian count from 1 and columns from 0: the exact spelling decides.
    const Fit::Selected gauss = Fit::Select(records, SweepFitType::Gaussian);
    EXPECT_TRUE(Fit::SetByName(gauss, "Amp2", 22.0) && Fit::SetByName(gauss, "amp2", 33.0));
    EXPECT_EQ(records.Gaussian.Terms[1].Amp.Value, 22.0);
    EXPECT_EQ(records.Gaussian.Terms[2].Amp.Value, 33.0);
    Fit::Init(Fit::Select(records, SweepFitType::OneExponential));
    EXPECT_EQ(records.Exponential.Rising, 1); // the direction is the type's
}

TEST(Derived, FindsPeakZeroAndIntegralOfACurve) {
    const struct {
        std::vector<double> Y;
        double XPeak, YPeak;
        std::optional<double> XZero, Integral;
    } cases[] = {
        {{1, -4, 4, 2}, 10.5, -4, 10.1, 1.5},                               // equal excursions: the first
        {{0, 1, 2}, 11, 2, 10, 1.5},          {{3, 1, 0, 2}, 10, 3, 11, 3}, // touching counts
        {{-2, -1, -3}, 11, -3, {}, -3},       {{5}, 10, 5, {}, {}},
    };
    for (const auto& c : cases) {
        const Fit::GridResults got = Fit::DeriveFromValues(c.Y, {c.Y.size(), 0.5, 10.0});
        EXPECT_EQ(got.XPeak.Value, c.XPeak);
        EXPECT_EQ(got.YPeak.Value, c.YPeak);
        for (const auto& [result, wanted] : {std::pair{got.XZero, c.XZero}, {got.Integral, c.Integral}}) {
            EXPECT_EQ(result.Valid, wanted.has_value());
            EXPECT_EQ(result.Value, wanted.value_or(0.0));
        }
    }
    EXPECT_FALSE(Fit::DeriveFromValues(std::vector{NaN, NaN}, {2, 0.5, 10.0}).XZero.Valid);
}

TEST(Derived, TheGridIsWalkedInBlocksWithoutASeam) {
    Fit::SweepRecords records = Fit::DefaultSweepRecords();
    const Fit::Selected selected = Fit::Select(records, SweepFitType::Exponential);
    records.Exponential.Amp0.Value = -1.0;
    records.Exponential.Terms[0].Amp.Value = 2.0;
    records.Exponential.Terms[0].Tau.Value = 1.0;
    Fit::FitFunction function;
    function.Model = selected.Model;
    function.Record = selected.Record;
    for (const std::size_t points : {1, 255, 256, 257, 1000}) {
        const Fit::Grid grid = {points, 0.01, 0.1};
        std::vector<double> x(points), y(points);
        for (std::size_t i = 0; i < points; ++i) x[i] = grid.At(i);
        ASSERT_TRUE(Fit::Curve(selected, x, y));
        const Fit::GridResults whole = Fit::DeriveFromValues(y, grid),
                               blocks = Fit::DeriveOnGrid(function, grid);
        EXPECT_EQ(blocks.Integral.Value, whole.Integral.Value);
        EXPECT_EQ(blocks.XZero.Value, whole.XZero.Value);
        EXPECT_EQ(blocks.XPeak.Value, whole.XPeak.Value);
    }
}

TEST(Reduction, NeverLeavesTheDataHoweverOddTheNumbers) {
    for (const std::size_t points : {0, 1, 2, 3, 4, 5, 17, 1001, 65537})
        for (const std::size_t limit : {0, 1, 2, 3, 4, 16, 1000, 65536}) {
            const std::vector<std::size_t> indices = Reduction::Indices(points, limit);
            ASSERT_LE(indices.size(), std::max<std::size_t>(limit, 2));
            for (std::size_t i = 0; i < indices.size(); ++i)
                ASSERT_TRUE(indices[i] < points && indices[i] >= i) << points << " " << limit;
        }
}

TEST(Polynomial, SwitchesResultsOffThatDoNotExist) {
    const std::vector<double> x = {0, 1, 2, 3, 4, 5}, y = {-5, -3, -1, 1, 3, 5};
    for (const int order : {0, 1, 2}) {
        Fit::SweepRecords records = Fit::DefaultSweepRecords();
        Fit::FitControl control;
        records.Polynomial.Order = static_cast<std::int16_t>(order);
        const Fit::Selected selected = Fit::Select(records, SweepFitType::Polynomial);
        ASSERT_TRUE(Fit::Run(selected, {x, y, {6, 1.0, 0.0}, "s", "A"}, control).Ok);
        EXPECT_EQ(records.Polynomial.XPeak.State == FitParamState::Fit, order >= 2);
        EXPECT_EQ(records.Polynomial.XZero.State == FitParamState::Fit, order >= 1);
        EXPECT_NEAR(records.Polynomial.XZero.Value, order >= 1 ? 2.5 : 0.0, 1E-9);
    }
}

}
