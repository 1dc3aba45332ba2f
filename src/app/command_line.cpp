#include "app/command_line.h"

#include "app/commands.h"
#include "app/desktop.h"
#include "app/interrupt.h"
#include "app/start.h"
#include "base/files.h"
#include "base/messages.h"
#include "data/scratch.h"
#include "setup/settings_file.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdio>
#include <iostream>
#include <string_view>
#include <unistd.h>

namespace CommandLine {

MessageOptions Options;

namespace {

bool StatusShown = false;

void ClearStatus() {
    if (!StatusShown) return;
    std::fputs("\r\033[K", stderr);
    StatusShown = false;
}

void Say(std::string_view text) {
    ClearStatus();
    std::cerr << text << '\n';
}

void ShowStatus(std::string_view line) {
    if (!isatty(STDERR_FILENO)) return;
    ClearStatus();
    if (line.empty()) return;
    std::cerr << line << std::flush;
    StatusShown = true;
}

bool AskOnTerminal(bool defaultAnswer) {
    std::string line;
    while (true) {
        std::cerr << (defaultAnswer ? "[Y/n] " : "[y/N] ") << std::flush;
        if (!std::getline(std::cin, line) || line.empty()) return defaultAnswer;
        if (line[0] == 'y' || line[0] == 'Y') return true;
        if (line[0] == 'n' || line[0] == 'N') return false;
    }
}

bool AnswerQuestion(std::string_view text, bool defaultAnswer) {
    Say(text);
    if (Options.Answer == Answer::Ask && isatty(STDIN_FILENO)) return AskOnTerminal(defaultAnswer);
    const bool yes = Options.Answer == Answer::Ask ? defaultAnswer : Options.Answer == Answer::Yes;
    Say(yes ? "Yes" : "No");
    return yes;
}

int AnswerChoice(std::string_view text, const Messages::Choice& choice) {
    Say(text);
    int answer = Options.Answer == Answer::Yes  ? choice.Yes
                 : Options.Answer == Answer::No ? choice.No
                                                : choice.Default;
    const int count = static_cast<int>(choice.Buttons.size());
    if (Options.Answer == Answer::Ask && isatty(STDIN_FILENO)) {
        for (int i = 0; i < count; ++i)
            std::cerr << i + 1 << ' ' << choice.Buttons[static_cast<std::size_t>(i)] << "   ";
        std::cerr << '[' << answer + 1 << "] " << std::flush;
        std::string line;
        if (std::getline(std::cin, line) && line.size() == 1 && line[0] >= '1' && line[0] < '1' + count)
            answer = line[0] - '1';
    }
    if (answer >= 0 && answer < count) Say(choice.Buttons[static_cast<std::size_t>(answer)]);
    return answer;
}

// False, with words, when what the command printed did not reach its place: a full disk, a closed pipe.
bool OutputWritten() {
    std::cout.flush();
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0 && std::cout.good()) return true;
    Say("Error writing to standard output.");
    return false;
}

struct CommandRow {
    const char* Word;
    const char* Help;
    Commands::Procedure (*Declare)(const Commands::Words& words);
};

constexpr CommandRow Rows[] = {
    {"info", "Show the record trees of a data set or of a tree file", Commands::DeclareInfo},
    {"trace", "Print a corrected trace as CSV, JSON or NumPy file", Commands::DeclareTrace},
    {"stimulus", "Print the stimulus of a sweep, rebuilt from its segments", Commands::DeclareStimulus},
    {"fit", "Fit the sweeps of a series, and store the results", Commands::DeclareFit},
    {"online", "Compute an online analysis method for each sweep", Commands::DeclareOnline},
    {"series-fit", "Fit X,Y points or a wave file with the models of a series", Commands::DeclareSeriesFit},
    {"wave", "Show a wave file, or make one from the columns of an analysis", Commands::DeclareWave},
    {"eval", "Evaluate an expression or an equation in ranges", Commands::DeclareEval},
    {"bundle", "Put the trees of a data set into its data file", Commands::DeclareBundle},
    {"unbundle", "Put the trees of a bundle beside its data file", Commands::DeclareUnbundle},
    {"rebuild", "Put the samples of a data file in order", Commands::DeclareRebuild},
    {"merge", "Append the groups of another data set", Commands::DeclareMerge},
    {"compress", "Replace samples by the means of each so many", Commands::DeclareCompress},
    {"settings", "Show the keys of a settings file, or set them", Commands::DeclareSettings},
    {"run", "Play a macro over a data set, without a window", Commands::DeclareRun},
    {"demo", "Write a demonstration data set and analyse it", Commands::DeclareDemo},
    {"pictures", "Save every window of the desktop as a picture, light and dark", Commands::DeclarePictures},
};

// An expression may begin with a minus, which the option parser would take for an option's; behind "--" it
// does not.
std::vector<std::string> WithExpressionLast(std::vector<std::string> arguments) {
    auto argument = std::find(arguments.begin(), arguments.end(), "eval");
    if (argument == arguments.end()) return arguments;
    const auto takesValue = [](const std::string& word) {
        return word == "--x" || word == "--c" || word == "--answer" || word == "--mode" ||
               word == "--settings";
    };
    const auto isOption = [](const std::string& word) {
        return word == "-h" || (word.size() > 2 && word[1] == '-' && std::isalpha(word[2]) != 0);
    };
    for (++argument; argument != arguments.end() && *argument != "--"; ++argument) {
        if (takesValue(*argument)) {
            if (++argument == arguments.end()) break;
        } else if (argument->size() > 1 && argument->front() == '-' && !isOption(*argument)) {
            std::string expression = std::move(*argument);
            arguments.erase(argument);
            arguments.insert(arguments.end(), {"--", std::move(expression)});
            break;
        }
    }
    return arguments;
}

// The settings of a start, but for the corrections of traces: on the command line these are what a command's
// options say, whatever the user saw last in a window.
bool TakeSettings(const std::string& namedFile) {
    if (!Setup::LoadSettings({.NamedFile = namedFile})) return false;
    const Setup::SettingsRecord defaults;
    Setup::Settings.NoLeakSubtraction = defaults.NoLeakSubtraction;
    Setup::Settings.SubtractZero = defaults.SubtractZero;
    Setup::Settings.SubtractReference = defaults.SubtractReference;
    Setup::Settings.UseTraceBuffers = defaults.UseTraceBuffers;
    Setup::Settings.TraceFilterFactor = defaults.TraceFilterFactor;
    if (!Setup::State.ReadFile.empty()) Messages::Log("Startup file: \"" + Setup::State.ReadFile + "\"");
    return true;
}

// Without a command word, and with nothing but a settings file and a data file, the desktop is meant.
bool NamesDesktopFiles(const std::vector<std::string>& arguments, Desktop::StartOptions& options) {
    for (const std::string& argument : arguments) {
        const std::string extension = Files::ExtensionOf(argument);
        if (extension == ".set" && options.SettingsFile.empty()) {
            options.SettingsFile = argument;
        } else if (extension == ".dat" && options.DataFile.empty()) {
            options.DataFile = argument;
        } else {
            return false;
        }
    }
    return true;
}

}

bool InstallHooks() {
    Messages::HookTable hooks;
    hooks.Alert = Say;
    hooks.Note = Say;
    hooks.Log = [](std::string_view line) {
        if (Options.Verbose) Say(line);
    };
    hooks.Status = ShowStatus;
    hooks.AskYesNo = AnswerQuestion;
    hooks.AskChoice = AnswerChoice;
    hooks.Break = Interrupt::Requested;
    Messages::Install(std::move(hooks));
    return true;
}

int Run(const std::vector<std::string>& arguments) {
    if (Desktop::StartOptions options; NamesDesktopFiles(arguments, options)) return Desktop::Run(options);
    CLI::App app{"Qorvanite analyses electrophysiological recordings.", "qorvanite"};
    app.set_version_flag("--version", Start::VersionName());
    app.require_subcommand(0, 1);
    app.fallthrough();
    std::string answer = "ask";
    const Commands::Words common{&app};
    common.Add("--answer", answer, "How questions are answered: yes, no or ask").OneOf({"yes", "no", "ask"});
    std::string mode;
    common.Add("--mode", mode, "How the data set is opened: modify, read or analysis")
        .OneOf({"modify", "read", "analysis"});
    std::string settingsFile;
    common.Add("--settings", settingsFile, "Settings file to use instead of the user's own");
    common.Flag("--verbose", Options.Verbose, "Show routine messages as well");

    std::vector<std::pair<CLI::App*, Commands::Procedure>> commands;
    for (const CommandRow& row : Rows) {
        CLI::App* const command = app.add_subcommand(row.Word, row.Help);
        commands.emplace_back(command, row.Declare({command}));
    }

    try {
        std::vector<std::string> words = WithExpressionLast(arguments);
        std::reverse(words.begin(), words.end());
        app.parse(words);
    } catch (const CLI::ParseError& error) {
        const bool asked = error.get_exit_code() == 0; // --help and --version
        app.exit(error, std::cout, std::cerr);
        return asked ? Done : WrongUse;
    }
    Options.Answer = answer == "yes" ? Answer::Yes : answer == "no" ? Answer::No : Answer::Ask;
    Options.Mode = mode.empty()       ? std::nullopt
                   : mode == "modify" ? std::optional(OpenMode::Modify)
                   : mode == "read"   ? std::optional(OpenMode::Read)
                                      : std::optional(OpenMode::Analysis);

    for (const auto& [command, procedure] : commands) {
        if (!command->parsed()) continue;
        if (!TakeSettings(settingsFile)) return Failed;
        int status = procedure();
        if (!CloseDataFile(CurrentSession(), true)) status = Failed;
        ClearStatus();
        return OutputWritten() ? status : Failed;
    }
    std::cerr << app.help();
    return Misused("A command is needed.");
}

void CloseSession() {
    CurrentSession().AnalysisWritable = false; // this end is not orderly: a recovery copy stays
    (void)CloseDataFile(CurrentSession(), false);
}

bool Open(const std::string& path, OpenMode mode) {
    const std::string version = Start::VersionName();
    return OpenDataFile(CurrentSession(), path,
                        {.Mode = Options.Mode.value_or(mode), .MakeRoom = true, .ProgramVersion = version});
}

bool OpenForChanges(const std::string& path) {
    if (!Options.Mode || Options.Mode == OpenMode::Modify) return Open(path, OpenMode::Modify);
    Messages::Alert("Cannot modify: data file opened read-only.");
    return false;
}

std::string Target::Text() const {
    std::string text;
    for (const int position : Positions) {
        if (!text.empty()) text += '.';
        text += std::to_string(position);
    }
    return text;
}

bool ParseTarget(const std::string& text, int leastDepth, int mostDepth, Target& target) {
    target.Positions.clear();
    const char* at = text.data();
    const char* const end = at + text.size();
    while (true) {
        int position = 0;
        const auto [next, error] = std::from_chars(at, end, position);
        if (error != std::errc{} || position < 1) return false;
        target.Positions.push_back(position);
        if (next == end) break;
        if (*next != '.') return false;
        at = next + 1;
    }
    const int depth = static_cast<int>(target.Positions.size());
    return depth >= leastDepth && depth <= mostDepth;
}

void* Find(const Target& target) {
    static constexpr const char* Names[] = {"group", "series", "sweep", "trace"};
    void* record = Tree::Root(CurrentSession().Vennic.Handle);
    for (std::size_t level = 0; level < target.Positions.size(); ++level) {
        void* const child = Tree::Child(record, target.Positions[level]);
        if (!child) {
            Messages::Alert("There is no " + std::string(Names[level]) + " " +
                            std::to_string(target.Positions[level]) + " for target " + target.Text() + " (" +
                            std::to_string(Tree::ChildCount(record)) + " there).");
            return nullptr;
        }
        record = child;
    }
    return record;
}

bool ReadNumber(std::string_view text, double& value) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc{} && end == text.data() + text.size();
}

int Misused(const std::string& text) {
    std::cerr << text << '\n';
    return WrongUse;
}

}
