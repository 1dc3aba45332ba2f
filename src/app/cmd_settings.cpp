// settings: the keys of a settings file and their values, shown and changed.
#include "app/command_line.h"
#include "app/commands.h"
#include "app/settings_list.h"
#include "base/files.h"
#include "base/messages.h"
#include "setup/settings_file.h"

#include <memory>

namespace Commands {

namespace {

struct Arguments {
    std::string File;
    std::vector<std::string> Words; // KEY or KEY=VALUE
    bool New = false;
    bool AsJson = false;
};

struct Assignment {
    std::string Key, Value;
};

int Refused(const std::string& text) {
    Messages::Alert(text);
    return CommandLine::Failed;
}

int RunSettings(const Arguments& arguments) {
    std::vector<std::string> keys;
    std::vector<Assignment> assignments;
    for (const std::string& word : arguments.Words) {
        const std::size_t sign = word.find('=');
        if (word.empty() || sign == 0)
            return CommandLine::Misused("\"" + word + "\" names no setting: KEY or KEY=VALUE is wanted.");
        keys.push_back(word.substr(0, sign));
        if (sign != std::string::npos) assignments.push_back({keys.back(), word.substr(sign + 1)});
    }

    if (arguments.New) {
        if (Files::Exists(arguments.File)) return Refused("\"" + arguments.File + "\" is there already.");
        Setup::SetDefaults();
    } else if (!Files::Exists(arguments.File)) {
        return Refused("There is no file \"" + arguments.File + "\"; --new makes it from the defaults.");
    } else if (!Setup::LoadConfiguration(arguments.File)) {
        return CommandLine::Failed;
    }

    for (const auto& [key, value] : assignments) {
        const std::string wrong = SettingsList::Set(Setup::Settings, key, value);
        if (!wrong.empty()) return Refused(wrong);
    }
    const std::vector<Setup::ConfigEntry> entries = SettingsList::Entries(Setup::Settings);
    for (const std::string& key : keys)
        if (!SettingsList::Find(entries, key)) return Refused(SettingsList::NoSetting(key));
    if (arguments.New || !assignments.empty()) {
        Setup::State.SettingsFile = arguments.File;
        if (!Setup::SaveConfiguration(false)) return CommandLine::Failed;
    }
    return SettingsList::Print(arguments.File, entries, keys, arguments.AsJson) ? CommandLine::Done
                                                                                : CommandLine::Failed;
}

}

Procedure DeclareSettings(const Words& words) {
    const auto arguments = std::make_shared<Arguments>();
    words.Add("FILE", arguments->File, "Settings file (.set)").Needed();
    words.Add("KEY", arguments->Words, "Shows this key; KEY=VALUE sets it and saves the file");
    words.Flag("--new", arguments->New, "Make the file, from the defaults");
    words.Flag("--json", arguments->AsJson, "Print one JSON document");
    return [arguments] { return RunSettings(*arguments); };
}

}
