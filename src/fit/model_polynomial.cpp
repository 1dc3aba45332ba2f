// The two models that are solved directly: a polynomial and a pair of straight lines.
#include "fit/derived.h"
#include "fit/formulas.h"
#include "fit/models.h"
#include "fit/optimiser.h"
#include "math/matrix_inverse.h"

#include <cstddef>

namespace Fit {

namespace {

constexpr int MaxOrder = PolyCoeffs - 1;

// Least squares by the normal equations of the powers of x.
void SolvePolynomial(const FitRun& run, FitParam* coeffs, int order) {
    double powers[2 * MaxOrder + 1] = {}; // SUM(x^k)
    double right[MaxOrder + 1] = {};      // SUM(y * x^k)
    for (std::size_t i = 0; i < run.X.size(); ++i) {
        double power = 1.0;
        for (int k = 0; k <= 2 * order; ++k) {
            powers[k] += power;
            if (k <= order) right[k] += run.Y[i] * power;
            power *= run.X[i];
        }
    }
    MatrixInverse::Matrix a;
    for (int i = 0; i <= order; ++i)
        for (int j = 0; j <= order; ++j) a[i][j] = powers[i + j];
    MatrixInverse::Invert(a, a, order + 1);
    for (int i = 0; i <= order; ++i) {
        double coeff = 0.0;
        for (int j = 0; j <= order; ++j) coeff += right[j] * a[i][j];
        coeffs[i].Value = coeff;
    }
}

void PolynomialValues(const FitParam* coeffs, int order, const Tables& tables, double* values) {
    for (std::size_t k = 0; k < tables.X.size(); ++k) {
        double y = 0.0, power = 1.0;
        for (int i = 0; i <= order; ++i) {
            y += coeffs[i].Value * power;
            power *= tables.X[k];
        }
        values[k] = y;
    }
}

void NothingToTabulate(const FitFunction&, Tables&) {}

PolyRecord& PolyOf(void* record) {
    return *static_cast<PolyRecord*>(record);
}

void InitPolynomial(void* memory, Level) {
    auto& record = PolyOf(memory) = {};
    record.Order = 3;
    for (int i = 0; i < PolyCoeffs; ++i) record.Coeffs[i] = i <= record.Order ? Param(0.0, true) : OffParam();
    record.XPeak = record.YPeak = record.XZero = OffParam();
}

bool SetupPolynomial(void* memory, FitFunction&) {
    const auto& record = PolyOf(memory);
    return record.Order >= 0 && record.Order <= MaxOrder;
}

void DerivePolynomial(const FitFunction& function, const Grid& grid) {
    auto& record = PolyOf(function.Record);
    const GridResults results = DeriveOnGrid(function, grid);
    SetResult(record.XPeak, record.Order >= 2 ? results.XPeak : Result{});
    SetResult(record.YPeak, record.Order >= 2 ? results.YPeak : Result{});
    SetResult(record.XZero, record.Order >= 1 ? results.XZero : Result{});
}

constexpr ParamRow Coeff(const char* name, std::size_t i) {
    return {name, name, name, ParamUnit::Y, offsetof(PolyRecord, Coeffs) + i * sizeof(FitParam)};
}

constexpr ParamRow PolynomialParams[] = {
    Coeff("Coeff0", 0),
    Coeff("Coeff1", 1),
    Coeff("Coeff2", 2),
    Coeff("Coeff3", 3),
    Coeff("Coeff4", 4),
    Coeff("Coeff5", 5),
    Coeff("Coeff6", 6),
    Coeff("Coeff7", 7),
    Coeff("Coeff8", 8),
    Coeff("Coeff9", 9),
    {"XPeak", "XPeak", "Xpeak", ParamUnit::X, offsetof(PolyRecord, XPeak), true},
    {"YPeak", "YPeak", "Ypeak", ParamUnit::Y, offsetof(PolyRecord, YPeak), true},
    {"XZero", "XZero", "Xzero", ParamUnit::X, offsetof(PolyRecord, XZero), true},
    {"Residual", nullptr, "Residual", ParamUnit::Y, offsetof(PolyRecord, Residual), true},
};

constexpr SettingRow PolynomialSettings[] = {AnyInt16("Order", offsetof(PolyRecord, Order))};

RegressRecord& LinesOf(void* record) {
    return *static_cast<RegressRecord*>(record);
}

FitParam* CurrentLine(RegressRecord& record) {
    return record.FirstLine ? record.Coeff1 : record.Coeff2;
}

void InitRegressions(void* memory, Level) {
    auto& record = LinesOf(memory) = {};
    for (FitParam* coeff : {record.Coeff1, record.Coeff2}) coeff[0] = coeff[1] = Param(0.0, true);
}

bool SetupRegressions(void*, FitFunction&) {
    return true;
}

// The crossing follows from both lines as they stand, whichever was fitted last.
void SolveRegressions(FitRun& run) {
    auto& record = LinesOf(run.Function.Record);
    SolvePolynomial(run, CurrentLine(record), 1);
    const FitParam *a = record.Coeff1, *b = record.Coeff2;
    const double x = (b[0].Value - a[0].Value) / (a[1].Value - b[1].Value);
    SetResult(record.Xintersept, {true, x});
    SetResult(record.Yintersept, {true, a[1].Value * x + a[0].Value});
}

constexpr ParamRow Line(const char* name, const char* column, ParamUnit unit, std::size_t at) {
    return {name, nullptr, column, unit, at};
}

constexpr ParamRow RegressionParams[] = {
    Line("Coeff1_0", "Coeff10", ParamUnit::Y, offsetof(RegressRecord, Coeff1)),
    Line("Coeff1_1", "Coeff11", ParamUnit::Y, offsetof(RegressRecord, Coeff1) + sizeof(FitParam)),
    Line("Coeff2_0", "Coeff20", ParamUnit::Y, offsetof(RegressRecord, Coeff2)),
    Line("Coeff2_1", "Coeff21", ParamUnit::Y, offsetof(RegressRecord, Coeff2) + sizeof(FitParam)),
    {"Xintersept", nullptr, "Xintersept", ParamUnit::X, offsetof(RegressRecord, Xintersept), true},
    {"Yintersept", nullptr, "Yintersept", ParamUnit::Y, offsetof(RegressRecord, Yintersept), true},
    {"Residual1", nullptr, "Residual1", ParamUnit::Y, offsetof(RegressRecord, Residual1), true},
    {"Residual2", nullptr, "Residual2", ParamUnit::Y, offsetof(RegressRecord, Residual2), true},
};

constexpr SettingRow RegressionSettings[] = {Flag("FirstLine", offsetof(RegressRecord, FirstLine))};

}

const ModelRow PolynomialModel = {
    .Params = PolynomialParams,
    .Settings = PolynomialSettings,
    .Columns = 1,
    .SetupMessage = " Order of polynomial too small or too big ",
    .Init = InitPolynomial,
    .ModelSetup = SetupPolynomial,
    .Tabulate = NothingToTabulate,
    .Values =
        [](const FitFunction& function, const Tables& tables, double* values) {
            const auto& record = PolyOf(function.Record);
            PolynomialValues(record.Coeffs, record.Order, tables, values);
        },
    .Solve =
        [](FitRun& run) {
            auto& record = PolyOf(run.Function.Record);
            SolvePolynomial(run, record.Coeffs, record.Order);
        },
    .Derive = DerivePolynomial,
    .Residual = [](void* record) { return &PolyOf(record).Residual; },
    .SetUnits = nullptr,
    .Draw = DrawPolynomial,
};

const ModelRow RegressionsModel = {
    .Params = RegressionParams,
    .Settings = RegressionSettings,
    .Columns = 1,
    .SetupMessage = "",
    .Init = InitRegressions,
    .ModelSetup = SetupRegressions,
    .Tabulate = NothingToTabulate,
    .Values =
        [](const FitFunction& function, const Tables& tables, double* values) {
            PolynomialValues(CurrentLine(LinesOf(function.Record)), 1, tables, values);
        },
    .Solve = SolveRegressions,
    .Derive = nullptr,
    .Residual =
        [](void* record) {
            return LinesOf(record).FirstLine ? &LinesOf(record).Residual1 : &LinesOf(record).Residual2;
        },
    .SetUnits = nullptr,
    .Draw = DrawRegressions,
};

}
