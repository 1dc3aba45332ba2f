// The Equation Editor: an equation, or up to five of them with ranges between, with their values at an x.
#pragma once
#include "math/equation.h"

#include <cstddef>
#include <functional>
#include <string>

namespace EquationEditor {

struct Spec {
    std::string Prompt = "Enter equation string";
    std::string* Text = nullptr; // what is edited; changed by Done alone, to its normal form
    std::size_t Longest = 1023;  // characters of the whole text
    double X = 0;                // where it is evaluated at first
    double* Value = nullptr;     // takes the total result at Done; may be none
    Equation::Tokens Words;      // beside constants, functions and X
    std::function<void()> Done;  // runs after the text was stored; may be empty
    bool Ranged = true;          // five rows with ranges; else one
};

// Makes the dialog known, to macros and to the key file.
[[nodiscard]] bool Initialise();
// Opens the dialog with the text in it. An editor that is open is cancelled first. False after an alert.
bool Open(const Spec& spec);

}
