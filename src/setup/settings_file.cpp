#include "setup/settings_file.h"

#include "base/bytes.h"
#include "base/files.h"
#include "base/messages.h"
#include "base/places.h"
#include "setup/config.h"

#include <algorithm>
#include <filesystem>

namespace Setup {

SetupState State;
SetupHooks Hooks;

namespace {

constexpr std::string_view ProgramName = "Qorvanite";
constexpr std::string_view FileName = "/Qorvanite.set";
constexpr std::string_view ReadError = "Error reading Configuration File";
constexpr std::size_t HeadBytes = 28; // of a file, which tell its form

// Ends the pass that is under way.
bool Refuse(const std::string& text, Silence silence) {
    State.LastMessage = text;
    (void)EndConfig();
    if (silence == Silence::Off) Messages::Alert(text);
    return false;
}

std::string FileProblem(std::string_view text, const std::string& file) {
    return std::string(text) + ": \"" + file + "\": " + Config.ConfigText;
}

bool CheckHead(const std::string& file, Silence silence) {
    const std::string head = ConfigContent().substr(0, HeadBytes);
    std::string signature = head.substr(0, head.find('\0'));
    const bool isText = head.find("CONFIGURATION") != std::string::npos;
    if (head.size() < HeadBytes)
        return Refuse("Error reading Configuration Header: \"" + file + "\"", silence);
    if (isText) {
        signature.clear();
        ConfigSignature(signature);
    }
    if (signature != ProgramName)
        return Refuse("File \"" + file + "\" is not a correct Configuration file!", silence);
    if (!isText)
        return Refuse("This is an old binary Configuration file. It can be converted with version 2x40!",
                      silence);
    return true;
}

bool CheckSumPasses(const ConfigurationHeader& header) {
    std::uint32_t stored = 0, computed = 0;
    ConfigCheckSum(stored, computed);
    // A machine of the other byte order summed the bytes of a line in another order.
    return stored == computed || stored == 0 || header.IsLittleEndian != Bytes::MachineIsLittle;
}

// The defaults, but for the sizes that stay in use until the next start.
void SetDefaultsInUse(const SettingsRecord& former) {
    const std::int32_t samplePoints = former.MaxSamplePoints, stimPoints = former.MaxStimPoints;
    SetDefaults();
    Settings.MaxSamplePoints = samplePoints;
    Settings.MaxStimPoints = stimPoints;
}

// The copy under the other name is whole on the disk before the file itself is touched.
int KeepOld(const std::string& file) {
    Files::File old;
    Files::Replacement copy;
    int error = Files::Open(old, file, Files::Mode::Read);
    if (error == 0) error = copy.Begin(Files::WithExtension(file, ".bak"));
    std::vector<std::byte> piece(std::size_t{1} << 16);
    std::int64_t at = 0;
    for (std::size_t got = piece.size(); error == 0 && got == piece.size();) {
        error = Files::ReadAt(old, at, piece, got);
        if (error == 0) error = Files::WriteAt(copy.Content, at, std::span(piece).first(got));
        at += static_cast<std::int64_t>(got);
    }
    return error == 0 ? copy.Commit() : error;
}

bool SaveFailed(const std::string& text) {
    (void)EndConfig();
    State.LastMessage = text;
    Messages::Alert(text);
    return false;
}

bool WriteSettings(const std::string& file) {
    if (Files::Exists(file)) {
        Messages::Status("renaming Configuration file");
        const int error = KeepOld(file);
        Messages::Status("");
        if (error != 0)
            return SaveFailed("New Configuration not saved. Could not rename old Configuration file.\n\"" +
                              file + "\": " + Files::ErrorText(error));
    } else if (const std::string folder = std::filesystem::path(file).parent_path().string();
               !folder.empty() && folder == Places::ConfigFolder()) {
        const int error = Places::EnsureFolder(folder);
        if (error != 0)
            return SaveFailed("Error saving Configuration: \"" + folder + "\": " + Files::ErrorText(error));
    }
    if (!BeginConfig(file, true))
        return SaveFailed("Error saving Configuration: " +
                          FileProblem("Error creating Configuration File", file));
    ConfigSettings(Settings, State.ProgramVersion);
    std::uint32_t stored = 0, computed = 0;
    ConfigCheckSum(stored, computed);
    if (!EndConfig())
        return SaveFailed("Error saving Configuration: " +
                          FileProblem("Error closing Configuration file", file));
    return true;
}

std::string DefaultFile() {
    for (const std::string& folder : Places::SystemConfigFolders()) {
        const std::string file = folder + std::string(FileName);
        if (Files::Exists(file)) return file;
    }
    return "";
}

bool Loaded(const std::string& file, SettingsState state) {
    State.ReadFile = file;
    State.State = state;
    return true;
}

bool Ended() {
    State.State = SettingsState::Ended;
    return false;
}

// Without a file: the user finds one, takes the defaults, or ends the start.
bool AskForSettings(const std::string& text) {
    static constexpr const char* Buttons[] = {"Find File", "Set Defaults", "Quit"};
    constexpr int FindFile = 0, TakeDefaults = 1, Quit = 2;
    while (true) {
        const int answer = Messages::AskChoice(
            text, {.Buttons = Buttons, .Default = TakeDefaults, .Yes = TakeDefaults, .No = Quit});
        if (answer == Quit) return Ended();
        if (answer != FindFile || !Hooks.FindFile) return true;
        const std::string file = Hooks.FindFile("Configuration file", ".set");
        if (file.empty() || !LoadConfiguration(file)) continue;
        State.SettingsFile = file;
        return Loaded(file, SettingsState::FromFile);
    }
}

bool FindSettings(const StartSettings& start) {
    State.ReadFile.clear();
    State.State = SettingsState::BuiltIn;
    if (!start.NamedFile.empty()) {
        State.SettingsFile = start.NamedFile;
        if (!Files::Exists(start.NamedFile))
            (void)Refuse("User CONFIGURATION File not found!\n\"" + start.NamedFile + "\"", Silence::Off);
        else if (LoadConfiguration(start.NamedFile))
            return Loaded(start.NamedFile, SettingsState::FromFile);
        return start.Ask ? AskForSettings("Error loading Configuration:\n" + State.LastMessage) : Ended();
    }

    State.SettingsFile = UserSettingsFile();
    SettingsState state = SettingsState::FromFile;
    std::string file = State.SettingsFile;
    if (!Files::Exists(file)) {
        state = SettingsState::FromDefaultFile;
        file = DefaultFile();
    }
    if (file.empty())
        return !start.Ask ||
               AskForSettings("Default  CONFIGURATION  File not found:\n\"" + UserSettingsFile() + "\"");
    if (LoadConfiguration(file, start.Ask ? Silence::Off : Silence::On)) return Loaded(file, state);
    const std::string text = "Error loading Configuration:\n" + State.LastMessage;
    if (start.Ask) return AskForSettings(text);
    Messages::Note(text + "\nThe built-in settings are used.");
    return true;
}

}

std::string UserSettingsFile() {
    const std::string folder = Places::ConfigFolder();
    return folder.empty() ? "" : folder + std::string(FileName);
}

bool LoadConfiguration(const std::string& file, Silence silence) {
    if (!BeginConfig(file, false)) return Refuse(FileProblem(ReadError, file), silence);
    if (!CheckHead(file, silence)) return false;
    RewindConfig();
    SettingsRecord former = Settings;
    SetDefaultsInUse(former);
    ConfigSettings(Settings, "");
    if (!CheckSumPasses(Settings.Header)) {
        Settings = std::move(former);
        return Refuse("CRC error in Configuration file.\n\"" + file + "\"", silence);
    }
    const int missing = Config.ConfigMissing;
    const std::vector<std::string> undecoded = Config.ConfigUndecoded;
    (void)EndConfig();
    if (missing > 0 && silence == Silence::Off &&
        !Messages::AskYesNo("Loading Configuration File: " + std::to_string(missing) +
                                " parameter(s) missing. Load it anyway?",
                            true)) {
        Settings = std::move(former);
        State.LastMessage = "\"" + file + "\": " + std::to_string(missing) + " parameter(s) missing.";
        return false;
    }
    for (const std::string& text : undecoded) Messages::Note("\"" + file + "\": " + text);
    // The bytes of the graph are in the order of the machine that wrote them.
    if (Settings.Header.IsLittleEndian != Bytes::MachineIsLittle) Settings.FitParams.WaveGraph = {};
    const bool neverStored = Settings.Header.NeverStored;
    Settings.Header = {.NextMBBufferSize = Settings.Header.NextMBBufferSize,
                       .IsLittleEndian = Bytes::MachineIsLittle,
                       .NeverStored = neverStored};
    SettingsLimits(Settings);
    return true;
}

bool SaveConfiguration(bool asDefault) {
    if (State.ConfigurationLocked) return SaveFailed("Cannot save settings: Configuration is locked.");
    if (State.SettingsFile.empty())
        return SaveFailed("Error saving Configuration: there is no folder for the settings.");
    const SettingsRecord former = Settings;
    if (asDefault)
        SetDefaultsInUse(former);
    else if (Hooks.CopyLiveValues)
        Hooks.CopyLiveValues(Settings);
    Settings.Header.NeverStored = asDefault;
    if (WriteSettings(State.SettingsFile)) return true;
    Settings = former;
    return false;
}

bool LoadSettings(const StartSettings& start) {
    SetDefaults();
    if (!FindSettings(start)) return false;
    Settings.MaxSamplePoints = LimitedSamplePoints(Settings.NextMaxSamplePoints);
    Settings.MaxStimPoints = LimitedSamplePoints(Settings.NextMaxStimPoints);
    return true;
}

}
