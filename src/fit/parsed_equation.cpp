#include "fit/parsed_equation.h"

#include "base/text.h"
#include "fit/models.h"
#include "fit/params.h"
#include "online/equation_words.h"
#include "trees/fit_types.h"

#include <algorithm>

namespace Fit {

namespace {

constexpr std::string_view BadCoefficient = "error in fit coefficient index";
constexpr std::string_view BadRecord = "Illegal fit record";
constexpr std::string_view BadBrackets = "error preparsing";
constexpr std::string_view BadRange = "error in {range}";
constexpr std::string_view BadOrder = "error in range order";
constexpr std::string_view TooManyRanges = "too many ranges";

constexpr std::size_t MaxRanges = Equation::MaxEquations - 1;

bool Refuse(Equation::Error& error, std::string_view message, std::size_t position) {
    error = {message, static_cast<int>(position)};
    return false;
}

bool BracketsMatch(std::string_view text, Equation::Error& error) {
    int open = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '(') ++open;
        if (text[at] == ')' && --open < 0) return Refuse(error, BadBrackets, at);
    }
    return open == 0 || Refuse(error, BadBrackets, text.size());
}

struct Limits {
    std::size_t Count = 0;
    double Values[MaxRanges] = {};
};

bool FindLimits(std::string_view text, const Equation::Tokens& tokens, Limits& limits,
                Equation::Error& error) {
    for (std::size_t open = text.find('{'); open != std::string_view::npos; open = text.find('{', open)) {
        if (limits.Count == MaxRanges) return Refuse(error, TooManyRanges, open);
        const std::size_t close = text.find('}', open);
        if (close == std::string_view::npos) return Refuse(error, BadRange, open);
        const std::string_view range = text.substr(open + 1, close - open - 1);
        double& limit = limits.Values[limits.Count++];
        Equation::Error why;
        Equation::Program program =
            Equation::Compile(range, Equation::MaxPiece, tokens, Equation::XUse::Allowed);
        if (!program.Evaluate(Equation::NoValue, limit, why) || limit != limit)
            return Refuse(error, BadRange, open);
        open = close;
    }
    for (std::size_t i = 0; i + 1 < limits.Count; ++i)
        if (limits.Values[i] >= limits.Values[i + 1]) return Refuse(error, BadOrder, i + 1);
    return true;
}

// Each equation at the limit of its range; the last one, which has none, at the last limit that there is.
bool TryEquations(std::string_view text, const Equation::Tokens& tokens, const Limits& limits,
                  Equation::Error& error) {
    const auto pieces = Equation::SplitRanged(text);
    for (std::size_t i = 0; i < pieces.size(); i += 2) {
        const std::size_t range = std::min(i / 2, limits.Count - 1);
        const double x = limits.Count > 0 ? limits.Values[range] : Equation::NoValue;
        double value = 0.0;
        Equation::Program program =
            Equation::Compile(pieces[i].Text, Equation::MaxPiece, tokens, Equation::XUse::Allowed);
        if (program.Evaluate(x, value, error)) continue;
        if (error.Position != Equation::NoPosition) error.Position += static_cast<int>(pieces[i].Begin);
        return false;
    }
    return true;
}

}

ParsedRecord* ParsedRecordOf(const Selected& selected) {
    return selected.Model == &ParsedModel ? static_cast<ParsedRecord*>(selected.Record) : nullptr;
}

CoefficientPlaces PlacesOf(const ParsedRecord& record) {
    CoefficientPlaces places;
    std::ranges::transform(record.Coeffs, places.begin(), [](const FitParam& coeff) { return &coeff.Value; });
    return places;
}

Equation::Tokens FitTokens(const CoefficientPlaces& coefficients) {
    Equation::Tokens tokens;
    tokens.Find = [coefficients](const Equation::Word& word) -> const double* {
        if (word.Name != "C") return EquationWords::Find(word);
        const int index = word.Index(ParsedCoeffs);
        return index > 0 ? coefficients[static_cast<std::size_t>(index - 1)] : nullptr;
    };
    tokens.Read = [](const Equation::Word& word, double& value, std::string_view& message) {
        if (word.Name != "C") return EquationWords::Read(word, value, message);
        message = BadCoefficient;
        return false;
    };
    return tokens;
}

CoefficientName NextCoefficient(std::string_view text) {
    for (std::size_t at = 0; at + 3 < text.size(); ++at) {
        if (text[at] != 'c' && text[at] != 'C') continue;
        if (text[at + 1] != '[' && text[at + 1] != '<') continue;
        const std::size_t close = text.find_first_of("]>", at + 2);
        if (close == std::string_view::npos || text[at + 2] < '0' || text[at + 2] > '9') continue;
        Equation::Word word;
        bool good = false;
        const std::string_view inside = text.substr(at + 2, close - at - 2);
        word.Whole = Equation::ScanNumber(inside, word.Number, good) == inside.size() && good;
        if (const int index = word.Index(ParsedCoeffs)) return {at, close + 1 - at, index};
    }
    return {text.size(), 0, 0};
}

void NormaliseStates(ParsedRecord& record) {
    bool named[ParsedCoeffs] = {};
    std::string_view text = Texts::FromField(record.Equation);
    while (!text.empty()) {
        const CoefficientName found = NextCoefficient(text);
        if (found.Index > 0) named[found.Index - 1] = true;
        text.remove_prefix(found.Begin + found.Size);
    }
    for (int i = 0; i < ParsedCoeffs; ++i) {
        FitParamState& state = record.Coeffs[i].State;
        if (!named[i])
            state = FitParamState::Off;
        else if (state != FitParamState::Fit && state != FitParamState::Hold)
            state = FitParamState::Fit;
    }
}

bool PreparseEquation(ParsedRecord* record, Equation::Error& error) {
    error = {};
    if (!record) {
        error.Message = BadRecord;
        return false;
    }
    NormaliseStates(*record);
    const std::string_view text = Texts::FromField(record->Equation);
    const Equation::Tokens tokens = FitTokens(PlacesOf(*record));
    Limits limits;
    return BracketsMatch(text, error) && FindLimits(text, tokens, limits, error) &&
           TryEquations(text, tokens, limits, error);
}

std::string PreparseMessage(const Equation::Error& error) {
    std::string message(error.Message);
    if (error.Position != Equation::NoPosition) message += " at pos. " + std::to_string(error.Position);
    return message;
}

}
