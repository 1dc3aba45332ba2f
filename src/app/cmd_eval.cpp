// eval: an expression, or with --x an equation in ranges, computed once.
#include "app/command_line.h"
#include "app/commands.h"
#include "app/json.h"
#include "base/messages.h"
#include "fit/parsed_equation.h"

#include <cstdio>
#include <memory>
#include <optional>

namespace Commands {

namespace {

constexpr std::size_t TextLimit = Equation::MaxRangedText;

struct Arguments {
    std::string Expression;
    std::optional<double> X;
    std::string Coefficients; // "1,2.5,-3"
    bool AsJson = false;
};

// Up to nine numbers between commas.
bool ReadCoefficients(std::string_view text, std::vector<double>& values) {
    while (values.size() < Fit::ParsedCoeffs) {
        const std::size_t comma = text.find(',');
        double value = 0.0;
        if (!CommandLine::ReadNumber(text.substr(0, comma), value)) return false;
        values.push_back(value);
        if (comma == std::string_view::npos) return true;
        text.remove_prefix(comma + 1);
    }
    return false;
}

bool Compute(const Arguments& arguments, const Equation::Tokens& tokens, double& value,
             Equation::Error& error) {
    if (!arguments.X) return Equation::EvalExpression(arguments.Expression, TextLimit, value, error, tokens);
    std::string text = arguments.Expression;
    return Equation::EvalRanged(text, TextLimit, *arguments.X, value, error, tokens);
}

bool Print(const Json::Value& document, bool asJson) {
    if (asJson) return Json::Print(document);
    const Json::Value& value = document["Value"];
    std::puts(value.is_string() ? value.get<std::string>().c_str() : value.dump().c_str());
    return std::fflush(stdout) == 0;
}

int Eval(const Arguments& arguments) {
    std::vector<double> values;
    Fit::CoefficientPlaces places = {};
    Equation::Tokens tokens; // without coefficients, a word is an unknown one
    if (!arguments.Coefficients.empty()) {
        if (!ReadCoefficients(arguments.Coefficients, values))
            return CommandLine::Misused("Coefficients are up to nine numbers, such as 1,2.5,-3.");
        for (std::size_t i = 0; i < values.size(); ++i) places[i] = &values[i];
        tokens = Fit::FitTokens(places);
    }
    double value = 0.0;
    Equation::Error error;
    if (Compute(arguments, tokens, value, error)) {
        const Json::Value document = {{"Value", Json::Number(value)}};
        return Print(document, arguments.AsJson) ? CommandLine::Done : CommandLine::Failed;
    }
    if (arguments.AsJson) {
        Json::Value document = {{"Error", Json::String(error.Message)}, {"Position", nullptr}};
        if (error.Position != Equation::NoPosition) document["Position"] = error.Position;
        (void)Json::Print(document);
    } else {
        Messages::Alert(Fit::PreparseMessage(error));
    }
    return CommandLine::Failed;
}

}

Procedure DeclareEval(const Words& words) {
    const auto arguments = std::make_shared<Arguments>();
    words.Add("EXPR", arguments->Expression, "Expression, such as 2*exp(-x/c[1])").Needed();
    words.Add("--x", arguments->X, "Value of X; ranges in {} count then");
    words.Add("--c", arguments->Coefficients, "Values of C[1] to C[9], with commas between");
    words.Flag("--json", arguments->AsJson, "Print one JSON document");
    return [arguments] { return Eval(*arguments); };
}

}
