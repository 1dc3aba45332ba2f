// The contents of a parameter record by name: one list a type, which serves storing a row of results,
// listing it for people and scripts, and setting start values from a command line or a file.
#pragma once
#include "fit/model.h"
#include "fit/records.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Fit {

// A type at a level with its model and current record; empty for a type that has no model.
struct Selected {
    const ModelRow* Model = nullptr;
    void* Record = nullptr;
    Fit::Level Level = Level::Sweep;

    explicit operator bool() const { return Model != nullptr; }
};

struct ParamEntry {
    std::string_view Name;   // record field: "Tau1", "Amp0", "Coeff3", "Residual"
    std::string_view Column; // name of the stored column: "tau1"; empty: never stored
    ParamUnit Unit = ParamUnit::None;
    FitParam* Param = nullptr; // in the record
    bool Derived = false;      // computed after the fit, not fitted
    std::string_view Symbol;   // what the formula calls it where that is another name: "c[1]"
};

struct SettingEntry {
    std::string_view Name; // "Order", "PowerM", "TimeSource"
    SettingKind Kind = SettingKind::Int16;
    double Value = 0.0;
};

// All parameters of the type in the order of the stored columns, residuals last. A row of results takes those
// with a column and Store on.
[[nodiscard]] std::vector<ParamEntry> Params(const Selected& selected);

// The numbers of the record that are no FitParam.
[[nodiscard]] std::vector<SettingEntry> Settings(const Selected& selected);

// A parameter by its field or column name or its symbol. An exact match of any goes before one without regard
// to case, a field before a column, and a column before a symbol. Empty when there is none.
[[nodiscard]] std::optional<ParamEntry> FindParam(const Selected& selected, std::string_view name);

// Sets a parameter, or a setting, by name. Without a state the parameter keeps its own.
// False, with nothing changed, for an unknown name, a value that is not finite, and a setting that has a
// state, is out of the field's range, or is no whole number where one is asked for.
[[nodiscard]] bool SetByName(const Selected& selected, std::string_view name, double value,
                             std::optional<FitParamState> state = {});

// Sets a text of the record by name, such as "Equation". False, with nothing changed, when there is none of
// that name, or the text does not fit into its field.
[[nodiscard]] bool SetTextByName(const Selected& selected, std::string_view name, std::string_view text);
// The names of these texts.
[[nodiscard]] std::vector<std::string_view> TextFields(const Selected& selected);

// The unit of a parameter from the units of the fitted data: "A" and "s" make "As" for an integral.
[[nodiscard]] std::string UnitText(ParamUnit unit, std::string_view xUnit, std::string_view yUnit);

}
