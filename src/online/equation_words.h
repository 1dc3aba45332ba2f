// Words that equations of every kind know: V[1] to V[31], the values that protocols, results of online
// functions and waves share (Setup.Settings.Protocol.Values), and ICON with the name of an item in its
// brackets. Callers put their own words before these.
#pragma once
#include "math/equation.h"

#include <functional>
#include <string_view>

namespace EquationWords {

inline constexpr int LastValue = 31; // a text names all values but the last one
inline constexpr std::string_view IncorrectIndex = "Incorrect function index";

// The value of an item by its name; false where there is none. Empty while no window is there.
extern std::function<bool(std::string_view item, double& value)> Icon;

// The two halves of Equation::Tokens for these words; everything else is an "Unknown token".
[[nodiscard]] const double* Find(const Equation::Word& word);
[[nodiscard]] bool Read(const Equation::Word& word, double& value, std::string_view& message);

}
