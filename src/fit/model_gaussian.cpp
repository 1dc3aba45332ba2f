// Sum of up to four Gaussians.
#include "fit/derived.h"
#include "fit/formulas.h"
#include "fit/models.h"
#include "math/vector_exp.h"

#include <algorithm>
#include <cstddef>

namespace Fit {

namespace {

// Columns 1 to 4 hold the bells of the terms at amplitude 1.

GaussRecord& RecordOf(void* record) {
    return *static_cast<GaussRecord*>(record);
}

bool TermOff(const GaussTerm& term) {
    return AnyOff(term.Amp, term.Sigma, term.Mean);
}

void Init(void* memory, Level) {
    auto& record = RecordOf(memory) = {};
    record.Count = 1;
    record.Terms[0] = {.Amp = Param(100.0, true), .Sigma = Param(1E-6, true), .Mean = Param(1E-3, true)};
    for (int i = 1; i < GaussTerms; ++i)
        record.Terms[i] = {.Amp = OffParam(10.0), .Sigma = Param(1E-6), .Mean = Param(1E-6)};
    record.Integral = OffParam();
}

bool ModelSetup(void* memory, FitFunction& function) {
    auto& record = RecordOf(memory);
    record.Count = 0;
    for (int i = 0; i < GaussTerms; ++i) {
        GaussTerm& term = record.Terms[i];
        if (TermOff(term)) continue;
        ++record.Count;
        AddLinear(function, term.Amp, 1 + i);
        AddFree(function, term.Mean);
        AddFree(function, term.Sigma);
    }
    return true;
}

struct TermSum {
    Weighted Terms[GaussTerms];
    std::size_t Count = 0;
};

TermSum SumOf(const GaussRecord& record) {
    TermSum sum;
    for (int i = 0; i < GaussTerms; ++i)
        if (!TermOff(record.Terms[i])) sum.Terms[sum.Count++] = {&record.Terms[i].Amp, 1 + i};
    return sum;
}

void Tabulate(const FitFunction& function, Tables& tables) {
    const auto& record = RecordOf(function.Record);
    const std::size_t points = tables.X.size();
    for (int i = 0; i < GaussTerms; ++i) {
        const GaussTerm& term = record.Terms[i];
        if (TermOff(term)) continue;
        double* column = tables.Column[1 + i];
        const double mean = term.Mean.Value, sigma = term.Sigma.Value;
        if (sigma == 0.0) {
            std::fill_n(column, points, 0.0);
            continue;
        }
        const double width = 2.0 * (sigma * sigma);
        for (std::size_t k = 0; k < points; ++k) {
            const double d = tables.X[k] - mean;
            column[k] = -(d * d) / width;
        }
        VectorExp::Exp(column, column, points);
    }
    const TermSum sum = SumOf(record);
    if (function.HasFixedPart) FixedSum({sum.Terms, sum.Count}, tables);
}

void Values(const FitFunction& function, const Tables& tables, double* values) {
    const TermSum sum = SumOf(RecordOf(function.Record));
    ValueSum({sum.Terms, sum.Count}, tables, values);
}

void Derive(const FitFunction& function, const Grid& grid) {
    SetResult(RecordOf(function.Record).Integral, DeriveOnGrid(function, grid).Integral);
}

constexpr ParamRow Row(const char* name, const char* sweep, const char* series, ParamUnit unit,
                       std::size_t term, std::size_t at) {
    return {name, sweep, series, unit, offsetof(GaussRecord, Terms) + term * sizeof(GaussTerm) + at};
}

constexpr std::size_t Amp = offsetof(GaussTerm, Amp), Mean = offsetof(GaussTerm, Mean),
                      Sigma = offsetof(GaussTerm, Sigma);

// The fields count their terms from 1, the columns of the sweep level from 0.
constexpr ParamRow Params[] = {
    Row("Amp1", "amp0", "amp1", ParamUnit::Y, 0, Amp),
    Row("Mean1", "mean0", "mean1", ParamUnit::X, 0, Mean),
    Row("Sigma1", "sigma0", "sigma1", ParamUnit::X, 0, Sigma),
    Row("Amp2", "amp1", "amp2", ParamUnit::Y, 1, Amp),
    Row("Mean2", "mean1", "mean2", ParamUnit::X, 1, Mean),
    Row("Sigma2", "sigma1", "sigma2", ParamUnit::X, 1, Sigma),
    Row("Amp3", "amp2", "amp3", ParamUnit::Y, 2, Amp),
    Row("Mean3", "mean2", "mean3", ParamUnit::X, 2, Mean),
    Row("Sigma3", "sigma2", "sigma3", ParamUnit::X, 2, Sigma),
    Row("Amp4", "amp3", "amp4", ParamUnit::Y, 3, Amp),
    Row("Mean4", "mean3", "mean4", ParamUnit::X, 3, Mean),
    Row("Sigma4", "sigma3", "sigma4", ParamUnit::X, 3, Sigma),
    {"Integral", "Integral", "Integral", ParamUnit::YThenX, offsetof(GaussRecord, Integral), true},
    {"Residual", nullptr, "Residual", ParamUnit::Y, offsetof(GaussRecord, Residual), true},
};

constexpr SettingRow Settings[] = {
    {"Count", SettingKind::Int16, offsetof(GaussRecord, Count), 0, GaussTerms}};

}

const ModelRow GaussianModel = {
    .Params = Params,
    .Settings = Settings,
    .Columns = 1 + GaussTerms,
    .SetupMessage = " Error during initialization of GaussFit ",
    .Init = Init,
    .ModelSetup = ModelSetup,
    .Tabulate = Tabulate,
    .Values = Values,
    .Solve = nullptr,
    .Derive = Derive,
    .Residual = [](void* record) { return &RecordOf(record).Residual; },
    .SetUnits = SetRecordUnits<GaussRecord>,
    .Draw = DrawGaussian,
};

}
