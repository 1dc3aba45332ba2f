// Derived results, reduction, and the contents of the records by name.
#include "fit/fit.h"
#include "support/testing.h"

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

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

TEST(Derived, PeakAndZeroOfACurve) {
    const struct {
        std::vector<double> Y;
        double XPeak, XZero;
    } cases[] = {{{1, -4, 4, 2}, 10.5, 10.1}, {{0, 1, 2}, 11, 10}, {{3, 1, 0, 2}, 10, 11}}; // touching counts
    for (const auto& c : cases) {
        const Fit::GridResults got = Fit::DeriveFromValues(c.Y, {c.Y.size(), 0.5, 10.0});
        EXPECT_TRUE(got.XPeak.Value == c.XPeak && got.XZero.Value == c.XZero) << c.XPeak;
    }
    EXPECT_FALSE(Fit::DeriveFromValues(std::vector{5.0}, {1, 0.5, 10.0}).Integral.Valid);
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

}
