#include "app/fit_words.h"

#include "app/command_line.h"
#include "fit/parsed_equation.h"

#include <algorithm>
#include <cctype>

namespace FitWords {

namespace {

std::string Folded(std::string_view name) {
    std::string folded;
    for (const char c : name)
        if (std::isalnum(static_cast<unsigned char>(c)) != 0)
            folded += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return folded;
}

template <class Type>
std::optional<Type> TypeNamed(std::string_view name, int count) {
    const std::string wanted = Folded(name);
    if (wanted.empty()) return std::nullopt; // as the long name of an equation is
    for (int i = 0; i < count; ++i) {
        const FitTypeName names = NameOf(static_cast<Type>(i));
        if (wanted == Folded(names.Short) || wanted == Folded(names.Long)) return static_cast<Type>(i);
    }
    return std::nullopt;
}

template <class Type, class Records>
std::string NamesOf(Records& records, int count) {
    std::string list;
    for (int i = 0; i < count; ++i) {
        const auto type = static_cast<Type>(i);
        const Fit::Selected selected = Fit::Select(records, type);
        if (!selected || !Fit::IsModel(*selected.Model)) continue;
        if (!list.empty()) list += ", ";
        list += NameOf(type).Short;
    }
    return list;
}

std::string NamesOfParams(const Fit::Selected& selected) {
    std::string list;
    for (const std::string_view text : Fit::TextFields(selected))
        list += (list.empty() ? "" : ", ") + std::string(text);
    for (const Fit::SettingEntry& setting : Fit::Settings(selected))
        list += (list.empty() ? "" : ", ") + std::string(setting.Name);
    for (const Fit::ParamEntry& param : Fit::Params(selected))
        if (!param.Derived && !param.Column.empty())
            list += (list.empty() ? "" : ", ") + std::string(param.Name);
    return list;
}

bool SetParam(const Fit::Selected& selected, const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos) return false;
    const std::string name = text.substr(0, equals);
    std::string valueText = text.substr(equals + 1);
    std::optional<FitParamState> state;
    if (const std::size_t colon = valueText.find(':'); colon != std::string::npos) {
        const std::string word = valueText.substr(colon + 1);
        if (Texts::SameFolded(word, "fit"))
            state = FitParamState::Fit;
        else if (Texts::SameFolded(word, "hold"))
            state = FitParamState::Hold;
        else if (Texts::SameFolded(word, "off"))
            state = FitParamState::Off;
        else
            return false;
        valueText.resize(colon);
    }
    double value = 0;
    if (valueText.empty()) {
        const std::optional<Fit::ParamEntry> entry = Fit::FindParam(selected, name);
        if (!entry || !state) return false;
        value = entry->Param->Value;
    } else if (!CommandLine::ReadNumber(valueText, value)) {
        return false;
    }
    return Fit::SetByName(selected, name, value, state);
}

// "Equation=c[1]*x"
bool IsText(const Fit::Selected& selected, const std::string& text) {
    const std::string_view name = std::string_view(text).substr(0, text.find('='));
    return std::ranges::any_of(Fit::TextFields(selected),
                               [name](std::string_view field) { return Texts::SameFolded(field, name); });
}

bool SetText(const Fit::Selected& selected, const std::string& text) {
    const std::size_t equals = text.find('=');
    return equals != std::string::npos &&
           Fit::SetTextByName(selected, text.substr(0, equals), text.substr(equals + 1));
}

}

std::optional<SweepFitType> SweepType(std::string_view name) {
    return TypeNamed<SweepFitType>(name, SweepFitTypes);
}

std::optional<SeriesFitType> SeriesType(std::string_view name) {
    if (Folded(name) == "spectra") return SeriesFitType::PowerSpectrum; // its name in menus
    return TypeNamed<SeriesFitType>(name, SeriesFitTypes);
}

std::string NamesOfSweepTypes() {
    std::string list;
    for (int i = 0; i < SweepFitTypes; ++i)
        list += (list.empty() ? "" : ", ") + std::string(NameOf(static_cast<SweepFitType>(i)).Short);
    return list;
}

std::string NamesOfModels(Fit::SweepRecords& records) {
    return NamesOf<SweepFitType>(records, SweepFitTypes);
}

std::string NamesOfModels(Fit::SeriesRecords& records) {
    return NamesOf<SeriesFitType>(records, SeriesFitTypes);
}

int SetParams(const Fit::Selected& selected, const std::vector<std::string>& texts) {
    Fit::ParsedRecord* const equation = Fit::ParsedRecordOf(selected);
    for (const std::string& text : texts)
        if (IsText(selected, text) && !SetText(selected, text))
            return CommandLine::Misused("\"" + text + "\" does not fit into its field.");
    if (equation) Fit::NormaliseStates(*equation);
    for (const std::string& text : texts)
        if (!IsText(selected, text) && !SetParam(selected, text))
            return CommandLine::Misused("\"" + text + "\" sets no parameter: NAME=VALUE[:fit|hold|off] of " +
                                        NamesOfParams(selected) + ".");
    Equation::Error error;
    if (equation && !Fit::PreparseEquation(equation, error))
        return CommandLine::Misused(Fit::PreparseMessage(error));
    return CommandLine::Done;
}

std::vector<Result> Results(const Fit::Selected& selected, std::string_view xUnit, std::string_view yUnit) {
    std::vector<Result> results;
    for (const Fit::ParamEntry& entry : Fit::Params(selected))
        results.push_back({std::string(entry.Column.empty() ? entry.Name : entry.Column),
                           Fit::UnitText(entry, xUnit, yUnit), *entry.Param, entry.Derived});
    return results;
}

void AddOutcome(Json::Value& to, const Fit::Outcome& outcome) {
    to["Iterations"] = outcome.Iterations ? Json::Value(*outcome.Iterations) : Json::Value(nullptr);
    to["FitTermination"] = static_cast<int>(outcome.FitTermination);
    to["LastResidual"] = Json::Number(outcome.LastResidual);
    to["Residual"] = Json::Number(outcome.Residual);
}

void AddResults(Json::Value& to, const std::vector<Result>& results, const char* name) {
    to[name] = Json::Value::array();
    for (const Result& result : results)
        to[name].push_back({{"Name", Json::String(result.Name)},
                            {"Value", Json::Number(result.Param.Value)},
                            {"State", static_cast<int>(result.Param.State)},
                            {"Store", result.Param.Store},
                            {"Unit", Json::String(result.Unit)}});
}

}
