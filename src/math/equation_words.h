// Words that equations of every kind know: the user's variables V[1] to V[31], and ICON with the name of an
// item in its brackets. Callers put their own words before these.
#pragma once
#include "math/equation.h"

#include <array>
#include <functional>
#include <string_view>

namespace Equation {

inline constexpr int UserVariables = 31;   // that a text can name
inline constexpr int StoredVariables = 32; // that results of online functions can go to
inline constexpr std::string_view IncorrectIndex = "Incorrect function index";

struct SharedWords {
    std::array<double, StoredVariables> Variables = {}; // V[1] is the first
    // The value of an item by its name; false where there is none. Empty while no window is there.
    std::function<bool(std::string_view item, double& value)> Icon;
};

// One set for the program: what its user typed or plays back.
extern SharedWords Shared;

// The two halves of Tokens for these words; everything else is an "Unknown token".
[[nodiscard]] const double* FindShared(const Word& word);
[[nodiscard]] bool ReadShared(const Word& word, double& value, std::string_view& message);

}
