// Online functions of the kind "Equation".
#include "base/messages.h"
#include "base/text.h"
#include "online/compute.h"
#include "online/equation_words.h"

#include <algorithm>

namespace OnlineCompute {

namespace {

constexpr int LastParameter = 31; // of P[]

// What lies in memory: results, the amplitude, the values of the settings.
const double* FindValue(const Engine& engine, const Equation::Word& word) {
    if (word.Name == "F") {
        const int index = word.Index(static_cast<int>(engine.Results.size()));
        return index > 0 ? &engine.Results[static_cast<std::size_t>(index - 1)] : nullptr;
    }
    if (word.Name == "AMPL" && engine.UseAmplitude && word.Bracket.empty()) return &engine.Amplitude;
    return EquationWords::Find(word);
}

bool ReadValue(const Engine& engine, const Equation::Word& word, double& value, std::string_view& message) {
    const bool isOwn = word.Name == "F" || word.Name == "P" || (word.Name == "AMPL" && engine.UseAmplitude);
    if (!isOwn) return EquationWords::Read(word, value, message);
    message = EquationWords::IncorrectIndex;
    if (word.Name != "P" || word.Index(LastParameter) == 0) return false;
    value = 0.0; // of a protocol that does not run
    return !engine.ProtocolValue || engine.ProtocolValue(word.Index(LastParameter), value);
}

void Complain(Engine& engine, const OnlineFunction& function, const Equation::Error& error) {
    const std::string text = "Equation \"" + std::string(Texts::FromField(function.OfEquation)) +
                             "\": " + std::string(error.Message) + " at pos. " +
                             std::to_string(error.Position);
    if (std::find(engine.Errors.begin(), engine.Errors.end(), text) != engine.Errors.end()) return;
    engine.Errors.push_back(text);
    Messages::Note(text);
}

}

double EquationValue(Engine& engine, const OnlineFunction& function, int index) {
    CompiledEquation& equation = engine.Equations[static_cast<std::size_t>(index - 1)];
    const std::string_view text = Texts::FromField(function.OfEquation);
    if (!equation.IsFor(text, engine)) {
        const Equation::Tokens tokens{
            .Find = [&engine](const Equation::Word& word) { return FindValue(engine, word); },
            .Read = [&engine](const Equation::Word& word, double& value,
                              std::string_view& message) { return ReadValue(engine, word, value, message); }};
        equation.Text = text;
        equation.Results = engine.Results.data();
        equation.Count = engine.Results.size();
        equation.UseAmplitude = engine.UseAmplitude;
        equation.Program = Equation::Compile(text, sizeof function.OfEquation, tokens);
    }
    double value = OnlineResults::Invalid;
    Equation::Error error;
    if (!equation.Program.Evaluate(0.0, value, error)) Complain(engine, function, error);
    return value;
}

bool CompiledEquation::IsFor(std::string_view text, const Engine& engine) const {
    return Results == engine.Results.data() && Count == engine.Results.size() &&
           UseAmplitude == engine.UseAmplitude && Text == text;
}

}
