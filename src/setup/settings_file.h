// The settings file: Setup.Settings between runs, as text.
//
// Which file. One that is named when the program starts counts alone: it must load. Else the user's file,
// Places::ConfigFolder()/Qorvanite.set; else, where the user has none yet, the default file of the machine's
// administrator, Qorvanite.set in Places::SystemConfigFolders(); else the built-in defaults. What is saved
// goes to the file that was named, or to the user's.
//
// What is in it: see config.h for the lines, settings.h for the keys. The last line, CRC, is a check sum over
// the others: a file that was edited by hand loads after its CRC was set to 0 or removed.
#pragma once
#include "setup/settings.h"

#include <functional>
#include <string>
#include <string_view>

namespace Setup {

// From 5 on the start ends.
enum class SettingsState : int { FromFile = 0, FromDefaultFile = 1, BuiltIn = 2, Ended = 5 };

struct SetupState {
    SettingsState State = SettingsState::BuiltIn;
    std::string SettingsFile;         // where the settings are saved
    std::string ReadFile;             // the file that was loaded; empty when none was
    std::string ProgramVersion;       // the text that a saved file names as its writer
    bool ConfigurationLocked = false; // refuses saving
    std::string LastMessage;          // of the last step that failed, also of one that was silent
};
extern SetupState State;

// What a window adds; each may be empty.
struct SetupHooks {
    // A file of the kind ("Configuration file") with the extension (".set"); empty when the user turns away.
    std::function<std::string(std::string_view kind, std::string_view extension)> FindFile;
    // Puts window places and other live values into the settings, before they are saved.
    std::function<void(SettingsRecord& settings)> CopyLiveValues;
};
extern SetupHooks Hooks;

struct StartSettings {
    std::string NamedFile; // of the command line; may be empty
    bool Ask = false;      // somebody can be asked where the file is; without, a first start is silent
};

// The defaults, then the file as told above, then the members that take effect at a start. False, with State
// at Ended, when the named file did not load or the user ended the start. A user's or default file that does
// not load gives a note, or with Ask a question, and leaves the built-in defaults.
[[nodiscard]] bool LoadSettings(const StartSettings& start);

enum class Silence : bool { Off, On };

// Reads the settings from the file. On failure they are what they were, and the reason has been said; with
// silence it only stands in State.LastMessage, and missing keys are no question. Values that could not be
// decoded are noted.
[[nodiscard]] bool LoadConfiguration(const std::string& file, Silence silence = Silence::Off);

// Stores the settings in State.SettingsFile, as defaults after taking the built-in ones. The file that was
// there keeps living with the extension ".bak", and is replaced only by a whole one. False, after saying why,
// with all files as they were.
[[nodiscard]] bool SaveConfiguration(bool asDefault);

// Places::ConfigFolder()/Qorvanite.set; empty for a user without a home.
[[nodiscard]] std::string UserSettingsFile();

}
