// Sum of up to three powers of exponentials that start at a shift, over an offset.
#include "fit/formulas.h"
#include "fit/models.h"
#include "math/vector_exp.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace Fit {

namespace {

// Columns 1 to 3 hold the terms with their amplitudes, 0 up to the shift: only Amp0 is solved linearly.

GenExpRecord& RecordOf(void* record) {
    return *static_cast<GenExpRecord*>(record);
}

bool TermOff(const GenExpTerm& term) {
    return AnyOff(term.Power, term.Amp, term.Tau) || term.Tau.Value <= 0.0;
}

void Init(void* memory, Level) {
    constexpr FitParamState Hold = FitParamState::Hold;
    auto& record = RecordOf(memory) = {};
    record.X0 = OffParam();
    record.Amp0 = Param(1.0);
    record.Terms[0] = {1, Param(1.0, false, Hold), Param(-1.0), Param(1E-3)};
    record.Terms[1] = {1, Param(1.0, false, Hold), OffParam(1.0), Param(0.01, false, Hold)};
    record.Terms[2] = {1, Param(1.0, false, Hold), OffParam(1.0), Param(0.1, false, Hold)};
    record.Integral = OffParam();
}

bool ModelSetup(void* memory, FitFunction& function) {
    auto& record = RecordOf(memory);
    AddLinear(function, record.Amp0, 0);
    function.HasFixedPart = IsFit(record.Amp0);
    AddFree(function, record.X0);
    for (GenExpTerm& term : record.Terms) {
        if (IsOff(term.Tau)) term.Amp.State = term.Power.State = FitParamState::Off;
        AddFree(function, term.Power);
        AddFree(function, term.Amp);
        AddFree(function, term.Tau, true);
    }
    return true;
}

void TabulateTerm(const GenExpTerm& term, double shift, std::span<const double> x, double* column) {
    const double tau = term.Tau.Value, amplitude = term.Amp.Value, power = term.Power.Value;
    VectorExp::Decay(x.data(), shift, tau, column, x.size());
    for (std::size_t k = 0; k < x.size(); ++k) {
        if (x[k] - shift <= 0.0) {
            column[k] = 0.0;
            continue;
        }
        const double base = term.Rising ? 1.0 - column[k] : column[k];
        column[k] = amplitude * (power == 1.0 ? base : std::pow(base, power));
    }
}

// Adds the terms in use to what stands in out.
void AddTerms(const GenExpRecord& record, const Tables& tables, double* out) {
    for (int i = 0; i < GenExpTerms; ++i) {
        if (TermOff(record.Terms[i])) continue;
        const double* column = tables.Column[1 + i];
        for (std::size_t k = 0; k < tables.X.size(); ++k) out[k] += column[k];
    }
}

void Tabulate(const FitFunction& function, Tables& tables) {
    const auto& record = RecordOf(function.Record);
    const double shift = IsOff(record.X0) ? 0.0 : record.X0.Value;
    for (int i = 0; i < GenExpTerms; ++i)
        if (!TermOff(record.Terms[i])) TabulateTerm(record.Terms[i], shift, tables.X, tables.Column[1 + i]);
    if (!function.HasFixedPart) return;
    std::fill_n(tables.FixedPart, tables.X.size(), 0.0);
    AddTerms(record, tables, tables.FixedPart);
}

void Values(const FitFunction& function, const Tables& tables, double* values) {
    const auto& record = RecordOf(function.Record);
    std::fill_n(values, tables.X.size(), IsOff(record.Amp0) ? 0.0 : record.Amp0.Value);
    AddTerms(record, tables, values);
}

constexpr ParamRow Row(const char* name, const char* column, ParamUnit unit, std::size_t at,
                       bool derived = false) {
    return {name, nullptr, column, unit, at, derived};
}

constexpr std::size_t TermAt(std::size_t i, std::size_t at) {
    return offsetof(GenExpRecord, Terms) + i * sizeof(GenExpTerm) + at;
}

constexpr std::size_t Rising = offsetof(GenExpTerm, Rising), Power = offsetof(GenExpTerm, Power),
                      Amp = offsetof(GenExpTerm, Amp), Tau = offsetof(GenExpTerm, Tau);

constexpr ParamRow Params[] = {
    Row("X0", "x0", ParamUnit::X, offsetof(GenExpRecord, X0)),
    Row("Amp0", "amp0", ParamUnit::Y, offsetof(GenExpRecord, Amp0)),
    Row("Power1", "n1", ParamUnit::None, TermAt(0, Power)),
    Row("Amp1", "amp1", ParamUnit::Y, TermAt(0, Amp)),
    Row("Tau1", "tau1", ParamUnit::X, TermAt(0, Tau)),
    Row("Power2", "n2", ParamUnit::None, TermAt(1, Power)),
    Row("Amp2", "amp2", ParamUnit::Y, TermAt(1, Amp)),
    Row("Tau2", "tau2", ParamUnit::X, TermAt(1, Tau)),
    Row("Power3", "n3", ParamUnit::None, TermAt(2, Power)),
    Row("Amp3", "amp3", ParamUnit::Y, TermAt(2, Amp)),
    Row("Tau3", "tau3", ParamUnit::X, TermAt(2, Tau)),
    Row("Integral", "Integral", ParamUnit::YThenX, offsetof(GenExpRecord, Integral), true),
    Row("Residual", "Residual", ParamUnit::Y, offsetof(GenExpRecord, Residual), true),
};

constexpr SettingRow Settings[] = {
    Flag("Rising1", TermAt(0, Rising)),
    Flag("Rising2", TermAt(1, Rising)),
    Flag("Rising3", TermAt(2, Rising)),
    {"Option", SettingKind::Byte, offsetof(GenExpRecord, Option), 0, 255},
};

}

const ModelRow GenExponentialModel = {
    .Params = Params,
    .Settings = Settings,
    .Columns = 1 + GenExpTerms,
    .SetupMessage = "",
    .Init = Init,
    .ModelSetup = ModelSetup,
    .Tabulate = Tabulate,
    .Values = Values,
    .Solve = nullptr,
    .Derive = nullptr,
    .Residual = [](void* record) { return &RecordOf(record).Residual; },
    .SetUnits = nullptr,
    .Draw = DrawGenExponential,
};

}
