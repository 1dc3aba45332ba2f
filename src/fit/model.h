// What a model has to offer, and how it is evaluated over many points. For the files of the models and the
// optimiser; callers of a fit need fit/fit.h only.
//
// All models are separable: y = fixed part + SUM(amplitude * basis function). The amplitudes in state fit are
// solved linearly, and only the free nonlinear parameters go through the simplex.
//
// A model is a row of procedures (see models.h). Its ModelSetup corrects the record, refuses what cannot be
// fitted, and lists the free parameters and the amplitudes in a FitFunction. An evaluation has two halves:
//   Tabulate  everything that the nonlinear parameters fix, once a point, into columns: one for each basis
//             function, the fixed part, and whatever Values wants to find again;
//   Values    the model itself from these columns and the amplitudes as they now stand in the record.
// The linear step runs between the two, so no exponential is computed twice. Values follows the model's
// documented order of operations; it does not add up basis times amplitude where that would round
// differently. A single x is a table of one point, so the function of x and the table cannot disagree.
//
// A type whose parameters all go through the simplex has LinearCount 0; one that is solved directly has a
// Solve procedure; one that only measures would have neither.
#pragma once
#include "fit/control.h"
#include "fit/records.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <string_view>

namespace Equation {
class Ranged;
}

namespace Fit {

struct Formula;
struct ModelRow;
struct FitRun;

inline constexpr int MaxNonlinear = 12;
inline constexpr int MaxLinear = 4;
inline constexpr int MaxColumns = 9; // the constant 1 and up to eight of the model's own

// A free nonlinear parameter. On the logarithmic scale the simplex moves ln(Value).
struct FreeParam {
    double* Value = nullptr;
    bool Logarithmic = false;
};

// The function table of one fit, filled by ModelSetup. It points into the record, which must outlive it.
struct FitFunction {
    const ModelRow* Model = nullptr;
    void* Record = nullptr;
    int NonlinearCount = 0;
    FreeParam Free[MaxNonlinear]; // in the order of FitVector
    int LinearCount = 0;
    double* Target[MaxLinear] = {};         // receives the amplitude of the basis function
    int Basis[MaxLinear] = {};              // the column that holds it; 0 is the constant 1
    bool HasFixedPart = false;              // Tabulate fills the fixed part; otherwise it is 0 everywhere
    std::shared_ptr<Equation::Ranged> Text; // of a parsed equation, reading its record
};

// Columns over the points of X. The memory is the caller's; Column[0] holds ones, whoever lays the columns
// out fills it.
struct Tables {
    std::span<const double> X;
    double* Column[MaxColumns] = {};
    double* FixedPart = nullptr;
};

// Evenly spaced points of the whole selected range, before any reduction.
struct Grid {
    std::size_t Points = 0;
    double Interval = 0.0; // in the x unit
    double Start = 0.0;    // x of the first point

    [[nodiscard]] double At(std::size_t i) const { return static_cast<double>(i) * Interval + Start; }
};

// Unit of a parameter in terms of the fitted trace.
enum class ParamUnit : std::uint8_t { None, X, Y, YThenX, YPerX };

// One FitParam of a record: for the stored row, for listings, for setting by name.
struct ParamRow {
    const char* Name;         // record field
    const char* SweepColumn;  // names of the stored column at the two levels; nullptr: never stored
    const char* SeriesColumn; // there
    ParamUnit Unit;
    std::size_t At; // byte offset in the record
    bool Derived = false;
    const char* Symbol = ""; // what the formula calls it, where that is another name
};

enum class SettingKind : std::uint8_t { Int16, Byte, Real64, Text };

// One field of a record that is no FitParam.
struct SettingRow {
    const char* Name;
    SettingKind Kind;
    std::size_t At;
    double Min, Max; // values that the field can take; a model may refuse more. Of a text: 0, and its bytes
};

// The slots of a row; nullptr stands where a model has no need of a procedure.
struct ModelRow {
    std::span<const ParamRow> Params;        // in the order of the stored columns, residuals last
    std::span<const SettingRow> Settings;    // may be empty
    int Columns;                             // columns that Tabulate fills, the constant 1 included
    const char* SetupMessage;                // said when ModelSetup refuses
    void (*Init)(void* record, Level level); // refills the record with the defaults
    // False, with the record unchanged, for what the model refuses.
    bool (*ModelSetup)(void* record, FitFunction& function);
    void (*Tabulate)(const FitFunction& function, Tables& tables);
    void (*Values)(const FitFunction& function, const Tables& tables, double* values);
    void (*Solve)(FitRun& run);                                    // direct solve instead of the simplex
    void (*Derive)(const FitFunction& function, const Grid& grid); // derived results of the sweep level
    FitParam* (*Residual)(void* record);                           // where the residual of the fit goes
    void (*SetUnits)(void* record, std::string_view x, std::string_view y);
    void (*Draw)(const void* record, Formula& formula); // the formula as people read it
    // The user's own name of a parameter, by its row; empty where there is none.
    std::string_view (*UserName)(const void* record, std::size_t row) = nullptr;
};

// Model over x, in blocks; no memory is allocated. values has the size of x.
void ModelValues(const FitFunction& function, std::span<const double> x, double* values);

// Model at one x.
[[nodiscard]] double ModelValue(const FitFunction& function, double x);

// Helpers for the files of the models.

[[nodiscard]] inline bool IsFit(const FitParam& param) {
    return param.State == FitParamState::Fit;
}
[[nodiscard]] inline bool IsHeld(const FitParam& param) {
    return param.State == FitParamState::Hold;
}
// Any other byte that a file may bring counts as off.
[[nodiscard]] inline bool IsOff(const FitParam& param) {
    return !IsFit(param) && !IsHeld(param);
}
[[nodiscard]] inline bool AnyOff(const auto&... params) {
    return (IsOff(params) || ...);
}

[[nodiscard]] constexpr FitParam Param(double value, bool store = false,
                                       FitParamState state = FitParamState::Fit) {
    FitParam param;
    param.Value = value;
    param.State = state;
    param.Store = store ? 1 : 0;
    return param;
}
[[nodiscard]] constexpr FitParam OffParam(double value = 0.0) {
    return Param(value, false, FitParamState::Off);
}

// Adds the parameter to FitVector if it is in state fit.
void AddFree(FitFunction& function, FitParam& param, bool logarithmic = false);

// An amplitude in state fit becomes a target of the linear step; in hold it joins the fixed part.
void AddLinear(FitFunction& function, FitParam& amplitude, int column);

// A sum of amplitudes times columns in the order given; the amplitude of an empty entry is skipped.
struct Weighted {
    const FitParam* Amplitude;
    int Column;
};
void FixedSum(std::span<const Weighted> sum, Tables& tables);
void ValueSum(std::span<const Weighted> sum, const Tables& tables, double* values);

// base raised to an integer; 0 gives 1, a negative power the reciprocal.
[[nodiscard]] double IntegerPower(double base, int power);

void SetUnitField(char (&field)[UnitSize], std::string_view unit);

template <typename Record>
void SetRecordUnits(void* record, std::string_view x, std::string_view y) {
    SetUnitField(static_cast<Record*>(record)->XUnit, x);
    SetUnitField(static_cast<Record*>(record)->YUnit, y);
}

// Settings of the plain kinds; a flag is 0 or 1.
[[nodiscard]] constexpr SettingRow AnyInt16(const char* name, std::size_t at) {
    return {name, SettingKind::Int16, at, -32768, 32767};
}
[[nodiscard]] constexpr SettingRow Flag(const char* name, std::size_t at) {
    return {name, SettingKind::Byte, at, 0, 1};
}
[[nodiscard]] constexpr SettingRow AnyReal(const char* name, std::size_t at) {
    return {name, SettingKind::Real64, at, std::numeric_limits<double>::lowest(),
            std::numeric_limits<double>::max()};
}

}
