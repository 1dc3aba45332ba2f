// The models against their formulas, and the tables against a single point.
#include "fit/fit.h"
#include "math/matrix_inverse.h"
#include "math/vector_exp.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

namespace {

std::uint64_t Bits(double value) {
    return std::bit_cast<std::uint64_t>(value);
}

struct Configuration {
    const char* Note;
    int Type; // SweepFitType below 20, behind that SeriesFitType
    std::vector<std::pair<const char*, double>> Values;
    std::vector<std::pair<const char*, FitParamState>> States;
};
constexpr int Series = 20;
constexpr FitParamState Free = FitParamState::Fit, Held = FitParamState::Hold, Off = FitParamState::Off;

int Of(SweepFitType type) {
    return static_cast<int>(type);
}
int Of(SeriesFitType type) {
    return Series + static_cast<int>(type);
}

const std::vector<Configuration>& Configurations() {
    static const std::vector<Configuration> setups = {
        {"offset and two terms",
         Of(SweepFitType::Exponential),
         {{"Tau1", 0.7}, {"Tau2", 3.1}},
         {{"Amp2", Free}}},
        {"one held",
         Of(SweepFitType::Exponential),
         {{"Tau1", 0.7}, {"Amp2", 2.5}},
         {{"Amp2", Held}, {"Tau2", Held}}},
        {"rising, no offset", Of(SweepFitType::OneExponential), {{"Tau1", 0.7}}, {{"Amp0", Off}}},
        {"tau of 0", Of(SweepFitType::Exponential), {{"Tau1", 0.0}}, {{"Tau1", Held}}},
        {"gate, two taus",
         Of(SweepFitType::HodgkinHuxley),
         {{"PowerM", 3},
          {"PowerH", 2},
          {"TauM", 0.4},
          {"TauH", 1.1},
          {"TauH2", 5.0},
          {"Ratio12", 0.6},
          {"Hinf", 0.2},
          {"Delay", 0.25},
          {"Qon", 0.3}},
         {{"TauH2", Free}, {"Ratio12", Free}, {"Delay", Free}, {"Qon", Free}}},
        {"neither gate", Of(SweepFitType::HodgkinHuxley), {{"PowerM", 0}, {"PowerH", 0}}, {}},
        {"three bells",
         Of(SweepFitType::Gaussian),
         {{"Mean1", 0.5}, {"Sigma1", 0.4}, {"Mean2", 1.5}, {"Sigma2", 0.0}, {"Mean3", 2.0}, {"Sigma3", 0.3}},
         {{"Amp2", Held}, {"Amp3", Free}}},
        {"two powers",
         Of(SeriesFitType::GenExponential),
         {{"X0", 0.3}, {"Tau1", 0.9}, {"Power1", 2.5}, {"Tau2", 2.0}, {"Rising2", 0}, {"Amp2", 0.5}},
         {{"X0", Free}, {"Amp2", Held}}},
        {"two steps",
         Of(SeriesFitType::Boltzmann),
         {{"Xhalf1", 0.5}, {"Slope1", 0.2}, {"Power1", 3}, {"Xhalf2", 2.0}, {"Slope2", -0.4}},
         {{"Amp2", Free}}},
        {"held step",
         Of(SeriesFitType::Boltzmann),
         {{"Xhalf1", 0.5}, {"Slope1", 0.2}, {"Amp2", 0.7}},
         {{"Amp2", Held}}},
        {"dose", Of(SeriesFitType::DoseResponse), {{"KD", 1.3}, {"Hill", 1.7}}, {}},
        {"ohmic, both blocks",
         Of(SeriesFitType::CurrentVoltage),
         {{"Vhalf", 0.3}, {"Slope", 0.4}, {"PBlVh", 2.0}, {"PBlSl", 0.5}, {"NBlVh", 0.1}, {"NBlSl", 0.3}},
         {{"PBlVh", Free}, {"NBlVh", Free}}},
        {"GHK", Of(SeriesFitType::CurrentVoltage), {{"GHK", 1}, {"Power", 1}, {"Erev", 0.4}}, {}},
        {"all terms",
         Of(SeriesFitType::PowerSpectrum),
         {{"Fc1", 0.4}, {"Fc2", 1.4}, {"Fc3", 0.9}},
         {{"S2", Free}, {"S3", Free}}},
    };
    return setups;
}

struct Prepared {
    Fit::SweepRecords Sweep = Fit::DefaultSweepRecords();
    Fit::SeriesRecords Records = Fit::DefaultSeriesRecords();
    Fit::Selected Selected;
    Fit::FitRun Run;
    std::vector<double> X, Y;

    explicit Prepared(const Configuration& setup) {
        Selected = setup.Type < Series
                       ? Fit::Select(Sweep, static_cast<SweepFitType>(setup.Type))
                       : Fit::Select(Records, static_cast<SeriesFitType>(setup.Type - Series));
        for (const auto& [name, value] : setup.Values)
            EXPECT_TRUE(Fit::SetByName(Selected, name, value)) << name;
        for (const auto& [name, state] : setup.States) Fit::FindParam(Selected, name)->Param->State = state;
        for (int i = 0; i < 301; ++i) {
            X.push_back(i * 0.01);
            Y.push_back(std::sin(i * 0.37) + 0.01 * i);
        }
        Run.X = X;
        Run.Y = Y;
        Run.Function.Model = Selected.Model;
        Run.Function.Record = Selected.Record;
        EXPECT_TRUE(Selected.Model->ModelSetup(Selected.Record, Run.Function));
        EXPECT_TRUE(Fit::Prepare(Run));
        Fit::Tabulate(Run);
    }
};

// The value of a column of the model at one x, as if nothing had been tabulated before.
struct Single {
    double Cells[Fit::MaxColumns] = {1.0};
    double FixedPart = 0.0;

    Single(const Fit::FitFunction& function, double x) {
        Fit::Tables tables;
        tables.X = {&x, 1};
        for (int i = 0; i < Fit::MaxColumns; ++i) tables.Column[i] = &Cells[i];
        tables.FixedPart = &FixedPart;
        function.Model->Tabulate(function, tables);
    }
};

TEST(Models, TheLinearStepAgreesBitForBitWithEvaluatingEachPointAfresh) {
    for (const Configuration& setup : Configurations()) {
        SCOPED_TRACE(setup.Note);
        Prepared p(setup);
        const Fit::FitFunction& function = p.Run.Function;
        const int m = function.LinearCount;
        MatrixInverse::Matrix a = {};
        double r[Fit::MaxLinear] = {};
        for (int i = 0; i < m; ++i)
            for (std::size_t k = 0; k < p.X.size(); ++k) {
                const Single at(function, p.X[k]);
                const double b = at.Cells[function.Basis[i]];
                r[i] += (p.Y[k] - (function.HasFixedPart ? at.FixedPart : 0.0)) * b;
                for (int j = 0; j < m; ++j) a[i][j] += at.Cells[function.Basis[j]] * b;
            }
        MatrixInverse::Invert(a, a, m);
        Fit::SolveLinear(p.Run);
        for (int i = 0; i < m; ++i) {
            double amplitude = 0.0;
            for (int j = 0; j < m; ++j) amplitude += r[j] * a[i][j];
            EXPECT_EQ(Bits(*function.Target[i]), Bits(amplitude)) << i;
        }
        double sum = 0.0;
        for (std::size_t k = 0; k < p.X.size(); ++k) {
            const double deviation = p.Y[k] - Fit::ModelValue(function, p.X[k]);
            sum += deviation * deviation;
        }
        EXPECT_EQ(Bits(Fit::ComputeResidual(p.Run)),
                  Bits(std::sqrt(sum / (static_cast<double>(p.X.size()) - 1.0))));
    }
}

// With all amplitudes solved, fixed part plus amplitudes times basis is the model, whatever the rounding.
TEST(Models, FixedPartAndBasisFunctionsAddUpToTheModel) {
    for (const Configuration& setup : Configurations()) {
        SCOPED_TRACE(setup.Note);
        Prepared p(setup);
        Fit::SolveLinear(p.Run);
        const Fit::FitFunction& function = p.Run.Function;
        if (function.LinearCount == 0) continue;
        for (const double x : p.X) {
            const Single at(function, x);
            double sum = function.HasFixedPart ? at.FixedPart : 0.0, size = std::fabs(sum);
            for (int i = 0; i < function.LinearCount; ++i) {
                const double part = *function.Target[i] * at.Cells[function.Basis[i]];
                sum += part;
                size += std::fabs(part);
            }
            ASSERT_NEAR(Fit::ModelValue(function, x), sum, 1E-14 * size + 1E-300) << x;
        }
    }
}

double Formula(const Configuration& setup, Prepared& p, double x) {
    const auto value = [&](const char* name) { return Fit::FindParam(p.Selected, name)->Param->Value; };
    const std::string note = setup.Note;
    if (note == "offset and two terms")
        return value("Amp0") + value("Amp1") * std::exp(-x / 0.7) + value("Amp2") * std::exp(-x / 3.1);
    if (note == "rising, no offset") return value("Amp1") * (1 - std::exp(-x / 0.7));
    if (note == "tau of 0") return value("Amp0");
    if (note == "gate, two taus") {
        const double t = x - 0.25, e = std::exp(-t / 0.4);
        const double h = (0.6 * std::exp(-t / 1.1) + 0.4 * std::exp(-t / 5.0)) * 0.8 + 0.2;
        return t < 0 ? 0.0 : e * 0.3 / 0.4 + value("I0") * std::pow(1 - e, 3) * h * h;
    }
    if (note == "neither gate") return value("I0");
    if (note == "three bells")
        return value("Amp1") * std::exp(-std::pow(x - 0.5, 2) / (2 * 0.16)) +
               value("Amp3") * std::exp(-std::pow(x - 2.0, 2) / (2 * 0.09));
    if (note == "two powers") {
        const double t = x - 0.3;
        return value("Amp0") +
               (t <= 0 ? 0.0 : -std::pow(1 - std::exp(-t / 0.9), 2.5) + 0.5 * std::exp(-t / 2.0));
    }
    if (note == "two steps")
        return value("Offset") + value("Amp1") / std::pow(1 + std::exp((0.5 - x) / 0.2), 3) +
               value("Amp2") / (1 + std::exp((2.0 - x) / -0.4));
    if (note == "dose") return value("Offset") + value("Amp") / (1 + std::pow(x / 1.3, 1.7));
    if (note == "ohmic, both blocks")
        return value("Cond") * (x - 0.05) / std::pow(1 + std::exp(-(x - 0.3) / 0.4), 3) /
               (1 + std::exp((x - 2.0) / 0.5)) / (1 + std::exp(-(x - 0.1) / 0.3));
    if (note == "GHK") {
        const double k = 0.02558, drive = 1 - std::exp(-(x - 0.4) / k);
        const double open = x == 0 ? k * drive : x * drive / (1 - std::exp(-x / k));
        return value("Cond") * open / (1 + std::exp(-(x + 0.04) / 0.01));
    }
    if (note == "all terms")
        return value("Sinf") + value("S1") / (1 + std::pow(x / 0.4, 2)) +
               value("S2") / (1 + std::pow(x / 1.4, 2)) + value("S3") / (1 + x / 0.9);
    return std::nan("");
}

TEST(Models, FollowTheirFormulas) {
    int checked = 0;
    for (const Configuration& setup : Configurations()) {
        SCOPED_TRACE(setup.Note);
        Prepared p(setup);
        Fit::SolveLinear(p.Run);
        if (std::isnan(Formula(setup, p, 1.0))) continue;
        ++checked;
        for (const double x : p.X) {
            const double want = Formula(setup, p, x);
            ASSERT_NEAR(Fit::ModelValue(p.Run.Function, x), want, 1E-12 * (1 + std::fabs(want))) << x;
        }
    }
    EXPECT_EQ(checked, 12);
}

TEST(Models, SetupCorrectsTheStatesOfTheRecord) {
    Fit::SweepRecords sweep = Fit::DefaultSweepRecords();
    Fit::SeriesRecords series = Fit::DefaultSeriesRecords();
    const auto setUp = [](const Fit::Selected& selected) {
        Fit::FitFunction function;
        return selected.Model->ModelSetup(selected.Record, function) ? function.NonlinearCount : -1;
    };
    Fit::ExpRecord& exponential = sweep.Exponential;
    exponential.Terms[1].Tau.Value = 0.25;
    EXPECT_EQ(setUp(Fit::Select(sweep, SweepFitType::Exponential)), 1);
    EXPECT_EQ(exponential.Terms[1].Tau.State, Held);
    EXPECT_EQ(exponential.Terms[1].Tau.Value, 0.25);

    Fit::HHRecord& hh = sweep.HodgkinHuxley;
    const Fit::Selected hhFit = Fit::Select(sweep, SweepFitType::HodgkinHuxley);
    hh.TauM.State = Off;
    hh.TauH.State = Off;
    EXPECT_EQ(setUp(hhFit), 0);
    EXPECT_EQ(hh.PowerM + hh.PowerH, 0);
    EXPECT_EQ(hh.Qon.State, Off);
    EXPECT_EQ(hh.Qon.Value, 0.0);
    EXPECT_EQ(hh.Hinf.State, Off);
    EXPECT_EQ(hh.Ratio12.Value, 1.0);
    const auto refuses = [&](auto spoil) {
        Fit::Init(hhFit);
        spoil();
        return setUp(hhFit) < 0;
    };
    EXPECT_TRUE(refuses([&] { hh.PowerH = -1; }));
    EXPECT_TRUE(refuses([&] { hh.TauM.Value = -1.0; }));
    EXPECT_TRUE(refuses([&] { hh.I0.State = Off; }));
    EXPECT_TRUE(refuses([&] { hh.TauH2 = Fit::Param(-1.0); }));
    EXPECT_FALSE(refuses([&] { hh.TauH2 = Fit::OffParam(-1.0); }));
    EXPECT_FALSE(refuses([&] { hh.PowerH = 0, hh.TauH.Value = -1.0; }));

    series.CurrentVoltage.NBlVh.State = Off;
    series.CurrentVoltage.NBlSl.State = Free;
    EXPECT_EQ(setUp(Fit::Select(series, SeriesFitType::CurrentVoltage)), 3);
    EXPECT_EQ(series.CurrentVoltage.NBlSl.State, Off);
    EXPECT_EQ(setUp(Fit::Select(series, SeriesFitType::Boltzmann)), 2);
    EXPECT_EQ(setUp(Fit::Select(series, SeriesFitType::DoseResponse)), 2);
}

}
