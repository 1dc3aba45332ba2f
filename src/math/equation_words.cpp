#include "math/equation_words.h"

namespace Equation {

SharedWords Shared;

const double* FindShared(const Word& word) {
    if (word.Name != "V") return nullptr;
    const int index = word.Index(UserVariables);
    return index > 0 ? &Shared.Variables[static_cast<std::size_t>(index - 1)] : nullptr;
}

bool ReadShared(const Word& word, double& value, std::string_view& message) {
    const bool isIcon = word.Name.starts_with("ICON");
    if (isIcon && Shared.Icon && Shared.Icon(word.Bracket, value)) return true;
    message = isIcon || word.Name == "V" ? IncorrectIndex : UnknownToken;
    return false;
}

}
