// Current-voltage curve: ohmic or Goldman-Hodgkin-Katz driving force, activation, and a block on either side.
#include "fit/formulas.h"
#include "fit/models.h"
#include "math/vector_exp.h"

#include <algorithm>
#include <cstddef>

namespace Fit {

namespace {

enum {
    One,
    BasisColumn,
    DriveColumn,
    FieldColumn,
    ActivationColumn,
    PositiveColumn,
    NegativeColumn,
    Columns
};

// RT/F in volts; the formula shown to users rounds it to 25 mV.
constexpr double ThermalVoltage = 0.02558;

IVRecord& RecordOf(void* record) {
    return *static_cast<IVRecord*>(record);
}

void Init(void* memory, Level) {
    auto& record = RecordOf(memory) = {};
    record.Power = 3;
    record.Vhalf = Param(-0.04);
    record.Slope = Param(0.01);
    record.Cond = Param(1E-9);
    record.Erev = Param(0.05);
    record.PBlVh = OffParam(0.1);
    record.PBlSl = Param(0.01);
    record.NBlVh = OffParam(-0.1);
    record.NBlSl = Param(-0.01);
    record.XPeak = record.YPeak = OffParam();
}

bool ModelSetup(void* memory, FitFunction& function) {
    constexpr FitParamState Off = FitParamState::Off;
    auto& record = RecordOf(memory);
    if (record.Power == 0) record.Vhalf.State = record.Slope.State = Off;
    if (IsOff(record.PBlVh)) record.PBlSl.State = Off;
    if (IsOff(record.NBlVh)) record.NBlSl.State = Off;
    if (IsFit(record.Cond)) AddLinear(function, record.Cond, BasisColumn);
    for (FitParam* param : {&record.Vhalf, &record.Slope, &record.PBlVh, &record.PBlSl, &record.NBlVh,
                            &record.NBlSl, &record.Erev})
        AddFree(function, *param);
    return true;
}

double Reversal(const IVRecord& record) {
    return IsOff(record.Erev) ? 0.0 : record.Erev.Value;
}
bool HasActivation(const IVRecord& record) {
    return record.Power >= 1 && !AnyOff(record.Vhalf, record.Slope);
}
bool HasPositiveBlock(const IVRecord& record) {
    return !AnyOff(record.PBlVh, record.PBlSl);
}
bool HasNegativeBlock(const IVRecord& record) {
    return !AnyOff(record.NBlVh, record.NBlSl);
}

// 1 + exp(-(x - half)/slope)
void TabulateGate(const Tables& tables, double half, double slope, double* column) {
    VectorExp::Decay(tables.X.data(), half, slope, column, tables.X.size());
    for (std::size_t k = 0; k < tables.X.size(); ++k) column[k] = 1.0 + column[k];
}

// 1 - exp(-(x - shift)/k)
void TabulateField(const Tables& tables, double shift, double* column) {
    VectorExp::Decay(tables.X.data(), shift, ThermalVoltage, column, tables.X.size());
    for (std::size_t k = 0; k < tables.X.size(); ++k) column[k] = 1.0 - column[k];
}

void DivideBy(const double* divisors, std::size_t points, double* values) {
    for (std::size_t k = 0; k < points; ++k) values[k] /= divisors[k];
}

void Current(const IVRecord& record, double conductance, const Tables& tables, double* values) {
    const std::size_t points = tables.X.size();
    const double *drive = tables.Column[DriveColumn], *field = tables.Column[FieldColumn];
    for (std::size_t k = 0; k < points; ++k) {
        const double x = tables.X[k];
        if (!record.GHK)
            values[k] = conductance * (x - Reversal(record));
        else if (x == 0.0)
            values[k] = conductance * ThermalVoltage * drive[k];
        else
            values[k] = conductance * x * drive[k] / field[k];
    }
    if (HasActivation(record)) DivideBy(tables.Column[ActivationColumn], points, values);
    if (HasPositiveBlock(record)) DivideBy(tables.Column[PositiveColumn], points, values);
    if (HasNegativeBlock(record)) DivideBy(tables.Column[NegativeColumn], points, values);
}

void Tabulate(const FitFunction& function, Tables& tables) {
    const auto& record = RecordOf(function.Record);
    double* const* column = tables.Column;
    if (record.GHK) {
        TabulateField(tables, Reversal(record), column[DriveColumn]);
        TabulateField(tables, 0.0, column[FieldColumn]);
    }
    if (HasActivation(record)) {
        TabulateGate(tables, record.Vhalf.Value, record.Slope.Value, column[ActivationColumn]);
        if (record.Power > 1)
            for (std::size_t k = 0; k < tables.X.size(); ++k)
                column[ActivationColumn][k] = IntegerPower(column[ActivationColumn][k], record.Power);
    }
    if (HasPositiveBlock(record)) // its exponent has the other sign
        TabulateGate(tables, record.PBlVh.Value, -record.PBlSl.Value, column[PositiveColumn]);
    if (HasNegativeBlock(record))
        TabulateGate(tables, record.NBlVh.Value, record.NBlSl.Value, column[NegativeColumn]);
    Current(record, 1.0, tables, column[BasisColumn]);
}

void Values(const FitFunction& function, const Tables& tables, double* values) {
    const auto& record = RecordOf(function.Record);
    if (IsOff(record.Cond))
        std::fill_n(values, tables.X.size(), 0.0);
    else
        Current(record, record.Cond.Value, tables, values);
}

constexpr ParamRow Row(const char* name, const char* column, ParamUnit unit, std::size_t at,
                       bool derived = false) {
    return {name, nullptr, column, unit, at, derived};
}

constexpr ParamRow Params[] = {
    Row("Vhalf", "mVhalf", ParamUnit::X, offsetof(IVRecord, Vhalf)),
    Row("Slope", "mSlope", ParamUnit::X, offsetof(IVRecord, Slope)),
    Row("Cond", "Conductance", ParamUnit::YPerX, offsetof(IVRecord, Cond)),
    Row("Erev", "Reversal", ParamUnit::X, offsetof(IVRecord, Erev)),
    Row("PBlVh", "PosBlVhalf", ParamUnit::X, offsetof(IVRecord, PBlVh)),
    Row("PBlSl", "PosBlSlope", ParamUnit::X, offsetof(IVRecord, PBlSl)),
    Row("NBlVh", "NegBlVhalf", ParamUnit::X, offsetof(IVRecord, NBlVh)),
    Row("NBlSl", "NegBlSlope", ParamUnit::X, offsetof(IVRecord, NBlSl)),
    Row("XPeak", "Xpeak", ParamUnit::X, offsetof(IVRecord, XPeak), true),
    Row("YPeak", "Ypeak", ParamUnit::Y, offsetof(IVRecord, YPeak), true),
    Row("Residual", "Residual", ParamUnit::Y, offsetof(IVRecord, Residual), true),
};

constexpr SettingRow Settings[] = {
    Flag("GHK", offsetof(IVRecord, GHK)),
    AnyInt16("Power", offsetof(IVRecord, Power)),
};

}

const ModelRow CurrentVoltageModel = {
    .Params = Params,
    .Settings = Settings,
    .Columns = Columns,
    .SetupMessage = "",
    .Init = Init,
    .ModelSetup = ModelSetup,
    .Tabulate = Tabulate,
    .Values = Values,
    .Solve = nullptr,
    .Derive = nullptr,
    .Residual = [](void* record) { return &RecordOf(record).Residual; },
    .SetUnits = nullptr,
    .Draw = DrawCurrentVoltage,
};

}
