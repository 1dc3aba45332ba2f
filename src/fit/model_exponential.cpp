// Sums of up to three decaying or rising exponentials over an offset.
#include "fit/derived.h"
#include "fit/formulas.h"
#include "fit/models.h"
#include "math/vector_exp.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace Fit {

namespace {

// Columns 1 to 3 hold exp(-x/Tau) of the terms, or 1 - exp(-x/Tau).

ExpRecord& RecordOf(void* record) {
    return *static_cast<ExpRecord*>(record);
}

bool TermOff(const ExpTerm& term) {
    return AnyOff(term.Amp, term.Tau);
}

void Init(void* memory, Level level) {
    const FitParamState spareTau = level == Level::Sweep ? FitParamState::Fit : FitParamState::Hold;
    auto& record = RecordOf(memory);
    const std::uint8_t rising = record.Rising; // belongs to the type, not to its values
    record = {};
    record.Rising = rising;
    record.Count = 1;
    record.Amp0 = Param(0.0, true);
    record.Terms[0] = {Param(0.0, true), Param(1E-3, true)};
    record.Terms[1] = {OffParam(), Param(0.01, false, spareTau)};
    record.Terms[2] = {OffParam(), Param(0.1, false, spareTau)};
    record.XZero = record.YZero = record.Integral = OffParam();
}

bool ModelSetup(void* memory, FitFunction& function) {
    auto& record = RecordOf(memory);
    record.Count = 0;
    AddLinear(function, record.Amp0, 0);
    for (int i = 0; i < ExpTerms; ++i) {
        ExpTerm& term = record.Terms[i];
        if (IsOff(term.Amp)) term.Tau.State = FitParamState::Hold;
        if (TermOff(term)) continue;
        ++record.Count;
        AddLinear(function, term.Amp, i + 1);
        AddFree(function, term.Tau, true);
    }
    return true;
}

struct TermSum {
    Weighted Terms[1 + ExpTerms];
    std::size_t Count = 0;
};

TermSum SumOf(const ExpRecord& record) {
    TermSum sum = {{{&record.Amp0, 0}}, 1};
    for (int i = 0; i < ExpTerms; ++i)
        if (!TermOff(record.Terms[i])) sum.Terms[sum.Count++] = {&record.Terms[i].Amp, 1 + i};
    return sum;
}

void Tabulate(const FitFunction& function, Tables& tables) {
    const auto& record = RecordOf(function.Record);
    const std::size_t points = tables.X.size();
    for (int i = 0; i < ExpTerms; ++i) {
        if (TermOff(record.Terms[i])) continue;
        double* column = tables.Column[1 + i];
        const double tau = record.Terms[i].Tau.Value;
        if (tau <= 0.0) {
            std::fill_n(column, points, 0.0);
            continue;
        }
        VectorExp::Decay(tables.X.data(), 0.0, tau, column, points);
        if (record.Rising)
            for (std::size_t k = 0; k < points; ++k) column[k] = 1.0 - column[k];
    }
    const TermSum sum = SumOf(record);
    if (function.HasFixedPart) FixedSum({sum.Terms, sum.Count}, tables);
}

void Values(const FitFunction& function, const Tables& tables, double* values) {
    const TermSum sum = SumOf(RecordOf(function.Record));
    ValueSum({sum.Terms, sum.Count}, tables, values);
}

void Derive(const FitFunction& function, const Grid& grid) {
    auto& record = RecordOf(function.Record);
    SetResult(record.YZero, record.Count > 0 ? Result{true, ModelValue(function, 0.0)} : Result{});
    const GridResults results = DeriveOnGrid(function, grid);
    SetResult(record.Integral, results.Integral);
    SetResult(record.XZero, results.XZero);
}

constexpr std::size_t TermAt(std::size_t i) {
    return offsetof(ExpRecord, Terms) + i * sizeof(ExpTerm);
}
constexpr std::size_t AmpAt(std::size_t i) {
    return TermAt(i) + offsetof(ExpTerm, Amp);
}
constexpr std::size_t TauAt(std::size_t i) {
    return TermAt(i) + offsetof(ExpTerm, Tau);
}

constexpr ParamRow Params[] = {
    {"Amp0", "amp0", "amp0", ParamUnit::Y, offsetof(ExpRecord, Amp0)},
    {"Amp1", "amp1", "amp1", ParamUnit::Y, AmpAt(0)},
    {"Tau1", "tau1", "tau1", ParamUnit::X, TauAt(0)},
    {"Amp2", "amp2", "amp2", ParamUnit::Y, AmpAt(1)},
    {"Tau2", "tau2", "tau2", ParamUnit::X, TauAt(1)},
    {"Amp3", "amp3", "amp3", ParamUnit::Y, AmpAt(2)},
    {"Tau3", "tau3", "tau3", ParamUnit::X, TauAt(2)},
    {"XZero", "XZero", "Xzero", ParamUnit::X, offsetof(ExpRecord, XZero), true},
    {"YZero", "YZero", "Yzero", ParamUnit::Y, offsetof(ExpRecord, YZero), true},
    {"Integral", "Integral", "Integral", ParamUnit::YThenX, offsetof(ExpRecord, Integral), true},
    {"Residual", nullptr, "Residual", ParamUnit::Y, offsetof(ExpRecord, Residual), true},
};

constexpr SettingRow Settings[] = {
    {"Count", SettingKind::Int16, offsetof(ExpRecord, Count), 0, ExpTerms},
    Flag("Rising", offsetof(ExpRecord, Rising)),
    {"TimeSource", SettingKind::Byte, offsetof(ExpRecord, TimeSource), 0, 2},
    AnyReal("GivenTime0", offsetof(ExpRecord, GivenTime0)),
};

}

const ModelRow ExponentialModel = {
    .Params = Params,
    .Settings = Settings,
    .Columns = 1 + ExpTerms,
    .SetupMessage = " Error during initialization of ExpFit ",
    .Init = Init,
    .ModelSetup = ModelSetup,
    .Tabulate = Tabulate,
    .Values = Values,
    .Solve = nullptr,
    .Derive = Derive,
    .Residual = [](void* record) { return &RecordOf(record).Residual; },
    .SetUnits = SetRecordUnits<ExpRecord>,
    .Draw = DrawExponential,
};

}
