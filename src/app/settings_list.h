// The settings as keys and values for people and scripts: printed, and changed key by key.
#pragma once
#include "app/json.h"
#include "setup/config.h"
#include "setup/settings.h"

#include <string>
#include <string_view>
#include <vector>

namespace SettingsList {

// What a file of the settings would hold, in its order.
[[nodiscard]] std::vector<Setup::ConfigEntry> Entries(const Setup::SettingsRecord& settings);

// The entry of a key; null when there is none.
[[nodiscard]] const Setup::ConfigEntry* Find(const std::vector<Setup::ConfigEntry>& entries,
                                             std::string_view key);

// The words for a key that is none.
[[nodiscard]] std::string NoSetting(std::string_view key);

// Sets one key. Empty, or what is wrong, with nothing changed: an unknown key, one that the program writes
// itself, a value that cannot be decoded, or is beyond what the setting takes. Texts come without quotes,
// colours as "red,green,blue", blocks of bytes as hexadecimal digits.
[[nodiscard]] std::string Set(Setup::SettingsRecord& settings, std::string_view key, std::string_view value);

// Prints all entries, or those of the keys, as lines "Key value", or as one JSON document
// {"File","Kind":"set","Settings":{key:value,...}} with colours as [red,green,blue] and blocks as hexadecimal
// digits. False when it could not be written.
[[nodiscard]] bool Print(const std::string& file, const std::vector<Setup::ConfigEntry>& entries,
                         const std::vector<std::string>& keys, bool asJson);

}
