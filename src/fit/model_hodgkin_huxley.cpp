// Current through channels with activation and inactivation after Hodgkin and Huxley, with gating current.
#include "fit/derived.h"
#include "fit/formulas.h"
#include "fit/models.h"
#include "math/vector_exp.h"

#include <algorithm>
#include <cstddef>

namespace Fit {

namespace {

enum { One, BasisColumn, MColumn, HColumn, GateColumn, SlowColumn, Columns };

HHRecord& RecordOf(void* record) {
    return *static_cast<HHRecord*>(record);
}

void Init(void* memory, Level) {
    auto& record = RecordOf(memory) = {};
    record.PowerM = 4;
    record.TauM = Param(1E-3, true);
    record.PowerH = 1;
    record.TauH = Param(0.01, true);
    record.Hinf = Param(1.0, true);
    record.TauH2 = OffParam(0.01);
    record.Ratio12 = OffParam(1.0);
    record.I0 = Param(0.0, true);
    record.Delay = OffParam(0.0);
    record.Qon = OffParam(1.0);
    record.XPeak = record.YPeak = record.XZero = OffParam();
}

bool Refused(const HHRecord& record) {
    if (record.PowerM < 0 || record.PowerH < 0) return true;
    if (record.PowerM > 0 && (record.TauM.Value < 0.0 || IsOff(record.I0))) return true;
    if (record.PowerH > 0 && record.TauH.Value < 0.0) return true;
    return !IsOff(record.TauH2) && record.TauH2.Value < 0.0;
}

// The order matters: what one line switches off, a later one sees.
void Normalise(HHRecord& record) {
    constexpr FitParamState Off = FitParamState::Off;
    if (record.PowerM == 0 || IsOff(record.TauM)) {
        record.TauM.State = record.Qon.State = Off;
        record.PowerM = 0;
    }
    if (IsOff(record.Qon)) record.Qon.Value = 0.0;
    if (record.PowerH == 0 || IsOff(record.TauH)) {
        record.TauH.State = record.TauH2.State = record.Hinf.State = record.Ratio12.State = Off;
        record.PowerH = 0;
    }
    if (IsOff(record.TauH2)) {
        record.Ratio12.Value = 1.0;
        record.Ratio12.State = FitParamState::Hold;
    }
    if (IsOff(record.Delay)) record.Delay.Value = 0.0;
}

bool ModelSetup(void* memory, FitFunction& function) {
    auto& record = RecordOf(memory);
    if (Refused(record)) return false;
    Normalise(record);
    if (IsFit(record.I0)) {
        AddLinear(function, record.I0, BasisColumn);
        function.HasFixedPart = !IsOff(record.Qon);
    }
    AddFree(function, record.Delay);
    AddFree(function, record.TauM, true);
    AddFree(function, record.TauH, true);
    AddFree(function, record.TauH2, true);
    AddFree(function, record.Qon);
    AddFree(function, record.Hinf);
    AddFree(function, record.Ratio12);
    return true;
}

void Decay(const Tables& tables, double delay, double tau, double* column) {
    VectorExp::Decay(tables.X.data(), delay, tau, column, tables.X.size());
}

// m into its column, the gating current into the gate column.
void TabulateActivation(const HHRecord& record, Tables& tables) {
    const std::size_t points = tables.X.size();
    double *m = tables.Column[MColumn], *gate = tables.Column[GateColumn];
    std::fill_n(gate, points, 0.0);
    if (record.PowerM < 1) {
        std::fill_n(m, points, 1.0);
        return;
    }
    const double tauM = record.TauM.Value, charge = record.Qon.Value;
    Decay(tables, record.Delay.Value, tauM, m);
    if (!IsOff(record.Qon) && charge > 0.0)
        for (std::size_t k = 0; k < points; ++k) gate[k] = m[k] * charge / tauM;
    for (std::size_t k = 0; k < points; ++k) m[k] = IntegerPower(1.0 - m[k], record.PowerM);
}

void TabulateInactivation(const HHRecord& record, Tables& tables) {
    const std::size_t points = tables.X.size();
    double *h = tables.Column[HColumn], *slow = tables.Column[SlowColumn];
    if (record.PowerH < 1) {
        std::fill_n(h, points, 1.0);
        return;
    }
    const double hinf = IsOff(record.Hinf) ? 0.0 : record.Hinf.Value;
    const double ratio = AnyOff(record.Ratio12, record.TauH2) ? 1.0 : record.Ratio12.Value;
    const double delay = record.Delay.Value;
    Decay(tables, delay, record.TauH.Value, h);
    if (ratio == 1.0) {
        for (std::size_t k = 0; k < points; ++k) h[k] = h[k] * (1.0 - hinf) + hinf;
    } else {
        Decay(tables, delay, record.TauH2.Value, slow);
        for (std::size_t k = 0; k < points; ++k)
            h[k] = (ratio * h[k] + (1.0 - ratio) * slow[k]) * (1.0 - hinf) + hinf;
    }
    if (record.PowerH > 1)
        for (std::size_t k = 0; k < points; ++k) h[k] = IntegerPower(h[k], record.PowerH);
}

void Tabulate(const FitFunction& function, Tables& tables) {
    const auto& record = RecordOf(function.Record);
    const std::size_t points = tables.X.size();
    double *m = tables.Column[MColumn], *h = tables.Column[HColumn], *gate = tables.Column[GateColumn];
    TabulateActivation(record, tables);
    TabulateInactivation(record, tables);
    for (std::size_t k = 0; k < points; ++k)
        if (tables.X[k] - record.Delay.Value < 0.0) gate[k] = m[k] = h[k] = 0.0;
    for (std::size_t k = 0; k < points; ++k) tables.Column[BasisColumn][k] = m[k] * h[k];
    if (function.HasFixedPart) std::copy_n(gate, points, tables.FixedPart);
}

void Values(const FitFunction& function, const Tables& tables, double* values) {
    const auto& record = RecordOf(function.Record);
    const double* const* column = tables.Column;
    const double current = IsOff(record.I0) ? 0.0 : record.I0.Value;
    for (std::size_t k = 0; k < tables.X.size(); ++k)
        values[k] = column[GateColumn][k] + current * column[MColumn][k] * column[HColumn][k];
}

void Derive(const FitFunction& function, const Grid& grid) {
    auto& record = RecordOf(function.Record);
    const GridResults results = DeriveOnGrid(function, grid);
    SetResult(record.XPeak, results.XPeak);
    SetResult(record.YPeak, results.YPeak);
    SetResult(record.XZero, results.XZero);
}

constexpr ParamRow Row(const char* name, const char* column, ParamUnit unit, std::size_t at,
                       bool derived = false) {
    return {name, column, column, unit, at, derived};
}

constexpr ParamRow Params[] = {
    Row("TauM", "tauM", ParamUnit::X, offsetof(HHRecord, TauM)),
    Row("TauH", "tauH", ParamUnit::X, offsetof(HHRecord, TauH)),
    Row("Hinf", "Hinf", ParamUnit::None, offsetof(HHRecord, Hinf)),
    Row("TauH2", "tauH2", ParamUnit::X, offsetof(HHRecord, TauH2)),
    Row("Ratio12", "a1/a1+a2", ParamUnit::None, offsetof(HHRecord, Ratio12)),
    Row("I0", "I_0", ParamUnit::Y, offsetof(HHRecord, I0)),
    Row("Delay", "Delay", ParamUnit::X, offsetof(HHRecord, Delay)),
    Row("Qon", "Qon", ParamUnit::YThenX, offsetof(HHRecord, Qon)),
    Row("XPeak", "XPeak", ParamUnit::X, offsetof(HHRecord, XPeak), true),
    Row("YPeak", "YPeak", ParamUnit::Y, offsetof(HHRecord, YPeak), true),
    Row("XZero", "XZero", ParamUnit::X, offsetof(HHRecord, XZero), true),
    Row("Residual", nullptr, ParamUnit::Y, offsetof(HHRecord, Residual), true),
};

constexpr SettingRow Settings[] = {
    AnyInt16("PowerM", offsetof(HHRecord, PowerM)),
    AnyInt16("PowerH", offsetof(HHRecord, PowerH)),
};

}

const ModelRow HodgkinHuxleyModel = {
    .Params = Params,
    .Settings = Settings,
    .Columns = Columns,
    .SetupMessage = " Error during initialization of HHFit ",
    .Init = Init,
    .ModelSetup = ModelSetup,
    .Tabulate = Tabulate,
    .Values = Values,
    .Solve = nullptr,
    .Derive = Derive,
    .Residual = [](void* record) { return &RecordOf(record).Residual; },
    .SetUnits = SetRecordUnits<HHRecord>,
    .Draw = DrawHodgkinHuxley,
};

}
