#include "fit/params.h"

#include "base/text.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace Fit {

namespace {

bool SameText(std::string_view a, std::string_view b) {
    return a == b;
}

std::byte* FieldAt(const Selected& selected, std::size_t at) {
    return static_cast<std::byte*>(selected.Record) + at;
}

template <typename T>
T Load(const std::byte* field) {
    T value;
    std::memcpy(&value, field, sizeof value);
    return value;
}

template <typename T>
void StoreAs(double value, std::byte* field) {
    const T stored = static_cast<T>(value);
    std::memcpy(field, &stored, sizeof stored);
}

double Load(const SettingRow& row, const std::byte* field) {
    switch (row.Kind) {
    case SettingKind::Int16: return Load<std::int16_t>(field);
    case SettingKind::Int32: return Load<std::int32_t>(field);
    case SettingKind::Byte: return Load<std::uint8_t>(field);
    case SettingKind::Real64:
    case SettingKind::Text: break;
    }
    return Load<double>(field);
}

bool SetSetting(const SettingRow& row, double value, std::byte* field) {
    if (value < row.Min || value > row.Max) return false;
    if (row.Kind != SettingKind::Real64 && value != std::floor(value)) return false;
    switch (row.Kind) {
    case SettingKind::Int16: StoreAs<std::int16_t>(value, field); break;
    case SettingKind::Int32: StoreAs<std::int32_t>(value, field); break;
    case SettingKind::Byte: StoreAs<std::uint8_t>(value, field); break;
    case SettingKind::Real64: StoreAs<double>(value, field); break;
    case SettingKind::Text: return false;
    }
    return true;
}

}

std::vector<ParamEntry> Params(const Selected& selected) {
    std::vector<ParamEntry> entries;
    if (!selected) return entries;
    entries.reserve(selected.Model->Params.size());
    for (const ParamRow& row : selected.Model->Params) {
        const char* const named = selected.Level == Level::Sweep ? row.SweepColumn : row.SeriesColumn;
        std::string_view column = named ? named : std::string_view();
        if (const auto userName = selected.Model->UserName) {
            const std::string_view own = userName(selected.Record, entries.size());
            if (!own.empty()) column = own;
        }
        const auto ownUnit = selected.Model->OwnUnit;
        entries.push_back({row.Name, column, row.Unit, reinterpret_cast<FitParam*>(FieldAt(selected, row.At)),
                           row.Derived, row.Symbol,
                           ownUnit ? ownUnit(selected.Record, entries.size()) : std::string_view()});
    }
    return entries;
}

std::vector<SettingEntry> Settings(const Selected& selected) {
    std::vector<SettingEntry> entries;
    if (!selected) return entries;
    for (const SettingRow& row : selected.Model->Settings)
        if (row.Kind != SettingKind::Text)
            entries.push_back({row.Name, row.Kind, Load(row, FieldAt(selected, row.At))});
    return entries;
}

std::optional<ParamEntry> FindParam(const Selected& selected, std::string_view name) {
    if (name.empty()) return {};
    const std::vector<ParamEntry> entries = Params(selected);
    for (const auto same : {SameText, Texts::SameFolded})
        for (const auto text : {&ParamEntry::Name, &ParamEntry::Column, &ParamEntry::Symbol})
            for (const ParamEntry& entry : entries)
                if (same(entry.*text, name)) return entry;
    return {};
}

bool SetByName(const Selected& selected, std::string_view name, double value,
               std::optional<FitParamState> state) {
    if (!selected || !std::isfinite(value)) return false;
    if (const auto entry = FindParam(selected, name)) {
        entry->Param->Value = value;
        if (state) entry->Param->State = *state;
        return true;
    }
    if (state) return false;
    for (const SettingRow& row : selected.Model->Settings)
        if (Texts::SameFolded(row.Name, name)) return SetSetting(row, value, FieldAt(selected, row.At));
    return false;
}

namespace {

const SettingRow* FindText(const Selected& selected, std::string_view name) {
    if (!selected) return nullptr;
    for (const SettingRow& row : selected.Model->Settings)
        if (row.Kind == SettingKind::Text && Texts::SameFolded(row.Name, name)) return &row;
    return nullptr;
}

}

bool SetTextByName(const Selected& selected, std::string_view name, std::string_view text) {
    const SettingRow* const row = FindText(selected, name);
    if (!row) return false;
    const auto size = static_cast<std::size_t>(row->Max);
    if (text.size() >= size || text.find('\0') != std::string_view::npos) return false;
    Texts::ToField({reinterpret_cast<char*>(FieldAt(selected, row->At)), size}, text);
    return true;
}

std::vector<std::string_view> TextFields(const Selected& selected) {
    std::vector<std::string_view> names;
    if (!selected) return names;
    for (const SettingRow& row : selected.Model->Settings)
        if (row.Kind == SettingKind::Text) names.emplace_back(row.Name);
    return names;
}

std::string UnitText(ParamUnit unit, std::string_view xUnit, std::string_view yUnit) {
    switch (unit) {
    case ParamUnit::X: return std::string(xUnit);
    case ParamUnit::Y: return std::string(yUnit);
    case ParamUnit::YThenX: return std::string(yUnit).append(xUnit);
    case ParamUnit::YPerX: return std::string(yUnit).append("/").append(xUnit);
    case ParamUnit::Frequency: return xUnit == "s" ? "Hz" : std::string(xUnit).append("^-1");
    case ParamUnit::Density: return std::string(yUnit).append("^2/").append(xUnit == "s" ? "Hz" : xUnit);
    case ParamUnit::None: break;
    }
    return {};
}

std::string UnitText(const ParamEntry& entry, std::string_view xUnit, std::string_view yUnit) {
    return entry.OwnUnit.empty() ? UnitText(entry.Unit, xUnit, yUnit) : std::string(entry.OwnUnit);
}

}
