#include "app/settings_list.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iostream>

namespace SettingsList {

namespace {

using Setup::ConfigEntry;
using Setup::ConfigKind;

// Keys that say what a file is and who wrote it.
constexpr std::string_view Written[] = {"CONFIGURATION", "ProgramVersion", "FileVersion", "IsLittleEndian",
                                        "NeverStored",   "FileOS",         "FitID",       "FitVersion"};

double RealOf(std::string_view text) {
    if (text.starts_with('+')) text.remove_prefix(1);
    double value = 0.0;
    (void)std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

Json::Value ValueOf(const ConfigEntry& entry) {
    switch (entry.Kind) {
    case ConfigKind::Bool: return entry.Value == "TRUE";
    case ConfigKind::Real: return Json::Number(RealOf(entry.Value));
    case ConfigKind::Number: return Json::Value::parse(entry.Value, nullptr, false);
    case ConfigKind::Color: return Json::Value::parse("[" + entry.Value + "]", nullptr, false);
    default: return Json::String(entry.Value);
    }
}

// What a user may write and the lines of a file may not.
bool Unclear(ConfigKind kind, std::string_view value) {
    if (value.find_first_of(std::string_view("\r\n\0", 3)) != std::string_view::npos) return true;
    const bool oneWord = kind == ConfigKind::Number || kind == ConfigKind::Real;
    if (oneWord && value.find_first_of(" ,") != std::string_view::npos) return true;
    if (kind == ConfigKind::Color && std::count(value.begin(), value.end(), ',') != 2) return true;
    return kind == ConfigKind::Bool && !Texts::SameFolded(value, "TRUE") &&
           !Texts::SameFolded(value, "FALSE");
}

const char* WantedText(ConfigKind kind) {
    switch (kind) {
    case ConfigKind::Bool: return "TRUE or FALSE";
    case ConfigKind::Number: return "a whole number of its range";
    case ConfigKind::Real: return "a number of its range";
    case ConfigKind::Color: return "three numbers from 0 to 65535, such as 0,32768,65535";
    case ConfigKind::Block: return "as many bytes as it has, two hexadecimal digits each";
    default: return "a text that fits";
    }
}

// The same value, whatever its spelling.
bool Same(const ConfigEntry& wanted, const ConfigEntry& got) {
    switch (wanted.Kind) {
    case ConfigKind::Real: { // 16 digits are kept
        const double value = RealOf(wanted.Value);
        return std::abs(RealOf(got.Value) - value) <= 1E-15 * std::abs(value);
    }
    case ConfigKind::String: return got.Value == wanted.Value;
    default: return true;
    }
}

}

std::vector<ConfigEntry> Entries(const Setup::SettingsRecord& settings) {
    Setup::SettingsRecord record = settings;
    Setup::BeginConfigList();
    Setup::ConfigSettings(record, "");
    std::vector<ConfigEntry> entries = Setup::EndConfigList();
    std::erase_if(entries, [](const ConfigEntry& entry) {
        return entry.Key == "CONFIGURATION" || entry.Key == "ProgramVersion";
    });
    return entries;
}

const ConfigEntry* Find(const std::vector<ConfigEntry>& entries, std::string_view key) {
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [&](const ConfigEntry& entry) { return entry.Key == key; });
    return found == entries.end() ? nullptr : &*found;
}

std::string NoSetting(std::string_view key) {
    return "There is no setting \"" + std::string(key) + "\".";
}

std::string Set(Setup::SettingsRecord& settings, std::string_view key, std::string_view value) {
    const std::string name(key);
    const bool written = std::find(std::begin(Written), std::end(Written), key) != std::end(Written);
    const std::vector<ConfigEntry> before = Entries(settings);
    const ConfigEntry* const old = Find(before, key);
    if (!old && !written) return NoSetting(key);
    if (written || old->Kind == ConfigKind::Kept) return "\"" + name + "\" cannot be set by hand.";

    const ConfigEntry wanted = {name, old->Kind, std::string(value)};
    const std::string refusal =
        "\"" + name + "=" + std::string(value) + "\": " + name + " takes " + WantedText(old->Kind) + ".";
    std::string lines;
    if (Unclear(old->Kind, value) || !Setup::ConfigLines(wanted, lines)) return refusal;
    if (old->Kind == ConfigKind::Block && value.size() != old->Value.size()) return refusal;

    Setup::SettingsRecord changed = settings;
    Setup::BeginConfigText(lines);
    Setup::ConfigSettings(changed, "");
    const bool decoded = Setup::Config.ConfigUndecoded.empty();
    (void)Setup::EndConfig();
    const std::vector<ConfigEntry> read = Entries(changed);
    Setup::SettingsLimits(changed);
    const std::vector<ConfigEntry> limited = Entries(changed);
    const ConfigEntry* const after = Find(read, key);
    if (!decoded || !after || !Same(wanted, *after) || Find(limited, key)->Value != after->Value)
        return refusal;
    settings = std::move(changed);
    return "";
}

bool Print(const std::string& file, const std::vector<ConfigEntry>& entries,
           const std::vector<std::string>& keys, bool asJson) {
    Json::Value settings = Json::Value::object();
    for (const ConfigEntry& entry : entries) {
        if (!keys.empty() && std::find(keys.begin(), keys.end(), entry.Key) == keys.end()) continue;
        if (asJson)
            settings[Texts::Utf8(entry.Key)] = ValueOf(entry);
        else
            std::cout << entry.Key << ' ' << Texts::Utf8(entry.Value) << '\n';
    }
    if (!asJson) return std::cout.good();
    return Json::Print({{"File", Json::String(file)}, {"Kind", "set"}, {"Settings", std::move(settings)}});
}

}
