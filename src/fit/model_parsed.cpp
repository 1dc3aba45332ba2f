// An equation that the user wrote. All of its coefficients go through the simplex as they are.
#include "base/text.h"
#include "fit/derived.h"
#include "fit/formulas.h"
#include "fit/models.h"
#include "fit/parsed_equation.h"

#include <cstddef>

namespace Fit {

namespace {

ParsedRecord& RecordOf(void* record) {
    return *static_cast<ParsedRecord*>(record);
}

void SetCoeff(ParsedRecord& record, int index, double value, std::string_view name, bool store) {
    record.Coeffs[index - 1] = Param(value, store);
    Texts::ToField(record.CoeffNames[index - 1], name);
}

void Init(void* memory, Level level) {
    auto& record = RecordOf(memory) = {};
    for (FitParam& coeff : record.Coeffs) coeff = OffParam();
    record.Integral = OffParam();
    if (level == Level::Sweep) {
        Texts::ToField(record.Equation, "c[1] {0} c[1]+c[2]*(1-exp(-(x)/c[3]))");
        SetCoeff(record, 1, -1E-12, "a0", false);
        SetCoeff(record, 2, 1E-9, "a1", false);
        SetCoeff(record, 3, 1E-3, "tau", false);
    } else {
        Texts::ToField(record.Equation, "c[2] {c[1]} c[2]+(c[3]-c[2])*(1-exp(-(x-c[1])/c[4]))");
        SetCoeff(record, 1, 10.0, "x0", true);
        SetCoeff(record, 2, 0.01, "a0", true);
        SetCoeff(record, 3, 1.0, "a0+a1", true);
        SetCoeff(record, 4, 100.0, "tau", true);
    }
}

bool ModelSetup(void* memory, FitFunction& function) {
    auto& record = RecordOf(memory);
    ParsedRecord checked = record;
    Equation::Error error;
    if (!PreparseEquation(&checked, error)) return false;
    record = checked;
    function.Text = std::make_shared<Equation::Ranged>(Equation::CompileRanged(
        Texts::FromField(record.Equation), EquationSize - 1, FitTokens(PlacesOf(record))));
    for (FitParam& coeff : record.Coeffs) AddFree(function, coeff);
    return true;
}

void Tabulate(const FitFunction&, Tables&) {}

// Where the equation has no value the model is not a number.
void Values(const FitFunction& function, const Tables& tables, double* values) {
    Equation::Error error;
    (void)function.Text->Evaluate(tables.X, values, error);
}

void Derive(const FitFunction& function, const Grid& grid) {
    SetResult(RecordOf(function.Record).Integral, DeriveOnGrid(function, grid).Integral);
}

std::string_view UserName(const void* record, std::size_t row) {
    if (row >= ParsedCoeffs) return {};
    return Texts::FromField(static_cast<const ParsedRecord*>(record)->CoeffNames[row]);
}

constexpr ParamRow Coeff(const char* name, const char* seriesName, const char* symbol, std::size_t i) {
    return {.Name = name,
            .SweepColumn = name,
            .SeriesColumn = seriesName,
            .Unit = ParamUnit::None,
            .At = offsetof(ParsedRecord, Coeffs) + i * sizeof(FitParam),
            .Symbol = symbol};
}

constexpr ParamRow Params[] = {
    Coeff("Coeff0", "c1", "c[1]", 0),
    Coeff("Coeff1", "c2", "c[2]", 1),
    Coeff("Coeff2", "c3", "c[3]", 2),
    Coeff("Coeff3", "c4", "c[4]", 3),
    Coeff("Coeff4", "c5", "c[5]", 4),
    Coeff("Coeff5", "c6", "c[6]", 5),
    Coeff("Coeff6", "c7", "c[7]", 6),
    Coeff("Coeff7", "c8", "c[8]", 7),
    Coeff("Coeff8", "c9", "c[9]", 8),
    {"Integral", "Integral", nullptr, ParamUnit::YThenX, offsetof(ParsedRecord, Integral), true},
    {"Residual", nullptr, "Residual", ParamUnit::Y, offsetof(ParsedRecord, Residual), true},
};

constexpr SettingRow CoeffName(const char* name, std::size_t i) {
    constexpr std::size_t Size = sizeof(ParsedRecord::CoeffNames[0]);
    return {name, SettingKind::Text, offsetof(ParsedRecord, CoeffNames) + i * Size, 0, Size};
}

constexpr SettingRow Settings[] = {
    {"Equation", SettingKind::Text, offsetof(ParsedRecord, Equation), 0, EquationSize},
    CoeffName("CoeffName0", 0),
    CoeffName("CoeffName1", 1),
    CoeffName("CoeffName2", 2),
    CoeffName("CoeffName3", 3),
    CoeffName("CoeffName4", 4),
    CoeffName("CoeffName5", 5),
    CoeffName("CoeffName6", 6),
    CoeffName("CoeffName7", 7),
    CoeffName("CoeffName8", 8),
};

}

const ModelRow ParsedModel = {
    .Params = Params,
    .Settings = Settings,
    .Columns = 1,
    .SetupMessage = " Error during initialization of ParsedFit ",
    .Init = Init,
    .ModelSetup = ModelSetup,
    .Tabulate = Tabulate,
    .Values = Values,
    .Solve = nullptr,
    .Derive = Derive,
    .Residual = [](void* record) { return &RecordOf(record).Residual; },
    .SetUnits = nullptr,
    .Draw = DrawParsed,
    .UserName = UserName,
};

}
