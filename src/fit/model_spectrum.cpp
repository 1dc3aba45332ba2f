// Power spectrum: a floor, two Lorentzians and a 1/f term.
#include "fit/formulas.h"
#include "fit/models.h"

#include <algorithm>
#include <cstddef>

namespace Fit {

namespace {

// Columns 1 to 3 hold the shapes of the terms at amplitude 1; the third term is the 1/f one.
constexpr int LastTerm = SpectrumTerms - 1;

SpectrumRecord& RecordOf(void* record) {
    return *static_cast<SpectrumRecord*>(record);
}

bool TermOff(const SpectrumTerm& term) {
    return AnyOff(term.S, term.Fc);
}

void Init(void* memory, Level) {
    auto& record = RecordOf(memory) = {};
    record.Sinf = Param(1E-26, true);
    record.Count = 1;
    record.Terms[0] = {Param(1E-25, true), Param(100.0, true)};
    for (int i = 1; i < SpectrumTerms; ++i)
        record.Terms[i] = {OffParam(), Param(1000.0, false, FitParamState::Hold)};
    record.Integral = OffParam();
}

bool ModelSetup(void* memory, FitFunction& function) {
    auto& record = RecordOf(memory);
    record.Count = 0;
    AddLinear(function, record.Sinf, 0);
    for (int i = 0; i < SpectrumTerms; ++i) {
        SpectrumTerm& term = record.Terms[i];
        if (IsOff(term.S)) term.Fc.State = FitParamState::Hold;
        if (TermOff(term)) continue;
        ++record.Count;
        AddLinear(function, term.S, 1 + i);
        AddFree(function, term.Fc);
    }
    return true;
}

struct TermSum {
    Weighted Terms[1 + SpectrumTerms];
    std::size_t Count = 0;
};

TermSum SumOf(const SpectrumRecord& record) {
    TermSum sum = {{{&record.Sinf, 0}}, 1};
    for (int i = 0; i < SpectrumTerms; ++i)
        if (!TermOff(record.Terms[i])) sum.Terms[sum.Count++] = {&record.Terms[i].S, 1 + i};
    return sum;
}

void Tabulate(const FitFunction& function, Tables& tables) {
    const auto& record = RecordOf(function.Record);
    for (int i = 0; i < SpectrumTerms; ++i) {
        if (TermOff(record.Terms[i])) continue;
        const double corner = record.Terms[i].Fc.Value;
        double* column = tables.Column[1 + i];
        for (std::size_t k = 0; k < tables.X.size(); ++k) {
            const double f = tables.X[k] / corner;
            column[k] = corner == 0.0 ? 0.0 : 1.0 / (1.0 + (i == LastTerm ? f : f * f));
        }
    }
    const TermSum sum = SumOf(record);
    if (function.HasFixedPart) FixedSum({sum.Terms, sum.Count}, tables);
}

void Values(const FitFunction& function, const Tables& tables, double* values) {
    const TermSum sum = SumOf(RecordOf(function.Record));
    ValueSum({sum.Terms, sum.Count}, tables, values);
}

constexpr ParamRow Row(const char* name, const char* column, ParamUnit unit, std::size_t at,
                       bool derived = false) {
    return {name, nullptr, column, unit, at, derived};
}

constexpr std::size_t TermAt(std::size_t i, std::size_t at) {
    return offsetof(SpectrumRecord, Terms) + i * sizeof(SpectrumTerm) + at;
}

constexpr std::size_t S = offsetof(SpectrumTerm, S), Fc = offsetof(SpectrumTerm, Fc);

constexpr ParamRow Params[] = {
    Row("Sinf", "Sinf", ParamUnit::Y, offsetof(SpectrumRecord, Sinf)),
    Row("S1", "SL00", ParamUnit::Y, TermAt(0, S)),
    Row("Fc1", "fLc0", ParamUnit::X, TermAt(0, Fc)),
    Row("S2", "SL01", ParamUnit::Y, TermAt(1, S)),
    Row("Fc2", "fLc1", ParamUnit::X, TermAt(1, Fc)),
    Row("S3", "SO0", ParamUnit::Y, TermAt(2, S)),
    Row("Fc3", "fOc", ParamUnit::X, TermAt(2, Fc)),
    Row("Integral", "Integral", ParamUnit::YThenX, offsetof(SpectrumRecord, Integral), true),
    Row("Residual", "Residual", ParamUnit::Y, offsetof(SpectrumRecord, Residual), true),
};

constexpr SettingRow Settings[] = {
    {"Count", SettingKind::Int16, offsetof(SpectrumRecord, Count), 0, SpectrumTerms}};

}

const ModelRow SpectrumModel = {
    .Params = Params,
    .Settings = Settings,
    .Columns = 1 + SpectrumTerms,
    .SetupMessage = "",
    .Init = Init,
    .ModelSetup = ModelSetup,
    .Tabulate = Tabulate,
    .Values = Values,
    .Solve = nullptr,
    .Derive = nullptr,
    .Residual = [](void* record) { return &RecordOf(record).Residual; },
    .SetUnits = nullptr,
    .Draw = DrawSpectrum,
};

}
