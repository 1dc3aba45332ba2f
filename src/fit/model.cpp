#include "fit/model.h"

#include <algorithm>
#include <cassert>
#include <iterator>

namespace Fit {

void ModelValues(const FitFunction& function, std::span<const double> x, double* values) {
    constexpr std::size_t Block = 256;
    double columns[MaxColumns][Block];
    double fixedPart[Block];
    Tables tables;
    for (int i = 0; i < MaxColumns; ++i) tables.Column[i] = columns[i];
    tables.FixedPart = fixedPart;
    std::fill_n(columns[0], std::min(Block, x.size()), 1.0);
    for (std::size_t done = 0; done < x.size(); done += Block) {
        tables.X = x.subspan(done, std::min(Block, x.size() - done));
        function.Model->Tabulate(function, tables);
        function.Model->Values(function, tables, values + done);
    }
}

double ModelValue(const FitFunction& function, double x) {
    double value = 0.0;
    ModelValues(function, {&x, 1}, &value);
    return value;
}

void AddFree(FitFunction& function, FitParam& param, bool logarithmic) {
    if (!IsFit(param)) return;
    assert(function.NonlinearCount < MaxNonlinear);
    function.Free[function.NonlinearCount++] = {&param.Value, logarithmic};
}

void AddLinear(FitFunction& function, FitParam& amplitude, int column) {
    if (IsFit(amplitude)) {
        assert(function.LinearCount < MaxLinear);
        function.Target[function.LinearCount] = &amplitude.Value;
        function.Basis[function.LinearCount++] = column;
    } else if (IsHeld(amplitude)) {
        function.HasFixedPart = true;
    }
}

namespace {

void AddUp(std::span<const Weighted> sum, const Tables& tables, bool heldOnly, double* out) {
    std::fill_n(out, tables.X.size(), 0.0);
    for (const Weighted& term : sum) {
        if (!(heldOnly ? IsHeld(*term.Amplitude) : !IsOff(*term.Amplitude))) continue;
        const double amplitude = term.Amplitude->Value;
        const double* column = tables.Column[term.Column];
        for (std::size_t k = 0; k < tables.X.size(); ++k) out[k] += amplitude * column[k];
    }
}

}

void FixedSum(std::span<const Weighted> sum, Tables& tables) {
    AddUp(sum, tables, true, tables.FixedPart);
}

void ValueSum(std::span<const Weighted> sum, const Tables& tables, double* values) {
    AddUp(sum, tables, false, values);
}

double IntegerPower(double base, int power) {
    double result = 1.0;
    for (int left = power < 0 ? -power : power; left > 0; left /= 2) {
        if (left % 2 == 1) result *= base;
        base *= base;
    }
    return power < 0 ? 1.0 / result : result;
}

void SetUnitField(char (&field)[UnitSize], std::string_view unit) {
    std::fill(std::begin(field), std::end(field), '\0');
    std::copy_n(unit.begin(), std::min(unit.size(), std::size_t{UnitSize}), field);
}

}
