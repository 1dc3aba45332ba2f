// What the fit commands share: types and parameters as words of the command line, and as JSON.
#pragma once
#include "app/json.h"
#include "fit/fit.h"

#include <optional>
#include <string>
#include <string_view>

namespace FitWords {

// A type by its short or long name, without regard to case, blanks and signs: "hodgkinhuxley",
// "1-exponential", "(exp(x-x0))^n". Types that have no model are found as well.
[[nodiscard]] std::optional<SweepFitType> SweepType(std::string_view name);
[[nodiscard]] std::optional<SeriesFitType> SeriesType(std::string_view name);

// "OnlineOnly, Parsed Equation, ...": all of them.
[[nodiscard]] std::string NamesOfSweepTypes();
// "Polynomial, Exponential, ...": the types that have a model.
[[nodiscard]] std::string NamesOfModels(Fit::SweepRecords& records);
[[nodiscard]] std::string NamesOfModels(Fit::SeriesRecords& records);

// Sets each of "Tau1=0.002", "Tau1=0.002:hold", "Tau1=:off" (which keeps the value), "Order=2",
// "Equation=c[1]*x"; texts before values, for an equation decides which coefficients there are. What cannot
// be set, and what is wrong with an equation, is said to the user. Done or WrongUse.
[[nodiscard]] int SetParams(const Fit::Selected& selected, const std::vector<std::string>& texts);

// A parameter as results show it: under the name of its stored column, or else its field's.
struct Result {
    std::string Name, Unit;
    FitParam Param;
    bool Derived = false;
};
[[nodiscard]] std::vector<Result> Results(const Fit::Selected& selected, std::string_view xUnit,
                                          std::string_view yUnit);

// "Iterations" to "Residual"; and a list of results under a name.
void AddOutcome(Json::Value& to, const Fit::Outcome& outcome);
void AddResults(Json::Value& to, const std::vector<Result>& results, const char* name = "Parameters");

}
