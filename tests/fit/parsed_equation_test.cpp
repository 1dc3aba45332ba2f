#include "fit/formula.h"
#include "fit/parsed_equation.h"
#include "support/fit_records.h"
#include "support/fixtures.h"
#include "vectors.h"

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
    const std::pair<const char*, const char*> cases[] = {
        {"(c[1]", "error preparsing at pos. 5"},
        {"c[1] {x} 2", "error in {range} at pos. 5"},
        {"c[1] {1} c[2] {1} 3", "error in range order at pos. 1"},
        {"c[1] {0} c[1]+* x", "Error parsing at pos. 14"}, // a place of the whole text
        {"ampl", "Unknown token at pos. 4"},
        {"v[32]", "Incorrect function index at pos. 5"},
    };
    for (const auto& [text, message] : cases) {
        Fit::ParsedRecord record;
        Texts::ToField(record.Equation, text);
        Equation::Error error;
        EXPECT_FALSE(Fit::PreparseEquation(&record, error)) << text;
        EXPECT_EQ(Fit::PreparseMessage(error), message);
        // Nor does it fit, and then the record stays as it was.
        Support::FitRecords records;
        record.Coeffs[8].State = FitParamState::Hold;
        records.Sweep.Parsed = record;
        const std::vector<double> data = {1, 2, 3};
        Fit::FitControl control;
        const Fit::Outcome outcome =
            Fit::Run(records.Select("Parsed Equation", true), {data, data, {}, {}, {}}, control);
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
    std::vector<double> x, y; // a rise behind a baseline, as the default equation describes it
    for (int i = -50; i < 450; ++i) {
        x.push_back(i * 1E-4);
        y.push_back(-2E-11 + (i <= 0 ? 0.0 : 3E-9 * (1 - std::exp(-x.back() / 4E-3))));
    }
    Fit::FitControl control;
    control.MaxIterations = 1000;
    ASSERT_TRUE(Fit::Run(parsed, {x, y, {x.size(), 1E-4, x.front()}, "s", "A"}, control).Ok);
    const double want[] = {-2E-11, 3E-9, 4E-3};
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_NEAR(records.Sweep.Parsed.Coeffs[i].Value, want[i], 1E-4 * std::fabs(want[i]));
    double sum = 0.0;
    for (const double value : y) sum += value * 1E-4;
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
    for (const auto& one : Support::CaseTable("formulas"))
        EXPECT_EQ(Fit::PlainText(Fit::FormulaOf(records.Select(one[0], one[1] == "sweep"))), one[2])
            << one[0];
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
}
