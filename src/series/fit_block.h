// The fit block of a wave file: the parameters of the fitted type, a line each, in a fixed order a type.
//
//     parameter   " 1.00000E+00, fit, 1, Amp0"      value, state (fit, hold, skip), stored or not, name
//     integer     "    3, Order"
//     others      "1, 1-Exp", "GHK iV"; an equation as it stands
//
// Lines are taken by their position; names serve people, but for those of an equation's coefficients, which
// are the user's own.
#pragma once
#include "fit/fit.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace FitBlock {

[[nodiscard]] std::vector<std::string> Lines(const Fit::Selected& selected, SeriesFitType type);

// Hands out the next line, of so many bytes at most; false at the end of the file.
using NextLine = std::function<bool(std::string_view& line, std::size_t most)>;

inline constexpr std::size_t LineMax = 160;                       // bytes
inline constexpr std::size_t EquationMax = Fit::EquationSize - 1; // of the line of an equation

// Reads a block into the record. False for a line that is missing or is not what it must be; message says
// why where there is more to say. The record may then be read in part. Of an equation only its first line
// must be there: reading ends, in good order, at the first parameter that is not.
[[nodiscard]] bool Read(const Fit::Selected& selected, SeriesFitType type, const NextLine& next,
                        std::string& message);

}
