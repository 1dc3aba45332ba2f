// The text of a parsed fit: the words it may use, and what is checked when it changes.
//
// An equation (math/ranged_equation.h) may name X, the coefficients C[1] to C[9] with their present values,
// and the words that all equations share (online/equation_words.h).
#pragma once
#include "fit/records.h"
#include "math/ranged_equation.h"

#include <array>
#include <string>

namespace Fit {

struct Selected;

// The record of a parsed equation; none for another type.
[[nodiscard]] ParsedRecord* ParsedRecordOf(const Selected& selected);

// Where the coefficients stand; nullptr for one that is not there.
using CoefficientPlaces = std::array<const double*, ParsedCoeffs>;
[[nodiscard]] CoefficientPlaces PlacesOf(const ParsedRecord& record);

// A coefficient that is not there is an "error in fit coefficient index".
[[nodiscard]] Equation::Tokens FitTokens(const CoefficientPlaces& coefficients);

// The first coefficient that a text names, whatever else is wrong with the text. Index 0, with the end of the
// text as begin, when there is none.
struct CoefficientName {
    std::size_t Begin = 0, Size = 0;
    int Index = 0; // 1 to 9
};
[[nodiscard]] CoefficientName NextCoefficient(std::string_view text);

// A coefficient that the equation does not name becomes off; one that is off but named becomes fit.
void NormaliseStates(ParsedRecord& record);

// To be run when the equation changes and when the type is chosen: normalises the states, and tries each
// piece once with the present values, at the limit of its range. False with an error, in the first of these
// that is true: "Illegal fit record" (no record); "error preparsing", brackets that do not match; "too many
// ranges"; "error in {range}", one that is not closed, not computable or not a number; "error in range
// order", where the position is the number of the range that is not below the next; that of an equation. The
// states are normalised all the same.
[[nodiscard]] bool PreparseEquation(ParsedRecord* record, Equation::Error& error);

// "Unknown token at pos. 5"; the message alone where there is no position.
[[nodiscard]] std::string PreparseMessage(const Equation::Error& error);

}
