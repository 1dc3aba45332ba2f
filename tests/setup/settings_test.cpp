// The settings record and its file: keys, defaults, limits, loading, saving, and where the file is found.
#include "base/bytes.h"
#include "setup/settings_file.h"
#include "support/environment.h"
#include "support/failing_files.h"
#include "support/fixtures.h"

#include <random>

using namespace Setup;

namespace {

std::vector<std::string> Lines(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

std::string Joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
}

// All settings as one text; blocks and kept lines included, the header not.
std::string Listed(const SettingsRecord& settings) {
    SettingsRecord copy = settings;
    copy.Header = {};
    BeginConfigList();
    ConfigSettings(copy, "");
    std::string text;
    for (const ConfigEntry& entry : EndConfigList()) text += entry.Key + " " + entry.Value + "\n";
    return text;
}

// A value of the kind that differs from the given one, from all others of the kind as far as it can, and is
// within every limit.
std::string Other(const ConfigEntry& entry, int number) {
    switch (entry.Kind) {
    case ConfigKind::Bool: return entry.Value == "TRUE" ? "FALSE" : "TRUE";
    case ConfigKind::Number: {
        const long value = std::stol(entry.Value);
        return std::to_string(entry.Key == "IgorOS" ? 0 : value > 1 ? value - 1 : value + 1);
    }
    case ConfigKind::Real: return std::to_string(number) + ".25";
    case ConfigKind::String: return "t" + std::to_string(number);
    case ConfigKind::Color: return std::to_string(number) + ", 2, 3";
    case ConfigKind::Block:
        return std::string(entry.Value.size() - 2, 'a') + "0" + std::to_string(number % 10);
    default: return entry.Value;
    }
}

// A file in which every setting has another value than by default, and what it sets.
std::string ChangedFile(const Support::TempFolder& folder, std::string& listed) {
    Settings = {};
    State.SettingsFile = folder.At("changed.set");
    EXPECT_TRUE(SaveConfiguration(false));
    SettingsRecord record;
    BeginConfigList();
    ConfigSettings(record, "");
    std::string text, lines;
    int number = 0;
    for (ConfigEntry entry : EndConfigList()) {
        ++number;
        const bool identity = entry.Key == "FitID" || entry.Key == "FitVersion";
        if (number > 7 && !identity) entry.Value = Other(entry, number); // behind the header
        EXPECT_TRUE(ConfigLines(entry, lines));
        text += lines;
    }
    text += "Photo_x 1\nAmpl_y \"2\"\nAmpl_a 3\nLockIn_z  TRUE\nCRC 0\n";
    BeginConfigText(text);
    ConfigSettings(record, "");
    EXPECT_TRUE(Config.ConfigUndecoded.empty() && Config.ConfigMissing == 0) << Config.ConfigText;
    listed = Listed(record);
    return text;
}

// The member of a file of defaults, changed, with CRC 0.
std::string DefaultsWith(const Support::TempFolder& folder, const std::string& from, const std::string& to) {
    Settings = {};
    State.SettingsFile = folder.At("defaults.set");
    EXPECT_TRUE(SaveConfiguration(true));
    std::string text = Support::ReadWhole(State.SettingsFile);
    text.resize(text.find("CRC "));
    const std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return text.replace(at, from.size(), to) + "CRC 0\n";
}

class SettingsFile : public testing::Test {
protected:
    SettingsFile() { Reset(); }
    ~SettingsFile() override { Reset(); }
    static void Reset() {
        Settings = {};
        State = {};
        Hooks = {};
    }
    Support::TempFolder Folder;
    Messages::Recorder Said;
};

}

TEST_F(SettingsFile, HasTheKeysInTheirOrder) {
    State.ProgramVersion = "v1";
    State.SettingsFile = Folder.At("a.set");
    ASSERT_TRUE(SaveConfiguration(false));
    std::vector<std::string> keys;
    for (const std::string& line : Lines(Support::ReadWhole(State.SettingsFile))) {
        std::string key = line.substr(0, line.find(' '));
        while (std::isdigit(static_cast<unsigned char>(key.back())) && !key.starts_with("Graph") &&
               !key.starts_with("ExpTrace") && !key.starts_with("UserParam") && key != "AmplBoard2" &&
               key != "LastQ7")
            key.pop_back();
        if (keys.empty() || keys.back() != key) keys.push_back(key);
    }
    std::vector<std::string> wanted = Lines(
        "CONFIGURATION\nProgramVersion\nFileVersion\nNextMBBufferSize\nIsLittleEndian\nNeverStored\nFileOS");
    const auto append = [&](const std::string& text) {
        for (const std::string& key : Lines(text)) wanted.push_back(key);
    };
    append(Support::ReadWhole(std::string(TEST_DATA) + "/settings/main_keys.txt"));
    ASSERT_EQ(wanted.size(), 7u + 286u);
    append("WriteFlags");
    append(Support::ReadWhole(std::string(TEST_DATA) + "/settings/fit_keys.txt"));
    append("GLPParams\nCRC");
    ASSERT_EQ(keys.size(), wanted.size());
    for (std::size_t i = 0; i < keys.size(); ++i) ASSERT_EQ(keys[i], wanted[i]);
}

TEST_F(SettingsFile, EverySettingSurvivesSavingAndLoadingWhateverTheOrderOfTheLines) {
    std::string listed;
    const std::string text = ChangedFile(Folder, listed);
    const std::string file = Folder.Write("changed.set", text);
    ASSERT_TRUE(LoadConfiguration(file)) << Said.Alerts;
    EXPECT_EQ(Listed(Settings), listed);
    EXPECT_NE(listed.find("Ampl_y \"2\"\nAmpl_a 3\n"), std::string::npos); // kept as they were
    State.SettingsFile = Folder.At("again.set");
    ASSERT_TRUE(SaveConfiguration(false));
    Settings = {};
    ASSERT_TRUE(LoadConfiguration(State.SettingsFile)) << Said.Alerts;
    EXPECT_EQ(Listed(Settings), listed);
    EXPECT_EQ(Said.Questions + Said.Notes, "");

    std::vector<std::string> lines = Lines(text);
    lines.resize(lines.size() - 5); // of kept lines the order is kept, not restored
    lines.push_back("CRC 0");
    Settings.Photo = Settings.LockIn = Settings.Ampl = {};
    listed = Listed(Settings);
    for (unsigned seed = 1; seed <= 20; ++seed) {
        std::shuffle(lines.begin() + 1, lines.end(), std::mt19937(seed)); // the signature comes first
        Settings = {};
        ASSERT_TRUE(LoadConfiguration(Folder.Write("shuffled.set", Joined(lines)), Silence::On));
        ASSERT_EQ(Listed(Settings), listed) << seed;
    }
}

TEST_F(SettingsFile, ARemovedKeyKeepsItsDefaultAndLeavesAllOthers) {
    std::string listed;
    std::vector<std::string> lines = Lines(ChangedFile(Folder, listed));
    lines.resize(lines.size() - 5);
    SettingsRecord whole;
    BeginConfigText(Joined(lines));
    ConfigSettings(whole, "");
    const std::vector<std::string> defaults = Lines(Listed({})), wanted = Lines(Listed(whole));
    for (std::size_t i = 7; i < lines.size(); ++i) {
        std::vector<std::string> fewer = lines;
        fewer.erase(fewer.begin() + static_cast<long>(i));
        SettingsRecord read;
        BeginConfigText(Joined(fewer));
        ConfigSettings(read, "");
        ASSERT_EQ(Config.ConfigMissing, 1) << lines[i];
        const std::vector<std::string> all = Lines(Listed(read));
        std::size_t byDefault = 0;
        for (std::size_t k = 0; k < all.size(); ++k)
            if (all[k] != wanted[k]) byDefault += all[k] == defaults[k] ? 1 : 100;
        // The identity of the fit block has its default anyway.
        ASSERT_EQ(byDefault, lines[i].starts_with("FitID") || lines[i].starts_with("FitVersion") ? 0u : 1u)
            << lines[i];
    }
    // A part of the keys missing is a question, which silence does not ask.
    const std::string part = Folder.Write("part.set", Joined({lines.begin(), lines.begin() + 20}));
    Settings.SubtractZero = true;
    Said.Answer = [](bool) { return false; };
    EXPECT_FALSE(LoadConfiguration(part));
    EXPECT_TRUE(Settings.SubtractZero);
    EXPECT_EQ(Said.Questions.find("Loading Configuration File: "), 0u);
    EXPECT_NE(Said.Questions.find(" parameter(s) missing. Load it anyway?\n"), std::string::npos);
    EXPECT_TRUE(LoadConfiguration(part, Silence::On));
    EXPECT_FALSE(Settings.SubtractZero);
}

TEST_F(SettingsFile, WhatIsNoSettingsFileIsRefusedInWordsAndChangesNothing) {
    const std::string rest(30, '\n');
    const std::pair<std::string, std::string> cases[] = {
        {"", "Error reading Configuration Header"},
        {"CONFIGURATION \"Qorvanite\"\n", "Error reading Configuration Header"},
        {"CONFIGURATION \"Otherwise\"\n" + rest,
         "File \"" + Folder.At("a.set") + "\" is not a correct Configuration file!\n"},
        {"CONFIGURATIONS \"Qorvanite\"\n" + rest, "is not a correct Configuration file!\n"},
        {std::string("Qorvanite\0\0\0\0\0\0\0", 16) + std::string(40, '\1'),
         "This is an old binary Configuration file. It can be converted with version 2x40!\n"},
        {"CONFIGURATION \"Qorvanite\"\nCRC 1\n" + rest, "CRC error in Configuration file."},
    };
    Settings.MaxFileBytes = 12345;
    for (const auto& [content, alert] : cases)
        for (const auto silence : {Silence::Off, Silence::On}) {
            Said.Alerts = State.LastMessage = "";
            EXPECT_FALSE(LoadConfiguration(Folder.Write("a.set", content), silence));
            EXPECT_EQ(Said.Alerts.empty(), silence == Silence::On);
            EXPECT_NE((State.LastMessage + "\n").find(alert), std::string::npos) << State.LastMessage;
            EXPECT_EQ(Settings.MaxFileBytes, 12345);
        }
    EXPECT_EQ(Said.Questions + Said.Notes, "");
}

TEST_F(SettingsFile, TheCheckSumCountsUnlessItIsZeroOrAnotherMachines) {
    State.SettingsFile = Folder.At("a.set");
    ASSERT_TRUE(SaveConfiguration(false));
    const std::string sound = Support::ReadWhole(State.SettingsFile);
    const auto loads = [&](const std::string& from, const std::string& to) {
        std::string text = sound;
        text.replace(text.find(from), from.size(), to);
        return LoadConfiguration(Folder.Write("b.set", text), Silence::On);
    };
    EXPECT_TRUE(loads("", ""));
    EXPECT_TRUE(loads("\nCRC ", "\n\nCRC "));
    EXPECT_FALSE(loads("OsciLeft 320", "OsciLeft 321"));
    EXPECT_FALSE(loads("CRC ", "CRC 1"));
    EXPECT_TRUE(loads("\nCRC ", "\nOldCRC ") && Settings.Windows.Osci.Left == 320);
    EXPECT_TRUE(loads("\nCRC ", "\nCRC 0\n"));
    const char* const other = Bytes::MachineIsLittle ? "IsLittleEndian  FALSE" : "IsLittleEndian  TRUE";
    const char* const own = Bytes::MachineIsLittle ? "IsLittleEndian  TRUE" : "IsLittleEndian  FALSE";
    EXPECT_TRUE(loads(own, other));
    EXPECT_EQ(Settings.Header.IsLittleEndian, Bytes::MachineIsLittle); // what is saved is ours
}

TEST_F(SettingsFile, NonsenseFromOutsideIsLimitedReplacedOrNoted) {
    for (const auto& one : Support::CaseTable("settings_limits")) {
        const std::string &key = one[0], &from = one[1], &to = one[2], &listed = one[3];
        SCOPED_TRACE(key + to);
        const std::string text = DefaultsWith(Folder, key + " " + from + "\n", key + " " + to + "\n");
        ASSERT_TRUE(LoadConfiguration(Folder.Write("a.set", text)));
        EXPECT_NE(Listed(Settings).find(key + " " + listed + "\n"), std::string::npos);
    }
    EXPECT_EQ(Said.Notes, "\"" + Folder.At("a.set") + "\": \"UseBundle\": encoding error.\n");
}

TEST_F(SettingsFile, SavingKeepsTheOldFileAndTellsWhetherTheUserEverSaved) {
    State.SettingsFile = Folder.At("a.set");
    EXPECT_TRUE(Settings.Header.NeverStored);
    Hooks.CopyLiveValues = [](SettingsRecord& settings) { settings.Windows.Osci.Left = 11; };
    ASSERT_TRUE(SaveConfiguration(false));
    EXPECT_FALSE(Settings.Header.NeverStored);
    EXPECT_EQ(Folder.Count(), 1);
    const std::string first = Support::ReadWhole(State.SettingsFile);
    EXPECT_NE(first.find("OsciLeft 11\n"), std::string::npos);

    Settings.UseBundle = false;
    Settings.MaxSamplePoints = 999'999; // in use until the next start
    ASSERT_TRUE(SaveConfiguration(true));
    EXPECT_TRUE(Settings.Header.NeverStored && Settings.UseBundle);
    EXPECT_EQ(Settings.MaxSamplePoints, 999'999);
    EXPECT_EQ(Support::ReadWhole(Folder.At("a.bak")), first);
    EXPECT_NE(Support::ReadWhole(State.SettingsFile).find("NeverStored  TRUE\n"), std::string::npos);
    ASSERT_TRUE(LoadConfiguration(State.SettingsFile));
    EXPECT_TRUE(Settings.Header.NeverStored);

    State.ConfigurationLocked = true;
    EXPECT_FALSE(SaveConfiguration(false));
    EXPECT_EQ(Said.Alerts, "Cannot save settings: Configuration is locked.\n");
    EXPECT_TRUE(Settings.Header.NeverStored);
}

TEST_F(SettingsFile, AFailureWhileSavingLeavesAWholeFileUnderTheName) {
    State.SettingsFile = Folder.At("a.set");
    ASSERT_TRUE(SaveConfiguration(false));
    const std::string first = Support::ReadWhole(State.SettingsFile);
    Settings.MaxFileBytes = 4;
    const auto bytes = static_cast<std::int64_t>(first.size());
    for (const std::int64_t room : {bytes / 2, bytes, bytes + bytes / 2}) {
        const Support::FailingFiles disk;
        Support::TheDisk.Room = room;
        Said.Alerts.clear();
        EXPECT_FALSE(SaveConfiguration(true));
        EXPECT_NE(Said.Alerts.find("No space left on device"), std::string::npos);
        EXPECT_EQ(Support::ReadWhole(State.SettingsFile), first);
        EXPECT_EQ(Folder.Count() + Support::TheDisk.OpenHandles, room >= bytes ? 2 : 1); // with the copy
        EXPECT_TRUE(Settings.MaxFileBytes == 4 && !Settings.Header.NeverStored);         // nor is the record
    }
}

class SettingsAtStart : public SettingsFile {
protected:
    SettingsAtStart() {
        Environment.Set("XDG_CONFIG_HOME", Folder.At("home"));
        Environment.Set("XDG_CONFIG_DIRS", Folder.At("machine"));
    }
    // A settings file that holds one number to know it by.
    [[nodiscard]] std::string Known(const std::string& path, int points) const {
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        const SettingsRecord former = Settings;
        Settings = {};
        Settings.NextMaxSamplePoints = points;
        State.SettingsFile = path;
        EXPECT_TRUE(SaveConfiguration(false));
        Settings = former;
        return path;
    }
    const Support::Environment Environment{{"XDG_CONFIG_HOME", "XDG_CONFIG_DIRS"}};
};

TEST_F(SettingsAtStart, TheNamedFileCountsThenTheUsersThenTheMachines) {
    EXPECT_TRUE(LoadSettings({}));
    EXPECT_EQ(State.State, SettingsState::BuiltIn);
    EXPECT_EQ(Settings.MaxSamplePoints, 262144);
    EXPECT_EQ(Folder.Count(), 0); // looking for settings makes nothing
    EXPECT_EQ(State.SettingsFile, Folder.At("home/qorvanite/Qorvanite.set"));

    const std::string machine = Known(Folder.At("machine/qorvanite/Qorvanite.set"), 20001);
    EXPECT_TRUE(LoadSettings({}));
    EXPECT_EQ(State.State, SettingsState::FromDefaultFile);
    EXPECT_EQ(Settings.MaxSamplePoints, 20001);
    EXPECT_EQ(State.ReadFile, machine);
    ASSERT_TRUE(SaveConfiguration(false)); // to the user's place, which is made
    EXPECT_TRUE(LoadSettings({}));
    EXPECT_EQ(State.State, SettingsState::FromFile);
    EXPECT_EQ(State.ReadFile, UserSettingsFile());

    const std::string named = Known(Folder.At("n.set"), 20003);
    EXPECT_TRUE(LoadSettings({.NamedFile = named}));
    EXPECT_EQ(Settings.MaxSamplePoints, 20003);
    EXPECT_EQ(State.SettingsFile, named);
    EXPECT_EQ(Said.Alerts + Said.Notes + Said.Questions, "");
}

TEST_F(SettingsAtStart, ABadFileOfTheUserIsNotedABadNamedOneEndsTheStart) {
    Support::WriteWhole(Known(UserSettingsFile(), 20001), "no settings, but long enough to be\n");
    EXPECT_TRUE(LoadSettings({}));
    EXPECT_EQ(State.State, SettingsState::BuiltIn);
    EXPECT_EQ(Settings.MaxSamplePoints, 262144);
    EXPECT_EQ(Said.Notes.find("Error loading Configuration:\n"), 0u);
    EXPECT_EQ(Said.Alerts, "");
    EXPECT_FALSE(LoadSettings({.NamedFile = UserSettingsFile()}));
    EXPECT_GE(static_cast<int>(State.State), 5);
    EXPECT_NE(Said.Alerts.find("is not a correct Configuration file!"), std::string::npos);
    Said.Alerts.clear();
    EXPECT_FALSE(LoadSettings({.NamedFile = Folder.At("none.set")}));
    EXPECT_EQ(Said.Alerts.find("User CONFIGURATION File not found!"), 0u);
    EXPECT_EQ(Said.Questions, "");
}

TEST_F(SettingsAtStart, AUserWhoCanBeAskedFindsAFileTakesTheDefaultsOrEnds) {
    const std::string found = Known(Folder.At("found.set"), 20004), none = Folder.At("none.set");
    const struct {
        std::string Named;
        std::vector<int> Answers;
        std::vector<std::string> Files;
        int Points; // 0: the start ends
        const char* Text = "Default  CONFIGURATION  File not found:";
    } cases[] = {{"", {1}, {}, 262144},
                 {"", {2}, {}, 0},
                 {"", {0, 0, 0}, {"", none, found}, 20004},
                 {none, {1}, {}, 262144, "Error loading Configuration:\nUser CONFIGURATION File not found!"}};
    for (const auto& one : cases) {
        std::size_t asked = 0, files = 0;
        Messages::HookTable hooks;
        hooks.AskChoice = [&](std::string_view text, const Messages::Choice&) {
            EXPECT_TRUE(text.starts_with(one.Text)) << text;
            return one.Answers.at(asked++);
        };
        Hooks.FindFile = [&](std::string_view, std::string_view) { return one.Files.at(files++); };
        const Messages::HookTable former = Messages::Install(hooks);
        EXPECT_EQ(LoadSettings({.NamedFile = one.Named, .Ask = true}), one.Points != 0);
        Messages::Install(former);
        EXPECT_EQ(static_cast<int>(State.State) >= 5, one.Points == 0);
        EXPECT_EQ(Settings.MaxSamplePoints, one.Points != 0 ? one.Points : 262144);
        EXPECT_TRUE(asked == one.Answers.size() && files == one.Files.size());
        EXPECT_EQ(State.SettingsFile == found, !one.Files.empty());
    }
}
