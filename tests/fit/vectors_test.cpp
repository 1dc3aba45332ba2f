// Whole fits of every model against results computed independently of this program.
#include "support/fit_records.h"
#include "vectors.h"

namespace {

using nlohmann::json;

void LoadRecord(const Fit::Selected& selected, const json& record) {
    for (const auto& [name, cell] : record.items()) {
        if (!cell.is_array()) {
            EXPECT_TRUE(Fit::SetByName(selected, name, Vectors::Number(cell))) << name;
            continue;
        }
        const auto entry = Fit::FindParam(selected, name);
        ASSERT_TRUE(entry) << name;
        entry->Param->Value = Vectors::Number(cell[0]);
        entry->Param->State = static_cast<FitParamState>(cell[1].get<int>());
        entry->Param->Store = cell[2].get<std::uint8_t>();
    }
}

void ExpectRecord(const Fit::Selected& selected, const json& record, const json& unchecked,
                  double tolerance) {
    std::size_t cells = 0;
    for (const auto& entry : Fit::Params(selected)) {
        SCOPED_TRACE(entry.Name);
        ASSERT_TRUE(record.contains(entry.Name));
        const json& cell = record[std::string(entry.Name)];
        ++cells;
        if (std::find(unchecked.begin(), unchecked.end(), entry.Name) != unchecked.end()) continue;
        const FitParam& param = *entry.Param;
        EXPECT_PRED3(Vectors::Near, param.Value, Vectors::Number(cell[0]), tolerance);
        EXPECT_EQ(json({cell[0], static_cast<int>(param.State), param.Store}), cell);
    }
    for (const auto& setting : Fit::Settings(selected)) {
        if (!record.contains(setting.Name)) continue;
        ++cells;
        EXPECT_EQ(setting.Value, record[std::string(setting.Name)].get<double>()) << setting.Name;
    }
    EXPECT_EQ(cells, record.size());
}

Fit::FitControl ControlOf(const json& block) {
    Fit::FitControl control;
    control.MaxIterations = block["MaxIterations"];
    control.StepSize = block["StepSize"];
    control.Epsilon = block["Epsilon"];
    control.DisplayUpdate = block["DisplayUpdate"];
    control.StopMaxIteration = block["StopMaxIteration"].get<std::uint8_t>();
    control.StopEpsilon = block["StopEpsilon"].get<std::uint8_t>();
    return control;
}

void RunFitCase(const json& c) {
    const json &in = c["in"], &out = c["out"];
    const double tolerance = c.contains("tol") ? c["tol"]["values"].get<double>() : 0.0;
    Support::FitRecords records;
    const Fit::Selected selected = records.Select(in["kind"], in["level"] == "sweep");
    ASSERT_TRUE(selected);
    LoadRecord(selected, in["start"]);
    Fit::FitControl control = ControlOf(in["control"]);
    const std::vector<double> x = in["x"], y = in["y"];
    Fit::Data data = {x, y, {}, "s", "A"};
    if (in.contains("grid")) data.FullGrid = {in["grid"]["N"], in["grid"]["dt"], in["grid"]["x0"]};
    int updates = 0;
    const Messages::Recorder said;
    const Fit::Outcome outcome = Fit::Run(selected, data, control, [&](const Fit::FitRun&) { ++updates; });

    ASSERT_EQ(outcome.Ok, out["ok"].get<bool>()) << outcome.Message;
    ExpectRecord(selected, out["record"], out.value("unchecked", json::array()), tolerance);
    if (!outcome.Ok) {
        EXPECT_EQ(outcome.Message, out["message"].get<std::string>());
        return;
    }
    EXPECT_EQ(outcome.Iterations ? json(*outcome.Iterations) : json(), out["iterations"]);
    if (outcome.Iterations) {
        EXPECT_EQ(updates, out["updates"]);
        EXPECT_EQ(!said.Questions.empty(), out["zero_dialog"].get<bool>());
    }
    EXPECT_EQ(static_cast<int>(outcome.FitTermination), out["termination"].get<int>());
    EXPECT_PRED3(Vectors::Near, outcome.LastResidual, out["last_residual"].get<double>(), tolerance);
    const char* residual = in["level"] == "sweep" ? "out_residual" : "residual_recomputed";
    EXPECT_PRED3(Vectors::Near, outcome.Residual, out[residual].get<double>(), tolerance);
}

void RunRegressions(const json& c) {
    Support::FitRecords records;
    Fit::RegressRecord& lines = records.Series.TwoRegressions;
    const Fit::Selected selected = records.Select("2Regressions", false);
    Fit::FitControl control;
    const std::vector<double> x = c["in"]["x"], y1 = c["in"]["y1"], y2 = c["in"]["y2"];
    lines.FirstLine = 1;
    ASSERT_TRUE(Fit::Run(selected, {x, y1, {}, {}, {}}, control).Ok);
    const double residual1 = lines.Residual1.Value;
    lines.FirstLine = 0;
    ASSERT_TRUE(Fit::Run(selected, {x, y2, {}, {}, {}}, control).Ok);
    EXPECT_TRUE(lines.Residual1.Value == residual1 && residual1 > 0.0);
    EXPECT_EQ(lines.Residual2.Value, control.LastResidual);
    const json& out = c["out"];
    const auto expect = [&](const FitParam& param, const json& value) {
        EXPECT_PRED3(Vectors::Near, param.Value, value.get<double>(), c["tol"]["values"].get<double>());
    };
    for (std::size_t i = 0; i < 2; ++i) {
        expect(lines.Coeff1[i], out["Coeff1"][i]);
        expect(lines.Coeff2[i], out["Coeff2"][i]);
    }
    expect(lines.Xintersept, out["Xintersept"]);
    expect(lines.Yintersept, out["Yintersept"]);
}

void RunGrid(const json& c) {
    const json& out = c["out"];
    const std::vector<double> y = c["in"]["y"];
    const Fit::GridResults got = Fit::DeriveFromValues(y, {y.size(), c["in"]["dt"], c["in"]["x0"]});
    const bool peak = c["in"]["kind"] == "grid_peak";
    const auto expect = [&](const Fit::Result& result, const json& value) {
        EXPECT_EQ(result.Valid, out["state"] == 0);
        EXPECT_PRED3(Vectors::Near, result.Value, value.get<double>(), c["tol"]["values"].get<double>());
    };
    expect(peak ? got.XPeak : got.XZero, out["x"]);
    if (peak) expect(got.YPeak, out["y"]);
}

// A model whose curve is handed in: its record is the vector of its values.
void RunResidual(const json& c) {
    Support::FitRecords records;
    Fit::ModelRow given = *records.Select("Exponential", true).Model;
    given.Values = [](const Fit::FitFunction& function, const Fit::Tables&, double* values) {
        std::ranges::copy(*static_cast<std::vector<double>*>(function.Record), values);
    };
    std::vector<double> y = c["in"]["y"], model = c["in"]["model"];
    Fit::FitRun run;
    run.X = run.Y = y;
    run.Function.Model = &given;
    run.Function.Record = &model;
    ASSERT_TRUE(Fit::Prepare(run));
    EXPECT_PRED3(Vectors::Near, Fit::ComputeResidual(run), c["out"]["value"].get<double>(),
                 c["tol"]["values"].get<double>());
}

TEST(FitVectors, EveryCaseAgrees) {
    Fit::ResumeZeroCheck();
    int cases = 0;
    for (const auto& c : Vectors::Cases("simplex_fits")) {
        SCOPED_TRACE(c["id"].get<std::string>() + ": " + c["note"].get<std::string>());
        const std::string kind = c["in"]["kind"];
        if (kind == "curve") continue; // the series level's searches of a drawn curve
        ++cases;
        if (kind == "2Regressions")
            RunRegressions(c);
        else if (kind == "grid_peak" || kind == "grid_zero")
            RunGrid(c);
        else if (kind == "residual")
            RunResidual(c);
        else
            RunFitCase(c);
    }
    EXPECT_EQ(cases, 23);
}

TEST(FitVectors, ReductionKeepsTheDocumentedPoints) {
    const auto cases = Vectors::Cases("reduction");
    ASSERT_FALSE(cases.empty());
    for (const auto& c : cases) {
        SCOPED_TRACE(c["id"].get<std::string>() + ": " + c["note"].get<std::string>());
        const std::size_t n = c["in"]["N"], limit = c["in"]["M"], points = c["out"]["points"];
        std::vector<std::size_t> want(points);
        for (std::size_t i = 0; i < points; ++i)
            want[i] = c["out"].contains("indices") ? c["out"]["indices"][i].get<std::size_t>() : i;
        EXPECT_EQ(Reduction::Indices(n, limit), want);
        const double ratio = c["out"].contains("ratio") ? c["out"]["ratio"].get<double>() : 1.0;
        EXPECT_PRED3(Vectors::Near, Reduction::Ratio(n, limit), ratio, 1E-9);
        std::vector<double> x(n), y(n);
        for (std::size_t i = 0; i < n; ++i) y[i] = -(x[i] = static_cast<double>(i));
        ASSERT_EQ(Reduction::Reduce(x, y, limit), points);
        for (std::size_t i = 0; i < points; ++i)
            EXPECT_TRUE(x[i] == static_cast<double>(want[i]) && y[i] == -x[i]) << i;
    }
}

}
