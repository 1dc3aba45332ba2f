// The two models whose terms are an amplitude over a sum: Boltzmann and dose-response curves.
#include "fit/formulas.h"
#include "fit/models.h"
#include "math/vector_exp.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace Fit {

namespace {

// Columns: 1, then the basis functions 1/divisor of the terms, then their divisors.

// An offset and amplitudes over divisors, in this order.
struct Quotients {
    const FitParam* Offset;
    const FitParam* Amplitudes[BoltzmannTerms];
    const double* Divisors[BoltzmannTerms];
    int Count = 0;

    void Add(const FitParam& amplitude, const double* divisors) {
        Amplitudes[Count] = &amplitude;
        Divisors[Count++] = divisors;
    }
};

void AddUp(const Quotients& sum, bool heldOnly, std::size_t points, double* out) {
    const auto included = [heldOnly](const FitParam& param) {
        return heldOnly ? IsHeld(param) : !IsOff(param);
    };
    std::fill_n(out, points, included(*sum.Offset) ? sum.Offset->Value : 0.0);
    for (int i = 0; i < sum.Count; ++i) {
        if (!included(*sum.Amplitudes[i])) continue;
        const double amplitude = sum.Amplitudes[i]->Value;
        for (std::size_t k = 0; k < points; ++k) out[k] += amplitude / sum.Divisors[i][k];
    }
}

void Reciprocals(const double* divisors, std::size_t points, double* out) {
    for (std::size_t k = 0; k < points; ++k) out[k] = 1.0 / divisors[k];
}

BoltzmannRecord& BoltzmannOf(void* record) {
    return *static_cast<BoltzmannRecord*>(record);
}

bool TermOff(const BoltzmannTerm& term) {
    return AnyOff(term.Amp, term.Xhalf, term.Slope);
}

constexpr int BasisColumn(int term) {
    return 1 + term;
}
constexpr int DivisorColumn(int term) {
    return 1 + BoltzmannTerms + term;
}

void InitBoltzmann(void* memory, Level) {
    auto& record = BoltzmannOf(memory) = {};
    record.Offset = Param(0.0);
    record.Terms[0] = {1, Param(1.0), Param(-0.04), Param(0.01)};
    record.Terms[1] = {1, OffParam(1.0), Param(-0.1), Param(0.01)};
}

bool SetupBoltzmann(void* memory, FitFunction& function) {
    auto& record = BoltzmannOf(memory);
    AddLinear(function, record.Offset, 0);
    for (int i = 0; i < BoltzmannTerms; ++i) {
        BoltzmannTerm& term = record.Terms[i];
        if (TermOff(term)) continue;
        AddLinear(function, term.Amp, BasisColumn(i));
        AddFree(function, term.Xhalf);
        AddFree(function, term.Slope);
    }
    return true;
}

Quotients BoltzmannSum(const BoltzmannRecord& record, const Tables& tables) {
    Quotients sum = {&record.Offset, {}, {}};
    for (int i = 0; i < BoltzmannTerms; ++i)
        if (!TermOff(record.Terms[i])) sum.Add(record.Terms[i].Amp, tables.Column[DivisorColumn(i)]);
    return sum;
}

void TabulateBoltzmann(const FitFunction& function, Tables& tables) {
    const auto& record = BoltzmannOf(function.Record);
    const std::size_t points = tables.X.size();
    for (int i = 0; i < BoltzmannTerms; ++i) {
        const BoltzmannTerm& term = record.Terms[i];
        if (TermOff(term)) continue;
        double* divisor = tables.Column[DivisorColumn(i)];
        VectorExp::Decay(tables.X.data(), term.Xhalf.Value, term.Slope.Value, divisor, points);
        for (std::size_t k = 0; k < points; ++k) divisor[k] = IntegerPower(1.0 + divisor[k], term.Power);
        Reciprocals(divisor, points, tables.Column[BasisColumn(i)]);
    }
    if (function.HasFixedPart) AddUp(BoltzmannSum(record, tables), true, points, tables.FixedPart);
}

constexpr ParamRow Row(const char* name, const char* column, ParamUnit unit, std::size_t at,
                       bool derived = false) {
    return {name, nullptr, column, unit, at, derived};
}

constexpr std::size_t TermAt(std::size_t i, std::size_t at) {
    return offsetof(BoltzmannRecord, Terms) + i * sizeof(BoltzmannTerm) + at;
}

constexpr std::size_t Amp = offsetof(BoltzmannTerm, Amp), Xhalf = offsetof(BoltzmannTerm, Xhalf),
                      Slope = offsetof(BoltzmannTerm, Slope), Power = offsetof(BoltzmannTerm, Power);

constexpr ParamRow BoltzmannParams[] = {
    Row("Offset", "Offset", ParamUnit::Y, offsetof(BoltzmannRecord, Offset)),
    Row("Amp1", "Amp1", ParamUnit::Y, TermAt(0, Amp)),
    Row("Xhalf1", "Xhalf1", ParamUnit::X, TermAt(0, Xhalf)),
    Row("Slope1", "Slope1", ParamUnit::X, TermAt(0, Slope)),
    Row("Amp2", "Amp2", ParamUnit::Y, TermAt(1, Amp)),
    Row("Xhalf2", "Xhalf2", ParamUnit::X, TermAt(1, Xhalf)),
    Row("Slope2", "Slope2", ParamUnit::X, TermAt(1, Slope)),
    Row("Residual", "Residual", ParamUnit::Y, offsetof(BoltzmannRecord, Residual), true),
};

constexpr SettingRow BoltzmannSettings[] = {
    AnyInt16("Power1", TermAt(0, Power)),
    AnyInt16("Power2", TermAt(1, Power)),
};

DoseRecord& DoseOf(void* record) {
    return *static_cast<DoseRecord*>(record);
}

enum { One, DoseBasis, DoseDivisor, DoseColumns };

bool TermOff(const DoseRecord& record) {
    return AnyOff(record.KD, record.Hill, record.Amp);
}

void InitDose(void* memory, Level) {
    DoseOf(memory) = {
        .Offset = Param(0.0), .KD = Param(1.0), .Hill = Param(1.0), .Amp = Param(1.0), .Residual = {}};
}

bool SetupDose(void* memory, FitFunction& function) {
    auto& record = DoseOf(memory);
    AddLinear(function, record.Offset, 0);
    if (TermOff(record)) return true;
    AddLinear(function, record.Amp, DoseBasis);
    AddFree(function, record.KD);
    AddFree(function, record.Hill);
    return true;
}

Quotients DoseSum(const DoseRecord& record, const Tables& tables) {
    Quotients sum = {&record.Offset, {}, {}};
    if (!TermOff(record)) sum.Add(record.Amp, tables.Column[DoseDivisor]);
    return sum;
}

void TabulateDose(const FitFunction& function, Tables& tables) {
    const auto& record = DoseOf(function.Record);
    const std::size_t points = tables.X.size();
    double* divisor = tables.Column[DoseDivisor];
    if (!TermOff(record)) {
        for (std::size_t k = 0; k < points; ++k)
            divisor[k] = 1.0 + std::pow(tables.X[k] / record.KD.Value, record.Hill.Value);
        Reciprocals(divisor, points, tables.Column[DoseBasis]);
    }
    if (function.HasFixedPart) AddUp(DoseSum(record, tables), true, points, tables.FixedPart);
}

constexpr ParamRow DoseParams[] = {
    Row("Offset", "Offset", ParamUnit::Y, offsetof(DoseRecord, Offset)),
    Row("KD", "kD", ParamUnit::X, offsetof(DoseRecord, KD)),
    Row("Hill", "nHill", ParamUnit::None, offsetof(DoseRecord, Hill)),
    Row("Amp", "Amp", ParamUnit::Y, offsetof(DoseRecord, Amp)),
    Row("Residual", "Residual", ParamUnit::Y, offsetof(DoseRecord, Residual), true),
};

}

const ModelRow BoltzmannModel = {
    .Params = BoltzmannParams,
    .Settings = BoltzmannSettings,
    .Columns = 1 + 2 * BoltzmannTerms,
    .SetupMessage = "",
    .Init = InitBoltzmann,
    .ModelSetup = SetupBoltzmann,
    .Tabulate = TabulateBoltzmann,
    .Values =
        [](const FitFunction& function, const Tables& tables, double* values) {
            AddUp(BoltzmannSum(BoltzmannOf(function.Record), tables), false, tables.X.size(), values);
        },
    .Solve = nullptr,
    .Derive = nullptr,
    .Residual = [](void* record) { return &BoltzmannOf(record).Residual; },
    .SetUnits = nullptr,
    .Draw = DrawBoltzmann,
};

const ModelRow DoseResponseModel = {
    .Params = DoseParams,
    .Settings = {},
    .Columns = DoseColumns,
    .SetupMessage = "",
    .Init = InitDose,
    .ModelSetup = SetupDose,
    .Tabulate = TabulateDose,
    .Values =
        [](const FitFunction& function, const Tables& tables, double* values) {
            AddUp(DoseSum(DoseOf(function.Record), tables), false, tables.X.size(), values);
        },
    .Solve = nullptr,
    .Derive = nullptr,
    .Residual = [](void* record) { return &DoseOf(record).Residual; },
    .SetUnits = nullptr,
    .Draw = DrawDoseResponse,
};

}
