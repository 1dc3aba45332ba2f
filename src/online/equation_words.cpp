#include "online/equation_words.h"

#include "setup/settings.h"

namespace EquationWords {

std::function<bool(std::string_view item, double& value)> Icon;

const double* Find(const Equation::Word& word) {
    return word.Name == "V" ? Setup::ValueOf(word.Index(LastValue)) : nullptr;
}

bool Read(const Equation::Word& word, double& value, std::string_view& message) {
    const bool isIcon = word.Name.starts_with("ICON");
    if (isIcon && Icon && Icon(word.Bracket, value)) return true;
    message = isIcon || word.Name == "V" ? IncorrectIndex : Equation::UnknownToken;
    return false;
}

}
