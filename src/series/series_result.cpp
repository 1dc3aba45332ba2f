#include "series/series_result.h"

#include "base/messages.h"
#include "base/text.h"
#include "base/time_scale.h"
#include "fit/parsed_equation.h"
#include "series/series_fit.h"

#include <algorithm>
#include <cmath>

namespace SeriesFit {

namespace {

// A field of a record that is no parameter, and the parameter that it stands before in the rows.
struct FieldRow {
    SeriesFitType Type;
    const char* Before;
    const char* Field;
    const char* Name; // of the row
};

constexpr FieldRow FieldRows[] = {
    {SeriesFitType::Polynomial, "Coeff0", "Order", "Order"},
    {SeriesFitType::Exponential, "XZero", "TimeSource", "StartMode"},
    {SeriesFitType::Exponential, "XZero", "GivenTime0", "StartTime"},
    {SeriesFitType::OneExponential, "XZero", "TimeSource", "StartMode"},
    {SeriesFitType::OneExponential, "XZero", "GivenTime0", "StartTime"},
    {SeriesFitType::GenExponential, "Power1", "Rising1", "Mode1"},
    {SeriesFitType::GenExponential, "Power2", "Rising2", "Mode2"},
    {SeriesFitType::GenExponential, "Power3", "Rising3", "Mode3"},
    {SeriesFitType::Boltzmann, "Amp1", "Power1", "n1"},
    {SeriesFitType::Boltzmann, "Amp2", "Power2", "n2"},
    {SeriesFitType::CurrentVoltage, "Vhalf", "GHK", "iVType"},
    {SeriesFitType::CurrentVoltage, "Vhalf", "Power", "m"},
};

double FieldValue(const std::vector<Fit::SettingEntry>& settings, std::string_view field) {
    const auto found = std::ranges::find(settings, field, &Fit::SettingEntry::Name);
    return found == settings.end() ? 0.0 : found->Value;
}

// One row: a parameter of the record, or one of the fields above.
struct Source {
    const FieldRow* Field = nullptr;
    Fit::ParamEntry Entry;
};

std::vector<Source> Sources(Engine& engine) {
    std::vector<Source> rows;
    for (const Fit::ParamEntry& entry : Fit::Params(SelectedFit(engine))) {
        for (const FieldRow& row : FieldRows)
            if (row.Type == engine.FitType && row.Before == entry.Name) rows.push_back({&row, {}});
        if (!entry.Column.empty()) rows.push_back({nullptr, entry});
    }
    if (rows.size() > ResultCount) rows.resize(ResultCount);
    return rows;
}

FitParam Checked(FitParam param) {
    if (param.State > FitParamState::Off) param.State = FitParamState::Off;
    return param;
}

// The names of an equation's coefficients stay as they are: a reloaded file has none.
bool TakeRows(Engine& engine, const AnalysisSeries& series) {
    if (Fit::ParsedRecord* const parsed = Fit::ParsedRecordOf(SelectedFit(engine)))
        Texts::ToField(parsed->Equation, Texts::FromField(series.Equation));
    const std::vector<Source> rows = Sources(engine);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const FitParam& value = series.ResultValues[i];
        if (!rows[i].Field)
            *rows[i].Entry.Param = Checked(value);
        else if (!Fit::SetByName(SelectedFit(engine), rows[i].Field->Field, value.Value))
            return false;
    }
    return true;
}

bool TakeResult(Engine& engine, const AnalysisSeries* series) {
    if (!series || !(series->Time != 0.0)) return false;
    if (series->FitType < 0 || series->FitType >= SeriesFitTypes) {
        Messages::Alert("GetFromFile: Unknown Fit Type");
        return false;
    }
    const Fit::SeriesRecords former = engine.Records;
    const SeriesFitType formerType = engine.FitType;
    engine.FitType = static_cast<SeriesFitType>(series->FitType);
    if (SelectedFit(engine) && TakeRows(engine, *series)) return true;
    engine.Records = former;
    engine.FitType = formerType;
    return false;
}

}

std::vector<ResultRow> ResultRows(Engine& engine) {
    const SGFit::Wave wave = SGFit::ActiveWaveOf(engine.Store);
    const std::string_view xUnit = Texts::FromField(wave.XLabel.Unit),
                           yUnit = Texts::FromField(wave.YLabel.Unit);
    const std::vector<Fit::SettingEntry> settings = Fit::Settings(SelectedFit(engine));
    std::vector<ResultRow> rows;
    for (const Source& row : Sources(engine)) {
        if (row.Field)
            rows.push_back({row.Field->Name,
                            "",
                            {.Value = FieldValue(settings, row.Field->Field),
                             .State = FitParamState::Hold,
                             .Store = 1}});
        else
            rows.push_back({std::string(row.Entry.Column), Fit::UnitText(row.Entry.Unit, xUnit, yUnit),
                            *row.Entry.Param});
    }
    return rows;
}

void StoreResult(Engine& engine, AnalysisSeries& series) {
    series.Time = TimeScale::Now();
    series.FitType = static_cast<std::int16_t>(engine.FitType);
    const Fit::ParsedRecord* const parsed = Fit::ParsedRecordOf(SelectedFit(engine));
    Texts::ToField(series.Equation, parsed ? Texts::FromField(parsed->Equation) : "");
    const std::vector<ResultRow> rows = ResultRows(engine);
    for (std::size_t i = 0; i < ResultCount; ++i) {
        const ResultRow row =
            i < rows.size() ? rows[i] : ResultRow{"", "", {.Value = 0.0, .State = FitParamState::Off}};
        Texts::ToField(series.ResultNames[i], row.Name);
        Texts::ToField(series.ResultUnits[i], row.Unit);
        series.ResultValues[i] = row.Value;
    }
}

bool GetResults(Engine& engine, const AnalysisSeries* series) {
    if (TakeResult(engine, series)) return true;
    Messages::Alert("Cannot retrieve data from file.");
    return false;
}

}
