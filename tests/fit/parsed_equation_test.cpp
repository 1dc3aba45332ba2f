#include "base/text.h"
#include "fit/formula.h"
#include "fit/parsed_equation.h"
#include "support/fit_records.h"
#include "vectors.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

using nlohmann::json;

namespace {

Fit::ParsedRecord RecordOf(const json& in) {
    Fit::ParsedRecord record;
    Texts::ToField(record.Equation, in["text"].get<std::string>());
    for (std::size_t i = 0; i < Fit::ParsedCoeffs; ++i) {
        if (in.contains("c")) record.Coeffs[i].Value = in["c"][i];
        record.Coeffs[i].State = static_cast<FitParamState>(in["states"][i].get<int>());
    }
    return record;
}

json StatesOf(const Fit::ParsedRecord& record) {
    json states;
    for (const FitParam& coeff : record.Coeffs) states.push_back(static_cast<int>(coeff.State));
    return states;
}

struct Curve {
    std::vector<double> X, Y;
};

// A rise behind a baseline, as the default equation describes it.
Curve Rise(double baseline, double amplitude, double tau) {
    Curve curve;
    for (int i = -50; i < 450; ++i) {
        const double x = i * 1E-4;
        curve.X.push_back(x);
        curve.Y.push_back(x <= 0 ? baseline : baseline + amplitude * (1 - std::exp(-x / tau)));
    }
    return curve;
}

}

TEST(ParsedEquation, ChecksAndStatesAgree) {
    int cases = 0;
    for (const json& c : Vectors::Cases("ranged")) {
        const json &in = c["in"], &out = c["out"];
        if (in["kind"] == "ranged") continue;
        SCOPED_TRACE(c["id"].get<std::string>());
        ++cases;
        Fit::ParsedRecord record = RecordOf(in);
        if (in["kind"] == "states") {
            Fit::NormaliseStates(record);
        } else {
            Equation::Error error;
            EXPECT_EQ(Fit::PreparseEquation(&record, error), out["ok"].get<bool>());
            EXPECT_EQ(error.Message, out.value("message", ""));
            EXPECT_EQ(error.Position, out.value("pos", Equation::NoPosition));
        }
        EXPECT_EQ(StatesOf(record), out["states"]);
    }
    EXPECT_GT(cases, 8);
}

TEST(ParsedEquation, WhatTheCheckRefusesHasAPlace) {
    const struct {
        const char* Text;
        const char* Message;
    } cases[] = {
        {"(c[1]", "error preparsing at pos. 5"},
        {"c[1] {1", "error in {range} at pos. 5"},
        {"c[1] {x} 2", "error in {range} at pos. 5"},
        {"c[1] { } 2", "error in {range} at pos. 5"},
        {"c[1] {1} c[2] {1} 3", "error in range order at pos. 1"},
        {"c[1] {0} c[1]+* x", "Error parsing at pos. 14"}, // a place of the whole text
        {"c[1] {0} } 2", "Unknown token at pos. 10"},
        {"ampl", "Unknown token at pos. 4"},
        {"v[32]", "Incorrect function index at pos. 5"},
    };
    for (const auto& one : cases) {
        Fit::ParsedRecord record;
        Texts::ToField(record.Equation, one.Text);
        Equation::Error error;
        EXPECT_FALSE(Fit::PreparseEquation(&record, error)) << one.Text;
        EXPECT_EQ(Fit::PreparseMessage(error), one.Message);
        // Nor does it fit, and then the record stays as it was.
        Support::FitRecords records;
        record.Coeffs[8].State = FitParamState::Hold;
        records.Sweep.Parsed = record;
        const std::vector<double> data = {1, 2, 3};
        Fit::FitControl control;
        const Fit::Outcome outcome =
            Fit::Run(records.Select("Parsed Equation", true), {data, data, {}, {}, {}}, control);
        EXPECT_FALSE(outcome.Ok);
        EXPECT_EQ(outcome.Message, " Error during initialization of ParsedFit ");
        EXPECT_EQ(StatesOf(records.Sweep.Parsed), StatesOf(record));
    }
    Equation::Error error;
    EXPECT_FALSE(Fit::PreparseEquation(nullptr, error));
    EXPECT_EQ(Fit::PreparseMessage(error), "Illegal fit record");
}

TEST(ParsedEquation, AFitFindsWhatMadeTheDataAndNamesItsColumnsAsTheUserDoes) {
    Support::FitRecords records;
    const Fit::Selected parsed = records.Select("Parsed Equation", true);
    const Curve data = Rise(-2E-11, 3E-9, 4E-3);
    Fit::FitControl control;
    control.MaxIterations = 1000;
    const Fit::Grid grid = {data.X.size(), 1E-4, data.X.front()};
    ASSERT_TRUE(Fit::Run(parsed, {data.X, data.Y, grid, "s", "A"}, control).Ok);
    const double want[] = {-2E-11, 3E-9, 4E-3};
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_NEAR(records.Sweep.Parsed.Coeffs[i].Value, want[i], 1E-4 * std::fabs(want[i]));
    double sum = 0.0;
    for (const double y : data.Y) sum += y * 1E-4;
    EXPECT_NEAR(records.Sweep.Parsed.Integral.Value, sum, 1E-6 * sum);
    EXPECT_EQ(records.Sweep.Parsed.Coeffs[3].State, FitParamState::Off);

    const auto names = [](const Fit::Selected& selected) {
        std::string text;
        for (const Fit::ParamEntry& entry : Fit::Params(selected))
            text.append(entry.Column.empty() ? "-" : entry.Column).append(" ");
        return text;
    };
    EXPECT_EQ(names(parsed), "a0 a1 tau Coeff3 Coeff4 Coeff5 Coeff6 Coeff7 Coeff8 Integral - ");
    EXPECT_EQ(names(records.Select("Parsed Equation", false)), "x0 a0 a0+a1 tau c5 c6 c7 c8 c9 - Residual ");
}

// What is held is not moved, and a point without a value ends the fit at its limit with nothing gained.
TEST(ParsedEquation, HeldCoefficientsStayAndMissingValuesAreNoGain) {
    Support::FitRecords records;
    const Fit::Selected parsed = records.Select("Parsed Equation", false);
    Fit::ParsedRecord& record = records.Series.Parsed;
    const std::vector<double> x = {0, 1, 2, 3, 4}, y = {1, 3, 5, 7, 9};
    ASSERT_TRUE(Fit::SetTextByName(parsed, "equation", "c[1]+c<2>*X"));
    record.Coeffs[0] = Fit::Param(1.0, false, FitParamState::Hold);
    record.Coeffs[1] = Fit::Param(1.0);
    Fit::FitControl control;
    ASSERT_TRUE(Fit::Run(parsed, {x, y, {}, {}, {}}, control).Ok);
    EXPECT_EQ(record.Coeffs[0].Value, 1.0);
    EXPECT_NEAR(record.Coeffs[1].Value, 2.0, 1E-6);
    EXPECT_EQ(record.Coeffs[2].State, FitParamState::Off);

    ASSERT_TRUE(Fit::SetTextByName(parsed, "Equation", "c[1]*x {2}"));
    control.MaxIterations = 20;
    record.Coeffs[0] = Fit::Param(1.0);
    const Fit::Outcome outcome = Fit::Run(parsed, {x, y, {}, {}, {}}, control);
    ASSERT_TRUE(outcome.Ok);
    EXPECT_EQ(outcome.FitTermination, Fit::FitTermination::MaxIterations);
    EXPECT_EQ(record.Coeffs[0].Value, 1.0);

    EXPECT_FALSE(Fit::SetTextByName(parsed, "Equation", std::string(256, 'x')));
    EXPECT_FALSE(Fit::SetTextByName(parsed, "Coeff0", "x"));
    EXPECT_FALSE(Fit::SetByName(parsed, "Equation", 1.0));
    EXPECT_STREQ(record.Equation, "c[1]*x {2}");
}

TEST(Formula, EachTypeReadsAsItsRecordStands) {
    using enum FitParamState;
    Support::FitRecords records;
    const auto on = [](auto&... params) { ((params.State = Fit), ...); };
    on(records.Sweep.Exponential.Terms[1].Amp);
    records.Sweep.Exponential.Terms[2].Tau.State = Off;
    Fit::HHRecord& hh = records.Sweep.HodgkinHuxley;
    on(hh.Qon, hh.Delay, hh.TauH2, hh.Ratio12);
    Fit::IVRecord& iv = records.Series.CurrentVoltage;
    on(iv.PBlVh, iv.NBlVh);
    on(records.Series.Boltzmann.Terms[1].Amp, records.Series.GenExponential.X0);
    on(records.Series.PowerSpectrum.Terms[1].S, records.Series.PowerSpectrum.Terms[2].S);
    records.Series.GenExponential.Terms[0].Rising = 0;
    const struct {
        const char* Type;
        bool Sweep;
        const char* Text;
    } cases[] = {
        {"Parsed Equation", true, "y(x) = c[1]\nfor x<= 0\nc[1]+c[2]*(1-exp(-(x)/c[3]))"},
        {"Polynomial", true, "y(x) = SUM(Coeff[i] * x^i)\ni=0..3"},
        {"Exponential", true, "y(x) = Amp0+ Amp1 * exp(-x/Tau1)+ Amp2 * exp(-x/Tau2)"},
        {"1-Exponential", true, "y(x) = Amp0+ Amp1 * (1 - exp(-x/Tau1))+ Amp2 * (1 - exp(-x/Tau2))"},
        {"Hodgkin&Huxley", true,
         "t = x - Delay\nIgat(t) = Qon/tauM exp(-t/tauM)\nm(t) = 1-exp(-t/tauM)\n"
         "h(t) = hinf + (1-hinf) *[r12 exp(-t/tauH)+(1-r12) exp(-t/tauH2)]\nI(t) = Igat + I(0) m^4 h^1"},
        {"Gaussian", true, "y(x) = +Amp1 * exp((-(x-Mean1)^2)/(SD1^2))"},
        {"2Regressions", false, "y1(x) = Coeff1[1] * x + Coeff1[0]\ny2(x) = Coeff2[1] * x + Coeff2[0]"},
        {"(Exp(x-x0))^n", false, "t = x-X0\ny(t<=0)= Amp0\ny(t>0)= Amp0+ Amp1 * (exp(-t/Tau1))^n1"},
        {"Boltzmann", false,
         "y(x) = + Amp1/((1 + exp(-(x-Xhalf1)/Slope1))^n1)+ Amp2/((1 + exp(-(x-Xhalf2)/Slope2))^n2)+ Offset"},
        {"Dose-Response", false, "y(x) = Amp/(1 + (x/KD)^Hill)+ Offset"},
        {"Current-Voltage", false,
         "y(x) = Cond * (x-Erev)*  1/((1+exp(-(x-Vhalf)/Slope))^3)*1/(1+exp(-(x-PBlVh)/PBlSl))"
         "*1/(1+exp(-(x-NBlVh)/NBlSl))"},
        {"PowerSpectrum", false,
         "S(x) = Sinf+SL01 * 1/(1 + (x/fLc1)^2)+SL02 * 1/(1 + (x/fLc2)^2)+SO0 * 1/(1 + (x/fOc)^1)"},
        {"Measure", true, ""},
        {"OnlineOnly", true, "unknown FitType"},
    };
    for (const auto& one : cases)
        EXPECT_EQ(Fit::PlainText(Fit::FormulaOf(records.Select(one.Type, one.Sweep))), one.Text) << one.Type;

    iv.GHK = 1;
    iv.Power = 0;
    iv.PBlVh.State = iv.NBlSl.State = Off;
    EXPECT_EQ(Fit::PlainText(Fit::FormulaOf(records.Select("Current-Voltage", false))),
              "y(x) = Cond x (1-exp(-(x-Erev)/25mV))/(1-exp(-x/25mV))");
    hh.Qon.State = hh.Delay.State = hh.TauH.State = hh.TauM.State = Off;
    EXPECT_EQ(Fit::PlainText(Fit::FormulaOf(records.Select("Hodgkin&Huxley", true))),
              "t = x\nm(t) = 1\nh(t) = 1\nI(t) = I(0) m^4 h^1");
}

TEST(Formula, NamesBearTheStateOfTheirParameter) {
    Support::FitRecords records;
    records.Sweep.Parsed.Coeffs[1].State = FitParamState::Hold;
    Texts::ToField(records.Sweep.Parsed.Equation, "2*C<2>-c[1]+c[10]");
    const Fit::Formula formula = Fit::FormulaOf(records.Select("Parsed Equation", true));
    ASSERT_EQ(formula.Lines.size(), 1u);
    std::string marked;
    for (const Fit::FormulaPiece& piece : formula.Lines[0]) {
        const char* const mark = piece.State == Fit::PieceState::Fit    ? "!"
                                 : piece.State == Fit::PieceState::Hold ? "#"
                                                                        : "";
        marked += mark + piece.Text + mark;
    }
    EXPECT_EQ(marked, "y(x) = 2*#C<2>#-!c[1]!+c[10]");

    Fit::Formula gauss = Fit::FormulaOf(records.Select("Gaussian", true));
    const auto sigma = std::ranges::find(gauss.Lines[0], "SD1", &Fit::FormulaPiece::Text);
    ASSERT_NE(sigma, gauss.Lines[0].end());
    EXPECT_EQ(sigma->Place, Fit::PiecePlace::Denominator);
    EXPECT_EQ(sigma->State, Fit::PieceState::Fit);
}
